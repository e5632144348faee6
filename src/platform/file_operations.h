// What the run does to whole files, without a shell.
#pragma once

#include <cstdint>
#include <filesystem>

#include "platform/open_file.h"

// Copies an open file to another, which is replaced if it is a file of our own that no run uses and no standard
// stream leads to, and never written through if it is anything else. The copy is left open, and so locked. Returns 0,
// or -1 with the reason in messageReason.
int32_t copyFile(int descriptor, const char* to, HeldFile& copy);

// Returns the path that opening the name for writing would create: links that lead nowhere yet are followed, too.
std::filesystem::path resolvedPath(std::filesystem::path path);

// True when both names lead to the same regular file, by whatever spelling or links, or would create the
// same one where nothing exists yet. Devices are never the same file: they can play several roles at once.
bool isSameFile(const char* name, const char* otherName);

// Opens /dev/null under each of the descriptors 0, 1 and 2 that the caller has left closed, so that no file of the
// run is opened under their numbers and mistaken for standard output. Returns false when it cannot be opened.
bool openMissingStandardStreams();
