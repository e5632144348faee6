// What the steps of an input take from the heap and do not give back, as a process that ends need not.
#pragma once

// Begins to record the blocks that are taken while isRunning (fuzz_support.h). Once for the process.
void recordKeptMemory();

// Frees every recorded block that is still there.
void takeBackMemory();
