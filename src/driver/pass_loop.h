// The passes over the work file.
#pragma once

// Makes pass after pass: gathers the entries of as many users and groups as the cache holds, writes them, and
// starts over where the first entry was left behind, until a pass meets no entry of a user or group any more.
// Every failure ends the run. Trace and error lines speak as main, whose loop this is.
void makePasses();
