#include "zones/zone_file.h"

#include <algorithm>
#include <cstddef>

namespace zones {

namespace {

constexpr std::string_view kMagic = "TZif";
constexpr std::size_t kHeaderBytes = 44;
// zic puts what it takes for the beginning of time at -2^59; so far out, no sum here overflows.
constexpr std::int64_t kFarthest = std::int64_t{1} << 60;

// What a header counts, in its order.
struct Counts {
  std::uint32_t utcMarks, standardMarks, leaps, changes, types, letters;
};

// The bytes of a file, from the front. Numbers have their highest byte first.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}

  std::string_view rest() const { return rest_; }
  std::string_view take(std::size_t count) {
    if (count > rest_.size()) throw BadZones("cut short");
    const std::string_view bytes = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return bytes;
  }
  std::int64_t number(std::size_t bytes) {
    std::uint64_t value = 0;
    const std::string_view taken = take(bytes);
    for (const char c : taken) value = value << 8 | static_cast<unsigned char>(c);
    const int unused = 64 - 8 * static_cast<int>(bytes);
    return static_cast<std::int64_t>(value << unused) >> unused;  // with its sign
  }
  std::uint32_t count() { return static_cast<std::uint32_t>(number(4)); }

 private:
  std::string_view rest_;
};

// The header's version, and its counts.
char readHeader(Reader& reader, Counts& counts) {
  if (!reader.rest().starts_with(kMagic)) throw BadZones("not a zone file");
  const std::string_view header = reader.take(kHeaderBytes);
  Reader numbers(header.substr(20));
  for (std::uint32_t* const count : {&counts.utcMarks, &counts.standardMarks, &counts.leaps,
                                     &counts.changes, &counts.types, &counts.letters})
    *count = numbers.count();
  return header[4];
}

std::size_t bytesOf(const Counts& counts, std::size_t secondBytes) {
  // Each is below 2^32, and their factors are small.
  return std::size_t{counts.changes} * (secondBytes + 1) + std::size_t{counts.types} * 6 +
         counts.letters + std::size_t{counts.leaps} * (secondBytes + 4) + counts.standardMarks +
         counts.utcMarks;
}

void readBlock(Reader& reader, const Counts& counts, std::size_t secondBytes, ZoneFile& file) {
  if (counts.leaps != 0) throw BadZones("counts leap seconds, as those of the folder right/ do");
  if (counts.types == 0 || counts.types > 256)
    throw BadZones("contradicts itself: the number of its local times");
  Reader block(reader.take(bytesOf(counts, secondBytes)));
  file.changes.resize(counts.changes);
  for (ZoneFile::Change& change : file.changes) change.second = block.number(secondBytes);
  for (ZoneFile::Change& change : file.changes) {
    change.type = static_cast<std::uint8_t>(block.number(1));
    if (change.type >= counts.types)
      throw BadZones("contradicts itself: a change to a local time that it lacks");
  }
  for (std::size_t i = 0; i < file.changes.size(); ++i) {
    if (file.changes[i].second < -kFarthest || file.changes[i].second > kFarthest)
      throw BadZones("has a change more than 2^60 seconds from 1970");
    if (i > 0 && file.changes[i - 1].second >= file.changes[i].second)
      throw BadZones("contradicts itself: its changes do not follow each other");
  }
  file.types.resize(counts.types);
  for (ZoneFile::Type& type : file.types) {
    const std::int64_t offset = block.number(4);
    if (offset <= -26 * 3600 || offset >= 26 * 3600)
      throw BadZones("has an offset of more than a day");
    const std::int64_t isSaving = block.number(1);
    if (isSaving != 0 && isSaving != 1)
      throw BadZones("contradicts itself: a mark that is neither 0 nor 1");
    type = {static_cast<int>(offset), isSaving == 1};
    block.take(1);
  }
}

// "\n" rule "\n"; the rule may be missing.
void readRule(Reader& reader, ZoneFile& file) {
  if (reader.take(1) != "\n") throw BadZones("contradicts itself: no rule behind its changes");
  const std::size_t end = reader.rest().find('\n');
  if (end == std::string_view::npos) throw BadZones("cut short");
  const std::string_view text = reader.take(end);
  if (text.empty()) return;
  file.rule = readYearlyRule(text);
  if (!file.rule)
    throw BadZones("has a rule that cannot be read: " + std::string(text.substr(0, 100)));
  if (file.changes.empty()) return;
  const ZoneFile::Change& last = file.changes.back();
  if (file.rule->offsetAt(last.second) != file.types[last.type].offset)
    throw BadZones("contradicts itself: its rule is not that of its last change");
}

}  // namespace

int ZoneFile::offsetAt(std::int64_t second) const {
  if (rule && (changes.empty() || second >= changes.back().second)) return rule->offsetAt(second);
  const auto after =
      std::upper_bound(changes.begin(), changes.end(), second,
                       [](std::int64_t s, const Change& change) { return s < change.second; });
  return types[after == changes.begin() ? 0 : std::prev(after)->type].offset;
}

std::optional<OffsetChange> ZoneFile::nextOffsetChange(std::int64_t from,
                                                       std::int64_t until) const {
  const auto first =
      std::lower_bound(changes.begin(), changes.end(), from,
                       [](const Change& change, std::int64_t s) { return change.second < s; });
  const int before = offsetAt(from - 1);
  for (auto change = first; change != changes.end() && change->second < until; ++change) {
    const int offset = types[change->type].offset;
    if (offset != before) return OffsetChange{change->second, offset};
  }
  if (!rule) return std::nullopt;
  if (!changes.empty()) from = std::max(from, changes.back().second + 1);
  if (from >= until) return std::nullopt;
  const auto ofRule = rule->nextOffsetChange(from);
  if (!ofRule || ofRule->second >= until) return std::nullopt;
  return ofRule;
}

ZoneFile readZoneFile(std::string_view bytes) {
  Reader reader(bytes);
  Counts counts{};
  const char version = readHeader(reader, counts);
  if (version != '\0' && (version < '2' || version > '4'))
    throw BadZones("of a version that is not known; 1 to 4 are");
  ZoneFile file;
  if (version == '\0') {
    readBlock(reader, counts, 4, file);
    return file;
  }
  reader.take(bytesOf(counts, 4));
  if (readHeader(reader, counts) != version) throw BadZones("contradicts itself: its version");
  readBlock(reader, counts, 8, file);
  readRule(reader, file);
  return file;
}

}  // namespace zones
