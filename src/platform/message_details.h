// What a message can say beyond its arguments. The side that reports fills these in before it calls
// zr_printf_utf8; the message service reads them. They stand apart from the service so that a build with
// another service needs nothing from ours.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/detail_texts.h"

// Why the last file operation failed, or what is wrong with the command line: in English, one of the texts of
// detail_texts.h or the system's own; empty when there is nothing to add. Written by the file operations and by the
// command-line check; taken back by whoever goes on after a failure. It is translated where it is shown, so that
// what is traced and compared stays the same in every language.
inline char messageReason[512];

// The dn: line of the entry that the next failure of a position call concerns; empty for none. Only lent: it must stay
// valid until the message has been issued.
inline std::string_view messageSubject;

// What stands for {1}, {2} and so on in a text.
struct MessageValue {
  enum Kind : uint8_t { NOTHING, NUMBER, TEXT, CAUSE, ENTRY };

  Kind kind = NOTHING;
  int64_t number = 0;     // the number; of an entry its line in the input, 0 if that is not known
  std::string_view text;  // the text; a reason like messageReason; of an entry its first line, empty for none. Only
                          // lent, like messageSubject

  constexpr MessageValue() = default;
  constexpr MessageValue(int64_t value) : kind(NUMBER), number(value) {}
  constexpr MessageValue(std::string_view value, Kind kindOfText = TEXT) : kind(kindOfText), text(value) {}
  constexpr MessageValue(const char* value, Kind kindOfText = TEXT) : kind(kindOfText), text(value) {}
  constexpr MessageValue(std::string_view firstLine, int64_t line) : kind(ENTRY), number(line), text(firstLine) {}
};

constexpr size_t MAXIMUM_MESSAGE_VALUES = 10;

struct MessageDetails {
  DetailText sentence = NO_DETAIL;  // follows the text of a notice, and takes the place of that of an error
  DetailText hint = NO_DETAIL;      // what follows, in a sentence of its own
  std::array<MessageValue, MAXIMUM_MESSAGE_VALUES> values = {};
};

// Of the next message that has a place for them. Whoever has filled them in takes them back.
inline MessageDetails messageDetails;
