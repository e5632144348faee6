#include "rules/unfolding.h"

#include <algorithm>

#include "rules/attribute.h"
#include "rules/line_scan.h"

// True for a line that is not continued and needs no more than a newline for its line end.
static bool isWhole(Entry entry, size_t place) {
  const Line& line = entry[place];
  const bool isContinued = place + 1 < entry.size() && isContinuation(entry[place + 1]);
  // Two characters behind the content are a carriage return and the newline; where there are more, text stands behind a
  // carriage return, and has to go.
  return !isContinued && line.length - line.contentLength <= 2 && line.text[line.length - 1] == '\n';
}

// Puts the newline where the line ends.
static void closeLine(Line& line, bool isTextOurs, Texts& texts) {
  const size_t length = size_t{line.contentLength} + 1;
  if (line.length == length) return;
  char* text = const_cast<char*>(line.text);
  if (!isTextOurs) {
    text = makeRoom(texts, length);
    std::copy_n(line.text, line.contentLength, text);
    line.text = text;
  }
  text[line.contentLength] = '\n';
  line.length = static_cast<uint32_t>(length);
}

static Line unfoldedLine(std::string_view text, bool isJoined, Texts& texts) {
  // What has been joined is ours, and has room for the newline.
  char* const own = isJoined ? const_cast<char*>(text.data()) : makeRoom(texts, text.size() + 1);
  if (!isJoined) std::copy(text.begin(), text.end(), own);
  own[text.size()] = '\n';
  return scanLine({own, text.size() + 1});
}

UnfoldedEntry unfoldLines(std::span<Line> entry, bool areTextsOurs, Texts& texts) {
  UnfoldedEntry unfolded = {0, true};
  for (size_t place = 0; place < entry.size();) {
    if (isContinuation(entry[place])) {
      // It continues nothing: an entry begins with it.
      ++place;
      unfolded.isAsRead = false;
    } else if (isWhole(entry, place)) {
      if (unfolded.lines != place) entry[unfolded.lines] = entry[place];
      closeLine(entry[unfolded.lines++], areTextsOurs, texts);
      ++place;
    } else {
      const Attribute attribute = unfold(entry, static_cast<int32_t>(place), 0, texts);
      const size_t length = attribute.text.size();
      const bool isAlone = static_cast<size_t>(attribute.nextLine) == place + 1;
      // Nothing but a newline may have been added, and not to a piece so long that the two would be read as two lines.
      unfolded.isAsRead = unfolded.isAsRead && isAlone && length == entry[place].length && length < LONGEST_LINE;
      entry[unfolded.lines++] = unfoldedLine(attribute.text, !isAlone, texts);
      place = static_cast<size_t>(attribute.nextLine);
    }
  }
  return unfolded;
}
