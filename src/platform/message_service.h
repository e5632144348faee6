// The message service: routing by severity and numbered catalogue messages. A library of its own, so that a
// build against another service with these two operations simply leaves it out.
#pragma once

#include <cstdint>

extern "C" {

// Sends the messages of one severity to a stream, as "SEVERITY:STDOUT" or "SEVERITY:STDERR", where SEVERITY
// is ERROR, WARNING or NOTICE. Until routed, errors and warnings go to standard error, notices to standard
// output. *status receives 0, or 1 for a routing that is not understood, which changes nothing.
void zr_svc_routing(const char* routing, int32_t* status);

// Issues the catalogue message of a code with its printf-style arguments on the route of its severity: one line,
// followed by the usage where the message is about the command line, in one flushed write behind whatever was
// printed to that stream before. Control characters in arguments are shown as \xNN. Failures to write are ignored. An
// unknown code issues nothing.
void zr_printf_utf8(uint32_t code, ...);

}  // extern "C"
