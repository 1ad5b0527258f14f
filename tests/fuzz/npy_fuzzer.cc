// Array files of any bytes. Each is refused with a message that tells a byte of the file and what would
// be accepted, or its header is written again and reads the same; and then every element, taken for a
// datetime, is refused or comes back as it was, whether alone or among others.

#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "elements/elements.h"
#include "fuzz/input.h"
#include "npy/header.h"
#include "npy/positions.h"
#include "support/bits.h"

namespace {

using namespace plx;

constexpr std::string_view kName = "fuzz: byte ";

void checkRefusal(const std::string& message, std::size_t size) {
  require(message.starts_with(kName), "the message tells the byte:", message);
  std::size_t byte = 0;
  const auto [end, error] =
      std::from_chars(message.data() + kName.size(), message.data() + message.size(), byte);
  require(error == std::errc() && *end == ':' && byte <= size, "the byte is in the file:", message);
  require(message.find("; accepted: ") != std::string::npos, "it tells what is accepted:", message);
  require(message.find('\n') == std::string::npos, "it is one line:", message);
}

void checkHeader(const NpyHeader& header) {
  const std::string text = npyHeaderText(header);
  require(text.size() % 64 == 0, "the data are aligned");
  // Without data it reads up to those, unless there are none.
  try {
    require(readNpyHeader(text, "fuzz").header.shape == header.shape, "the shape reads the same");
  } catch (const Failure& failure) {
    require(failure.message.find("the data are shorter") != std::string::npos,
            "the header reads again:", failure.message);
  }
}

void checkElements(const NpyHeader& header, const char* data, bool keepsParts) {
  const auto elements = DatetimeElements::of(header.type, keepsParts);
  const std::size_t bytes = header.type.bytes;
  if (!elements) {
    if (header.type.kind == ElementType::Kind::complexFloat) return;
    std::vector<double> numbers(header.count);
    const std::size_t read = readNumbers(header.type, data, header.count, numbers.data());
    require(read <= header.count, "as many numbers as there are");
    if (read < header.count) numberText(header.type, data + read * bytes);
    return;
  }
  std::vector<double> high(header.count), low(header.count);
  const bool holds = elements->read(data, header.count, high.data(), low.data());
  for (std::uint64_t i = 0; i < header.count; ++i) {
    const char* element = data + i * bytes;
    doubledouble datetime{};
    const auto wrong = elements->readOne(element, datetime);
    require(!(holds && wrong), "the loop refuses what is refused alone");
    elements->text(element);
    elementText("fuzz", header, i);
    if (wrong) continue;
    if (holds) require(sameBits(high[i], datetime.hi), "the loop reads what is read alone");
    std::string out(bytes, '?');
    const auto unwritten =
        elements->writeOne(element, datetime, {0, !std::isfinite(datetime.hi)}, out.data());
    if (unwritten) elements->resultText(element, datetime);
    if (!keepsParts) continue;
    require(!unwritten, "what was read can be written");
    require(out == std::string_view(element, bytes), "it comes back as it was");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of its own, of just that size.
  const std::vector<char> file(data, data + size);
  try {
    const NpyLayout layout = readNpyHeader({file.data(), size}, "fuzz");
    require(layout.dataStart + layout.header.count * layout.header.type.bytes == size,
            "the data fill the file");
    checkHeader(layout.header);
    for (const bool keepsParts : {false, true})
      checkElements(layout.header, file.data() + layout.dataStart, keepsParts);
  } catch (const Failure& failure) {
    checkRefusal(failure.message, size);
  }
  return 0;
}
