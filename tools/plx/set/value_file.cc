#include "set/value_file.h"

#include "messages/message.h"

namespace plx {

// Whether a line is there to be taken.
bool ValueFile::fill() {
  if (next_ < lines_.size()) return true;
  next_ = 0;
  return reader_.read(lines_);
}

std::optional<Line> ValueFile::next() {
  if (!fill()) return std::nullopt;
  return lines_[next_++];
}

void ValueFile::skipEmptyLine() {
  if (fill() && lines_[next_].text.empty()) ++next_;
}

void ValueFile::finish() {
  while (const auto line = next()) {
    if (line->text.empty()) continue;
    throw Failure{
        Status::badData,
        describe(location(name(), line->number),
                 {"there are more values than datetimes", "one value for each"}, line->text)};
  }
}

}  // namespace plx
