// The one line on a terminal that shows how far the run is.
#pragma once

// Draws the line on standard error in place of the last one.
void drawProgressLine(const char* text);

// Takes the line away, if there is one, so that something else can be shown. Calls only what a signal handler may call.
void eraseProgressLine();
