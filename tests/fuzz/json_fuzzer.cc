// JSON of any bytes. A reader of JSON that goes by the grammar alone, byte after byte, takes the same lines
// and finds the same values; what is left alone comes out as it went in, and what is put into the place
// of a value is read there afterwards.

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datetime/scanner.h"
#include "fuzz/input.h"
#include "json/json_fault.h"
#include "json/json_text.h"
#include "stream/chunk.h"
#include "table/cell_writer.h"
#include "table/json_cells.h"

namespace {

using namespace plx;

constexpr int kDeepest = 500;

bool isUTF8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const auto byte = [&](std::size_t i) {
      return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u;
    };
    const auto more = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const unsigned first = byte(0);
    if (first < 0x80) {
      at += 1;
    } else if (0xC2 <= first && first <= 0xDF && more(1)) {
      at += 2;
    } else if (first >> 4 == 0xE && more(1) && more(2) && (first != 0xE0 || byte(1) >= 0xA0) &&
               (first != 0xED || byte(1) < 0xA0)) {
      at += 3;
    } else if (0xF0 <= first && first <= 0xF4 && more(1) && more(2) && more(3) &&
               (first != 0xF0 || byte(1) >= 0x90) && (first != 0xF4 || byte(1) < 0x90)) {
      at += 4;
    } else {
      return false;
    }
  }
  return true;
}

// What a text says at the path .a; `wrong` where that is none of string, number, null and absent.
struct Answer {
  bool valid = false, wrong = false, grammatical = false, tooDeep = false;
  std::optional<std::string> text;  // of a string, its meaning, or of a number
};

class ByGrammar {
 public:
  explicit ByGrammar(std::string_view text) : text_(text), scan_(text) {}

  Answer read() {
    skipSpace();
    answer_.wrong = scan_.next() != '{' && scan_.rest().substr(0, 4) != "null";
    answer_.grammatical = value(0) && (skipSpace(), scan_.atEnd());
    answer_.tooDeep = deepest_ > kDeepest;
    answer_.valid = answer_.grammatical && !answer_.tooDeep && isUTF8(text_);
    return answer_;
  }

 private:
  void skipSpace() {
    while (scan_.oneOf(" \t\r\n") != 0) continue;
  }

  bool word(std::string_view word) {
    return std::all_of(word.begin(), word.end(), [&](char c) { return scan_.skip(c); });
  }

  bool string(std::string_view& inQuotes) {
    if (!scan_.skip('"')) return false;
    const std::string_view rest = scan_.rest();
    std::size_t size = 0;
    while (size < rest.size() && rest[size] != '"') size += rest[size] == '\\' ? 2 : 1;
    if (size >= rest.size()) return false;
    inQuotes = rest.substr(0, size);
    scan_ = Scanner(rest.substr(size + 1));
    return hasJsonEscapes(inQuotes) &&
           std::none_of(inQuotes.begin(), inQuotes.end(), [](char c) { return 0 <= c && c < ' '; });
  }

  bool number(std::string_view& text) {
    const std::string_view rest = scan_.rest();
    text = rest.substr(0, rest.find_first_not_of("+-.eE0123456789"));
    scan_ = Scanner(rest.substr(text.size()));
    return isJsonNumber(text);
  }

  bool value(int depth, bool isAnswer = false) {
    deepest_ = std::max(deepest_, depth);
    if (depth > 3 * kDeepest) return false;
    skipSpace();
    std::string_view text;
    switch (scan_.next()) {
      case '{':
        answer_.wrong |= isAnswer;
        return object(depth);
      case '[':
        answer_.wrong |= isAnswer;
        return array(depth);
      case '"':
        if (!string(text)) return false;
        if (isAnswer) answer_.text = unescapedJson(text);
        return true;
      case 't':
        answer_.wrong |= isAnswer;
        return word("true");
      case 'f':
        answer_.wrong |= isAnswer;
        return word("false");
      case 'n':
        return word("null");
      default:
        if (!number(text)) return false;
        if (isAnswer) answer_.text = std::string(text);
        return true;
    }
  }

  bool object(int depth) {
    scan_.skip('{');
    skipSpace();
    if (scan_.skip('}')) return true;
    int times = 0;
    do {
      std::string_view key;
      skipSpace();
      if (!string(key)) return false;
      skipSpace();
      if (!scan_.skip(':')) return false;
      const bool isAnswer = depth == 0 && unescapedJson(key) == "a";
      if (isAnswer && ++times > 1) answer_.wrong = true;
      if (!value(depth + 1, isAnswer)) return false;
      skipSpace();
    } while (scan_.skip(','));
    return scan_.skip('}');
  }

  bool array(int depth) {
    scan_.skip('[');
    skipSpace();
    if (scan_.skip(']')) return true;
    do {
      if (!value(depth + 1)) return false;
      skipSpace();
    } while (scan_.skip(','));
    return scan_.skip(']');
  }

  const std::string_view text_;
  Scanner scan_;
  Answer answer_;
  int deepest_ = 0;
};

Chunk chunkOf(const std::string& text, std::size_t room) {
  Chunk chunk;
  chunk.source = "json";
  chunk.first = true;
  chunk.end = text.ends_with('\n') ? Chunk::End::record : Chunk::End::source;
  chunk.storage.assign(text.begin(), text.end());
  chunk.size = text.size();
  chunk.storage.resize(text.size() + room, '"');
  return chunk;
}

Cells cellsOf(const Chunk& chunk) {
  Cells cells;
  JsonSplitter(std::vector<JsonPath>{JsonPath{{"a", {}}}}).split(chunk, chunk.size, cells);
  return cells;
}

std::string textOfCell(const Chunk& chunk, const Cell& cell) {
  const std::string_view text = chunk.bytes().substr(cell.begin, cell.end - cell.begin);
  return cell.doubled ? unescapedJson(text) : std::string(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  const std::size_t room = in.below(256);
  const JsonStyle style{in.oneIn(2)};
  std::string replacement;
  for (unsigned left = in.byte() % 8; left > 0; --left) replacement += static_cast<char>(in.byte());
  if (!isUTF8(replacement)) replacement = "2014";
  const Chunk chunk = chunkOf(in.rest(), room);
  const Cells cells = cellsOf(chunk);
  require(!cells.failure && cells.end == chunk.size, "all lines are read");
  require(cells.cells.size() == cells.records.size(), "a cell for each line");

  std::string same, changed;
  CellWriter writer(chunk, style, changed);
  CellWriter(chunk, style, same).finish(cells.end);
  require(same == chunk.bytes(), "what is left alone comes out as it went in");

  auto wrong = cells.wrong.begin();
  for (std::size_t i = 0; i < cells.records.size(); ++i) {
    const Record& record = cells.records[i];
    const std::string line(chunk.bytes().substr(record.begin, record.end - record.begin));
    const Answer answer = ByGrammar(line).read();
    const bool isWrong = wrong != cells.wrong.end() && wrong->record == i;
    require(isWrong == (!answer.valid || answer.wrong), "both readers take the same lines:", line);
    require(answer.tooDeep || answer.grammatical == !findJsonFault(line),
            "a fault has a place:", line);
    if (isWrong) {
      require(record.begin <= wrong->at && wrong->at <= record.end, "told within the line");
      ++wrong;
      continue;
    }
    const Cell& cell = cells.cells[i];
    require(textOfCell(chunk, cell) == answer.text.value_or(""), "and find the same value:", line);
    if (answer.text) writer.replace(cell, replacement);
  }
  require(wrong == cells.wrong.end(), "the wrong lines in order");

  writer.finish(cells.end);
  const Chunk chunkAfter = chunkOf(changed, room);
  const Cells after = cellsOf(chunkAfter);
  require(after.records.size() == cells.records.size() && after.wrong.size() == cells.wrong.size(),
          "as many lines and wrong ones after the change");
  wrong = cells.wrong.begin();
  for (std::size_t i = 0; i < after.records.size(); ++i) {
    if (wrong != cells.wrong.end() && wrong->record == i) {
      ++wrong;
      continue;
    }
    const bool had = cells.cells[i].end > cells.cells[i].begin || cells.cells[i].quoted;
    require(textOfCell(chunkAfter, after.cells[i]) == (had ? replacement : ""),
            "what was put there is read there");
  }
  return 0;
}
