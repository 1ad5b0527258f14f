#include "inspect/month_calendar.h"

#include <fmt/format.h>

#include <cstddef>

#include "arith/civil.h"
#include "inspect/wall.h"
#include "messages/calendar_names.h"

namespace plx {

namespace {

constexpr std::size_t kWidth = 31;  // "week" and seven cells of four columns, less a space

struct Marks {
  double before, after;
};

// Four columns for a day, which has a space on its right in the last of them.
std::string cell(double day, const Marks& marks, const Paint& paint) {
  const auto number = static_cast<int>(dateOf(day).day);
  if (day == marks.after) return paint(Style::after, fmt::format("[{:2}]", number));
  if (day == marks.before) return paint(Style::before, fmt::format("({:2})", number));
  return fmt::format(" {:2} ", number);
}

std::string weekdaysFrom(const Zone& zone) {
  const std::size_t first = zone.weeks() ? static_cast<std::size_t>(zone.weeks()->firstDay) : 0;
  std::string line = "week";
  for (std::size_t i = 0; i < 7; ++i)
    line += fmt::format(" {} ", kWeekdayNames[(first + i) % 7].substr(0, 2));
  return line;
}

std::string centred(const std::string& text) {
  return text.size() < kWidth ? std::string((kWidth - text.size()) / 2, ' ') + text : text;
}

// A title, the weekdays, and a line for each week. All but the last two columns are as wide.
std::vector<std::string> oneMonth(double anyDay, const Marks& marks, const Zone& zone,
                                  const Paint& paint) {
  const Date date = dateOf(anyDay);
  const double first = anyDay - date.day + 1.0;
  const double end = ymd2days(date.year, date.month + 1.0, 1.0);
  const auto& name = kMonthNames[static_cast<std::size_t>(date.month - 1.0)];
  const std::string title =
      centred(fmt::format("{} {}", name, static_cast<std::int64_t>(date.year)));
  std::vector<std::string> lines = {paint(Style::title, fmt::format("{:{}}", title, kWidth)),
                                    weekdaysFrom(zone)};
  for (double start = first - dayOfWeekOf(first, zone) + 1.0; start < end; start += 7.0) {
    // By its own days: of a week with a new year in it, arithmetic numbers the two parts apart.
    const double shown = start < first ? first : start;
    std::string line = fmt::format("{:3} ", weekOf(shown, zone));
    for (double day = start; day < start + 7.0; ++day)
      line += first <= day && day < end ? cell(day, marks, paint) : "    ";
    lines.push_back(std::move(line));
  }
  return lines;
}

bool areInOneMonth(double a, double b) {
  const Date x = dateOf(a), y = dateOf(b);
  return x.year == y.year && x.month == y.month;
}

}  // namespace

std::vector<std::string> monthCalendar(double dayBefore, double dayAfter, const Zone& zone,
                                       const Paint& paint, bool besideEachOther) {
  const Marks marks{dayBefore, dayAfter};
  std::vector<std::string> lines = oneMonth(dayBefore, marks, zone, paint);
  if (areInOneMonth(dayBefore, dayAfter)) return lines;
  const std::vector<std::string> right = oneMonth(dayAfter, marks, zone, paint);
  if (!besideEachOther) {
    lines.emplace_back();
    lines.insert(lines.end(), right.begin(), right.end());
    return lines;
  }
  for (std::size_t i = 0; i < right.size(); ++i) {
    if (i == lines.size()) lines.emplace_back(kWidth + 1, ' ');
    lines[i] += "    " + right[i];
  }
  return lines;
}

}  // namespace plx
