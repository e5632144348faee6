// Where a rule shows its steps to a maintainer, as a trace does.
#pragma once

// Null shows nothing.
using Sink = void (*)(const char* format, ...);

// A text for a "%.*s".
#define SHOWN(text) static_cast<int>((text).size()), (text).data()
