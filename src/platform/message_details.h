// What a message can say beyond its arguments. The side that reports fills these in before it calls
// zr_printf_utf8; the message service reads them. They stand apart from the service so that a build with
// another service needs nothing from ours.
#pragma once

// Why the last file operation failed, or what is wrong with the command line: text for an administrator,
// empty when there is nothing to add. Written by the file operations and by the command-line check; taken back by
// whoever goes on after a failure.
inline char messageReason[512];

// The dn: line of the entry, or the DN of the owner, that the next failure concerns; null for none. Only
// lent: it must stay valid until the message has been issued.
inline const char* messageSubject = nullptr;
