// What the run does to whole files, without a shell.
#pragma once

#include <cstdint>

// Copies a file to another, which is replaced if it is a file of our own and never written through if it is
// anything else. Returns 0, or -1 with the reason in messageReason.
int32_t copyFile(const char* from, const char* to);

// Removes a file. A file that is not there, or cannot be removed, is left as it is.
void removeFile(const char* name);

// True when both names lead to the same regular file, by whatever spelling or links, or would create the
// same one where nothing exists yet. Devices are never the same file: they can play several roles at once.
bool isSameFile(const char* name, const char* otherName);

// Gives the files that will be created the permissions of this one; when it cannot be looked at, those they have stay.
void takePermissionsFrom(const char* name);

// Opens /dev/null under each of the descriptors 0, 1 and 2 that the caller has left closed, so that no file of the
// run is opened under their numbers and mistaken for standard output. Returns false when it cannot be opened.
bool openMissingStandardStreams();
