// What changes in an entry on its way into the new layout. A change replaces a line, or adds one behind the last.
#pragma once

#include <cstdint>
#include <ctime>
#include <span>
#include <string_view>

#include "platform/detail_texts.h"
#include "platform/sink.h"
#include "rules/line.h"
#include "rules/object_class.h"
#include "rules/texts.h"

struct Adjustment {
  int32_t line = -1;               // -1 for no change; the number of lines for a line that is added
  std::string_view text;           // with the line end of the line that it replaces; an added line has none
  DetailText problem = NO_DETAIL;  // why the change cannot be made
  int32_t sources[2] = {-1, -1};   // lines that values have been taken from
};

// The first version value becomes 6.0: its first three characters, or what there is of them.
Adjustment convertVersion(Entry entry, Texts& texts);

// Whether an install date has to be added; and the line, for a local time.
// Kept: the hour is that of the 12-hour clock and the time is local, although the value ends in "Z".
bool needsInstallDate(Entry entry);
Adjustment addInstallDate(Entry entry, const tm& local, Texts& texts);

// A user gets the identifier that names the domain and the user, unless there is one.
Adjustment addDomainId(Entry entry, Texts& texts, Sink show);

// The first "secuuid: " gets the new letter case.
Adjustment renameUuid(Entry entry, Texts& texts);

// Which of them an entry of a class gets, in this order.
constexpr bool getsVersionAndDate(ObjectClass entryClass) { return entryClass == SECAUTHORITYINFO_OBJECTCLASS; }
constexpr bool getsDomainId(ObjectClass entryClass) { return entryClass == SECUSER_OBJECTCLASS; }
constexpr bool getsNewUuidName(ObjectClass entryClass) {
  return entryClass == SECUSER_OBJECTCLASS || entryClass == SECGROUP_OBJECTCLASS;
}

// The lines that later name an entry's owner lose the blanks around their commas, in entries that are to be gathered.
// Lines are closed by a newline. Returns true when any has changed.
bool tightenOwnerNames(std::span<Line> entry, Texts& texts);
