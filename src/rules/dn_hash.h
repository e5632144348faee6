// A short form of an owner's DN.
#pragma once

#include <cstdint>
#include <string_view>

// Returns the hash of a DN without regard to case; another one in each run.
uint64_t hashOfDn(std::string_view dn);
