// The cache in the trace, for a maintainer.
#pragma once

// Traces the counters of both sides and every row of the slots in use; nothing while tracing is off.
void dumpData();
