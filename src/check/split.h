// An input in two: what can be converted, and what cannot.
#pragma once

#include "check/options.h"
#include "check/prediction.h"
#include "survey/surveyed_file.h"

// Writes the entries that end a run at some slot counts, and with them all entries of the same user or group, to the
// one file and all others to the other, as they stand, with what stands before them. Returns null; or, with the reason
// in messageReason, the name of the file with which that is not possible. Then what had those names is as it was; only
// where it is the folder that cannot be synced both new files are there. The files are the input, looked at in two
// places: one and the same where it is in memory as a whole.
const char* splitInput(SurveyedFile& file, SurveyedFile& again, Prediction& prediction, const CheckOptions& options);
