#include "setting/datetime_places.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "elements/bytes.h"

namespace plx {

namespace {

double loadDouble(const Strided& from, std::size_t position, bool isSwapped) {
  const char* bytes = from.at(position);
  return isSwapped ? load<double, true>(bytes) : load<double, false>(bytes);
}

void storeDouble(const Strided& to, std::size_t position, bool isSwapped, double x) {
  isSwapped ? store<true>(to.at(position), x) : store<false>(to.at(position), x);
}

}  // namespace

std::string pairText(const doubledouble& pair) { return fmt::format("{},{}", pair.hi, pair.lo); }

DatetimePlaces::DatetimePlaces(const DatetimeArray& array) : array_(array) {
  if (!array.isPair) elements_ = DatetimeElements::of(array.type, false);
}

std::optional<Wrong> DatetimePlaces::read(std::size_t position, doubledouble& datetime) const {
  if (elements_) {
    const char* bytes = array_.elements.at(position);
    if (const auto complaint = elements_->readExactly(bytes, datetime))
      return wrong(*complaint, elements_->text(bytes));
    return std::nullopt;
  }
  const bool isSwapped = array_.type.isSwapped();
  datetime = {loadDouble(array_.elements, position, isSwapped),
              loadDouble(array_.low, position, isSwapped)};
  if (std::isfinite(datetime.hi) && !std::isfinite(datetime.lo))
    return wrong(
        {"the low part of a finite datetime is not finite",
         "a finite low part where the high part is finite", Status::badData, id::kNotFinite},
        pairText(datetime));
  return std::nullopt;
}

bool DatetimePlaces::readMillis(std::size_t start, std::size_t count, double* high, double* low) {
  if (!elements_) return false;
  if (!array_.elements.isContiguous()) room_.resize(count * array_.type.bytes);
  const char* bytes = array_.elements.gathered(start, count, room_.data());
  if (!elements_->hasLow()) std::fill_n(low, count, 0.0);
  return elements_->read(bytes, count, high, low);
}

std::optional<Wrong> DatetimePlaces::write(std::size_t position,
                                           const doubledouble& datetime) const {
  if (elements_) {
    char* bytes = array_.elements.at(position);
    const Slack slack{0, !std::isfinite(datetime.hi)};
    if (const auto complaint = elements_->writeOne(bytes, datetime, slack, bytes))
      return wrong(*complaint, elements_->resultText(bytes, datetime));
    return std::nullopt;
  }
  const bool isSwapped = array_.type.isSwapped();
  storeDouble(array_.elements, position, isSwapped, datetime.hi);
  storeDouble(array_.low, position, isSwapped, datetime.lo);
  return std::nullopt;
}

std::string DatetimePlaces::text(std::size_t position) const {
  if (elements_) return elements_->text(array_.elements.at(position));
  doubledouble pair{};
  read(position, pair);
  return pairText(pair);
}

}  // namespace plx
