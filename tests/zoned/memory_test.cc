// What a call takes of memory beside the arrays, and that it gives all of it back.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>

#include "support/cases.h"
#include "support/datetime_arrays.h"
#include "support/every_zone.h"
#include "zoned/calendar.h"
#include "zoned/set_field.h"

namespace {

std::size_t live = 0, peak = 0;

// The size stands before the memory.
constexpr std::size_t kHeader = alignof(std::max_align_t);

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  void* const start = std::malloc(size + kHeader);
  if (start == nullptr) return nullptr;
  *static_cast<std::size_t*>(start) = size;
  live += size;
  if (live > peak) peak = live;
  return static_cast<char*>(start) + kHeader;
}

void* operator new(std::size_t size) {
  void* const memory = operator new(size, std::nothrow);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  if (memory == nullptr) return;
  void* const start = static_cast<char*>(memory) - kHeader;
  live -= *static_cast<std::size_t*>(start);
  std::free(start);
}

void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { operator delete(memory); }

namespace {

TEST(Memory, OfACallStaysBelowAQuarterOfAMebibyte) {
  Cases cases(600);
  std::size_t largest = 0;
  const Array t = doubles(std::vector<double>(1000, 86400000.0)), v = scalar(3.0);
  const std::vector<double> zeros(1000);
  const Array result = doubles(zeros, &zeros);
  const auto call = [&](const std::string& id) {
    auto calendar = createCalendar(boost::unique_ptr<icu::TimeZone>(zoneOf(id).release()));
    const std::size_t before = peak = live;
    setField(t.get(), v.get(), UCAL_MONTH, result.get(), boost::move(calendar));
    EXPECT_EQ(live, before) << id << ": kept after the call";
    return peak - before;
  };
  call("America/New_York");  // what the process makes once
  for (const std::string& id : everyZone()) {
    largest = std::max(largest, call(id));
    ++cases;
  }
  std::printf("at most %zu bytes\n", largest);
  EXPECT_GT(largest, 10000u) << "nothing was counted";
  EXPECT_LT(largest, 256u * 1024u);
}

}  // namespace
