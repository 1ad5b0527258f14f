#include "messages/near_names.h"

#include <algorithm>
#include <vector>

#include "messages/letters.h"
#include "messages/message.h"

namespace plx {

std::size_t lettersApart(std::string_view a, std::string_view b, std::size_t most) {
  const std::size_t longer = std::max(a.size(), b.size());
  if (longer - std::min(a.size(), b.size()) > most) return most + 1;
  // Rows of the table of distances between beginnings: this one and the two before it.
  std::vector<std::size_t> row(b.size() + 1), last(row.size()), beforeLast(row.size());
  for (std::size_t k = 0; k <= b.size(); ++k) row[k] = k;
  const auto isSame = [&](std::size_t i, std::size_t k) {
    return lowerCase(a[i]) == lowerCase(b[k]);
  };
  for (std::size_t i = 0; i < a.size(); ++i) {
    beforeLast.swap(last);
    last.swap(row);
    row[0] = i + 1;
    for (std::size_t k = 0; k < b.size(); ++k) {
      row[k + 1] = std::min({last[k + 1] + 1, row[k] + 1, last[k] + (isSame(i, k) ? 0 : 1)});
      const bool isExchanged = i > 0 && k > 0 && isSame(i, k - 1) && isSame(i - 1, k);
      if (isExchanged) row[k + 1] = std::min(row[k + 1], beforeLast[k - 1] + 1);
    }
  }
  return std::min(row.back(), most + 1);
}

std::size_t mostLettersApart(std::string_view text) { return text.size() <= 4 ? 1 : 2; }

std::string didYouMean(std::string_view text, std::span<const std::string_view> names) {
  constexpr std::size_t kLongest = 100;
  if (text.empty() || text.size() > kLongest) return {};
  const std::size_t most = mostLettersApart(text);
  std::size_t least = most + 1;
  std::string_view nearest;
  for (const std::string_view name : names) {
    const std::size_t apart = lettersApart(text, name, most);
    if (apart >= least || apart >= name.size()) continue;
    least = apart;
    nearest = name;
  }
  return nearest.empty() ? std::string() : " (did you mean " + escapeText(nearest) + "?)";
}

}  // namespace plx
