#include "set/zone_named.h"

#include <vector>

#include "inspect/zone_list.h"
#include "messages/message.h"
#include "messages/near_names.h"

namespace plx {

Zone zoneNamed(std::string_view text) {
  Complaint complaint;
  auto zone = Zone::find(text, complaint);
  if (zone) return std::move(*zone);
  complaint.what += zoneMeant(text);
  throw Failure{Status::unknownName, describe("--zone", complaint, text)};
}

// Near to the whole name or, as people leave the continent away, to what stands behind its last slash.
std::string zoneMeant(std::string_view text) {
  constexpr std::size_t kShortest = 4, kLongest = 100;
  if (text.size() < kShortest || text.size() > kLongest) return {};
  const std::vector<std::string> names = zoneNames();
  std::string_view nearest;
  const std::size_t most = mostLettersApart(text);
  std::size_t least = most + 1;
  const auto compare = [&](std::string_view part, std::string_view name) {
    const std::size_t apart = lettersApart(text, part, most);
    if (apart >= least) return;
    least = apart;
    nearest = name;
  };
  for (const std::string& name : names) {
    if (name == text) return {};  // which is known, and something else is wrong
    compare(name, name);
  }
  if (nearest.empty()) {
    for (const std::string_view name : names) compare(name.substr(name.rfind('/') + 1), name);
  }
  return nearest.empty() ? std::string() : " (did you mean " + std::string(nearest) + "?)";
}

}  // namespace plx
