// The walk over the elements of an array through ICU's calendar: what setting a component in a time
// zone means. Faster walks give the same bits, and leave everything that they do not claim to this one.
#pragma once

#include <unicode/gregocal.h>

#include <cstddef>
#include <functional>
#include <utility>

#include "base/component.h"
#include "base/elements.h"
#include "icu/unique_ptr.h"

// Sets the elements of a call, some or all of them, by the calendar that it is given. The errors
// are those of setField(); no element's result depends on those set before.
class CalendarWalk {
 public:
  CalendarWalk(icu::GregorianCalendar& calendar, Component component, const Elements& elements)
      : calendar_(&calendar), component_(component), elements_(elements) {}

  // With a calendar that is made when the first element needs one.
  using MakeCalendar = std::function<boost::unique_ptr<icu::GregorianCalendar>()>;
  CalendarWalk(MakeCalendar make, Component component, const Elements& elements)
      : make_(std::move(make)), component_(component), elements_(elements) {}

  // Writes element i, or raises.
  void set(std::size_t i);

  // Writes all elements in order, or raises at the first that cannot be set.
  void setAll();

 private:
  icu::GregorianCalendar& calendar();

  const MakeCalendar make_;
  boost::unique_ptr<icu::GregorianCalendar> made_;
  icu::GregorianCalendar* calendar_ = nullptr;  // null: not made yet
  const Component component_;
  const Elements elements_;
  UErrorCode status_ = U_ZERO_ERROR;  // an error raises at once, so it only ever holds a warning
};
