// Which user or group an entry belongs to.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/detail_texts.h"
#include "platform/sink.h"
#include "rules/line.h"
#include "rules/object_class.h"
#include "rules/texts.h"

constexpr size_t SAVED_DN_SIZE = 20000;  // bytes of an owner DN, closing NUL included

// The owner's DN, normalised. All texts end in a newline and lie in the entry or in the texts.
struct Owner {
  DetailText problem = NO_DETAIL;  // why the entry has no owner; the rest is not valid then
  std::string_view computed;       // the DN before it is normalised
  std::string_view key;            // what is looked for among the owners' DNs, without regard to case
  std::string_view saved;          // the DN with which the entry opens a slot
  std::string_view firstLine;      // the entry's first line with the key in it; that of the entry where nothing differs
  std::string_view shownDn;        // of a map whose owner cannot be told: its own DN
};

// Works out the owner of an entry of a kind that is gathered, from its DN and, for maps and 'Users' entries, two of its
// attributes.
//
// Kept: the two sides normalise differently. The user side removes the blanks around all commas of the DN, the
// group side only those of a secDN value. The saved DN is not trimmed where it comes from the first line; the key is.
Owner ownerOf(Entry entry, EntryKind kind, Texts& texts, Sink show);
