// The zones that the datetimes of a run bring along, each made once.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "datetime/datetime_text.h"
#include "datetime/zone.h"
#include "messages/message.h"

namespace plx {

// One for each thread: a zone keeps what it has looked up. A zone stays where it is until trim()
// drops it.
class Zones {
 public:
  // Zones that count weeks so.
  explicit Zones(const std::optional<Weeks>& weeks = std::nullopt) : weeks_(weeks) {}

  // The zone of a datetime: that of its suffix, else that of its offset. Null, and a complaint, for
  // a suffix that names none.
  const Zone* of(const DatetimeText& datetime, Complaint& complaint);

  // The zone of a text as the option --zone takes it; null, and a complaint, for one that is none.
  const Zone* named(std::string_view text, Complaint& complaint);

  // Plain time.
  const Zone* plain() { return &byOffset(OffsetForm::none, 0); }

  // Drops all zones where there are more than kMostZones. Whether it did.
  bool trim();

 private:
  // Zones that data bring along are few. Where they are not, they are made anew.
  static constexpr std::size_t kMostZones = 1000;

  const Zone& byOffset(OffsetForm form, int offsetSeconds);
  const Zone* bySuffix(std::string_view text, Complaint& complaint);

  const std::optional<Weeks> weeks_;
  std::map<std::pair<OffsetForm, int>, Zone> byOffset_;
  std::map<std::string, Zone, std::less<>> byName_;
  // Texts that name none are kept too, with what is told of them: to find that out takes long.
  struct Named {
    std::optional<Zone> zone;
    Complaint complaint;
  };
  std::map<std::string, Named, std::less<>> byText_;
};

}  // namespace plx
