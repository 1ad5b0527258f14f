#include "command/typed_setting.h"

#include <fmt/format.h>

#include "messages/message.h"
#include "setting/named_field.h"

namespace plx {

std::optional<TypedSetting> typedSetting(std::string_view word) {
  const std::size_t equals = word.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  std::size_t end = equals;
  if (end > 0 && (word[end - 1] == '+' || word[end - 1] == '-')) --end;
  const std::string_view name = word.substr(0, end), value = word.substr(equals + 1);
  if (name.find_first_not_of("abcdefghijklmnopqrstuvwxyz-0123456789") != std::string_view::npos)
    return std::nullopt;
  if (!value.starts_with('@') && value.find('/') != std::string_view::npos) return std::nullopt;
  return TypedSetting{std::string(name), std::string(value),
                      std::string(word.substr(end, equals - end))};
}

Assignment assignmentOf(const TypedSetting& setting, int firstDay) {
  const CalendarField field = findField(setting.component);
  Assignment assignment{field.component};
  assignment.own = field.own;
  if (!setting.sign.empty()) assignment.change = Change::by;
  assignment.isNegated = setting.sign == "-";
  if (setting.isEach()) return assignment;
  if (setting.sign.empty() && setting.value.size() > 1 && setting.value[0] == '+') {
    const std::string number = setting.value.substr(1);
    throw Failure{Status::badData,
                  fmt::format("VALUE: looks relative: {}; accepted: {} for a new value, {}+={} for "
                              "so much more",
                              quoteText(setting.value), escapeText(number), setting.component,
                              escapeText(number))};
  }
  Complaint complaint;
  assignment.value = readValueOf(assignment, setting.value, firstDay, complaint);
  if (!assignment.value)
    throw Failure{Status::badData, describe("VALUE", complaint, setting.value)};
  return assignment;
}

}  // namespace plx
