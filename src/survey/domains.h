// Which domain a DN is of, and which one the conversion takes it for.
#pragma once

#include <string_view>

#include "rules/new_dn.h"

// True when the two differ for the old DN of a user or a group. The conversion looks for the default domain and the
// subdomains anywhere in its text, where a longer name, another component or an escaped comma can lead it astray.
bool isDomainMistaken(NewDnOf what, std::string_view oldDn);
