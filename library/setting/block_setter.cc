#include "setting/block_setter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "base/calendar_limits.h"
#include "elements/bytes.h"
#include "inspect/leap_table.h"
#include "inspect/named.h"
#include "setting/datetime_places.h"
#include "setting/refusals.h"
#include "setting/stream_copy.h"
#include "setting/zone_of.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedWhole =
    "whole numbers; only second and time-of-day take fractions";

double* highOf(const paArray* array) { return paGetRealData(array); }
double* lowOf(const paArray* array) { return paIsComplex(array) ? paGetImagData(array) : nullptr; }

doubledouble pairAt(const paArray* array, std::size_t i) {
  const double* low = lowOf(array);
  return {highOf(array)[i], low == nullptr ? 0.0 : low[i]};
}

// Elements that are left out are read as missing ones, which every setting takes and leaves as they are.
void writeMissing(const ElementType& type, char* bytes) {
  if (type.kind == ElementType::Kind::datetime64) {
    const std::uint64_t notATime = std::uint64_t{1} << 63;
    const std::uint64_t bits = type.isSwapped() ? swapped(notATime) : notATime;
    std::memcpy(bytes, &bits, sizeof bits);
    return;
  }
  std::memset(bytes, 0xFF, 8);  // NaN in either byte order
  if (type.bytes == 16) std::memset(bytes + 8, 0, 8);
}

bool isAligned(const char* bytes) {
  return reinterpret_cast<std::uintptr_t>(bytes) % alignof(double) == 0;
}

// The host's arrays are never const; nothing is written through this pointer.
double* doublesAt(const char* bytes) {
  return const_cast<double*>(reinterpret_cast<const double*>(bytes));
}

void swapEach(std::size_t count, const char* from, char* to) {
  for (std::size_t i = 0; i < count; ++i)
    store<true>(to + 8 * i, load<double, false>(from + 8 * i));
}

}  // namespace

BlockSetter::BlockSetter(const SetJob& job) : job_(job), zoneText_(hostText(job.zoneText)) {
  if (job.needsZone) {
    zone_ = job.zone;
    if (zone_ == nullptr) {
      ownZone_.emplace(zoneOf(job.isLocal ? "local" : job.zoneText));
      zone_ = &*ownZone_;
    }
    checker_.emplace(*zone_);
    settler_.emplace(ClockChoice{job.options.fold, job.options.gap}, *zone_, *checker_);
  }
  values_.reserve(job.settings.size());
  for (const NewValues& given : job.settings) {
    HostArray forAll;
    if (given.forAll) forAll = hostNumber(*given.forAll);
    values_.push_back(
        {given, hostNumber(factsOf(given.component).selector), std::move(forAll), nullptr});
  }
  if (job.datetimes.isPair) return;
  elements_ = DatetimeElements::of(job.datetimes.type, job.keepsParts);
}

std::optional<Stop> BlockSetter::work(std::size_t start, std::size_t count) {
  isAlone_ = count <= 1;
  if (trySet(start, count)) return std::nullopt;
  if (stop_) {
    stop_->done += start;
    if (stop_->index != PLX_NO_INDEX) stop_->index += start;
    return stop_;
  }
  const std::size_t half = count / 2;
  if (auto stop = work(start, half)) return stop;
  return work(start + half, count - half);
}

// An element is at fault: reported once that element is alone in its block.
bool BlockSetter::fails(Wrong wrong, std::size_t setting) {
  if (isAlone_) stop_ = Stop{std::move(wrong), 0, 0, setting};
  return false;
}

// No element is at fault: reported at once, since no other block would do better.
bool BlockSetter::failsAtOnce(Wrong wrong, std::size_t setting) {
  stop_ = Stop{std::move(wrong), PLX_NO_INDEX, 0, setting};
  return false;
}

bool BlockSetter::trySet(std::size_t start, std::size_t count) {
  makeRoom(count);
  where_ = nullptr;
  if (job_.options.where != nullptr) {
    whereRoom_.resize(count);
    where_ = job_.where.gathered(start, count, whereRoom_.data());
  }
  if (!read(start, count)) return false;
  const paArray* datetimes = datetimes_;
  if (!agreesWithClock(datetimes, count)) return false;
  for (std::size_t at = 0; at < values_.size(); ++at) {
    if (!prepare(values_[at], at, datetimes, start, count)) return false;
    if (!apply(values_[at], at, datetimes, count)) return false;
    datetimes = result_.get();
    if (!agreesWithClock(datetimes, count)) return false;
  }
  if (!judge(count)) return false;
  const std::size_t done = put(start - job_.firstResult, count);
  if (job_.options.findings != nullptr) putFindings(start, done);
  takeNotes(done);
  return done == count;
}

void BlockSetter::makeRoom(std::size_t count) {
  isAnyAtEdge_ = false;
  if (column_ && count == room_) return;
  room_ = count;
  const bool hasLow = job_.datetimes.isPair || elements_->hasLow();
  column_ = hostColumn(count, hasLow ? paCOMPLEX : paREAL);
  result_.reset();
  for (HostArray& lent : lent_) lent.reset();
}

// Contiguous elements: copied to `room` where the caller's are not, or some are left out and will be overwritten.
const char* BlockSetter::gather(const Strided& from, std::size_t bytes, std::size_t start,
                                std::size_t count, std::vector<char>& room) const {
  if (from.isContiguous() && where_ == nullptr) return from.data() + start * bytes;
  room.resize(count * bytes);
  from.gather(start, count, room.data());
  return room.data();
}

bool BlockSetter::read(std::size_t start, std::size_t count) {
  const ElementType& type = job_.datetimes.type;
  in_ = gather(job_.datetimes.elements, type.bytes, start, count, inRoom_);
  if (where_ != nullptr) {
    for (std::size_t i = 0; i < count; ++i)
      if (isLeftOut(i)) writeMissing(type, inRoom_.data() + i * type.bytes);
  }
  datetimes_ = column_.get();
  isReadFast_ = true;
  if (job_.datetimes.isPair) {
    readPairs(start, count);
    return true;
  }
  if (elements_->read(in_, count, highOf(datetimes_), lowOf(datetimes_))) return true;
  isReadFast_ = false;
  return readEach(count);
}

void BlockSetter::readPairs(std::size_t start, std::size_t count) {
  const char* low = gather(job_.datetimes.low, 8, start, count, lowRoom_);
  if (where_ == nullptr && !job_.datetimes.type.isSwapped() && isAligned(in_) && isAligned(low)) {
    each_ = borrowedColumn(count, doublesAt(in_), doublesAt(low));
    datetimes_ = each_.get();
    return;
  }
  for (const auto& [from, to] : {std::pair(in_, highOf(datetimes_)), {low, lowOf(datetimes_)}}) {
    if (job_.datetimes.type.isSwapped()) {
      swapEach(count, from, reinterpret_cast<char*>(to));
    } else {
      std::copy_n(from, count * 8, reinterpret_cast<char*>(to));
    }
  }
  if (where_ == nullptr) return;
  for (std::size_t i = 0; i < count; ++i)
    if (isLeftOut(i)) lowOf(datetimes_)[i] = 0;
}

bool BlockSetter::readEach(std::size_t count) {
  each_ = hostColumn(count, paCOMPLEX);
  datetimes_ = each_.get();
  for (std::size_t i = 0; i < count; ++i) {
    doubledouble datetime{};
    if (const auto complaint = elements_->readOne(element(i), datetime))
      return fails(wrong(*complaint, elements_->text(element(i))));
    highOf(datetimes_)[i] = datetime.hi;
    lowOf(datetimes_)[i] = datetime.lo;
  }
  return true;
}

// Reads and checks the new values of a block.
bool BlockSetter::prepare(BlockValues& values, std::size_t at, const paArray* datetimes,
                          std::size_t start, std::size_t count) {
  const NewValues& given = values.given;
  if (given.forAll) return count == 0 || (isAlone_ && isLeftOut(0)) || areTaken(values, at, 1);
  if (given.areLast) return prepareLast(values, datetimes, count);
  const char* bytes = gather(given.elements, given.type.bytes, start, count, valueRoom_);
  if (where_ != nullptr) {
    for (std::size_t i = 0; i < count; ++i)
      if (isLeftOut(i)) std::memset(valueRoom_.data() + i * given.type.bytes, 0, given.type.bytes);
  }
  values.bytes = bytes;
  if (!values.array || paGetNumberOfElements(values.array.get()) != count)
    values.array = hostColumn(count, paREAL);
  const std::size_t read = readNumbers(given.type, bytes, count, highOf(values.array.get()));
  if (read == count) return areTaken(values, at, count);
  return fails(wrong({"the value is too large for a double to hold exactly", "numbers within 2^53",
                      Status::badData, id::kValueNotExact},
                     numberText(given.type, bytes + read * given.type.bytes), true),
               at);
}

// Whether a calendar takes the values: of some that it does not, the module would make a wrong time.
bool BlockSetter::areTaken(const BlockValues& values, std::size_t at, std::size_t count) {
  constexpr double kAlwaysTaken = 2'000'000;
  if (!job_.hasZone) return true;
  const double* numbers = highOf(values.array.get());
  for (std::size_t i = 0; i < count; ++i) {
    if (!(std::fabs(numbers[i]) > kAlwaysTaken) || std::isinf(numbers[i])) continue;
    if (const auto complaint = refusedByCalendar(values.given.component, numbers[i]))
      return fails(wrong(*complaint, valueText(values, i), true), at);
  }
  return true;
}

bool BlockSetter::prepareLast(BlockValues& values, const paArray* datetimes, std::size_t count) {
  values.array = hostColumn(count, paREAL);
  const double most = zone_->isCalendar() ? kMaxCalendarMillis : kMaxMillis;
  for (std::size_t i = 0; i < count; ++i) {
    const doubledouble datetime = pairAt(datetimes, i);
    // Whatever its value, a datetime out of range is refused, and a missing one stays.
    const bool isDatetime = std::fabs(datetime.hi) <= most;
    highOf(values.array.get())[i] =
        isDatetime ? resolve({true, 0}, values.given.component, datetime, *zone_) : 1.0;
  }
  return true;
}

bool BlockSetter::apply(BlockValues& values, std::size_t at, const paArray* datetimes,
                        std::size_t count) {
  HostArray& into = lent_[isSecondLent_ ? 1 : 0];
  if (!into) into = hostColumn(count, paCOMPLEX);
  isSecondLent_ = !isSecondLent_;
  HostArray next;
  const auto error = job_.module.set(datetimes, values.array.get(), values.selector.get(),
                                     zoneText_.get(), next, into.get());
  if (!error) {
    const HostArray before = std::exchange(result_, std::move(next));
    return settleClocks(values, at, datetimes, count);
  }
  const Wrong refused = refusal(values, *error);
  // An unknown zone or a lack of memory is no element's fault.
  const bool isOfElement = refused.identifier.starts_with("Pelmor:datetime:") &&
                           !refused.identifier.ends_with(id::kUnknownTimeZone);
  return isOfElement ? fails(refused, at) : failsAtOnce(refused, at);
}

// What the module's error means for the first element of the block.
Wrong BlockSetter::refusal(const BlockValues& values, const paError& error) const {
  const auto is = [&](std::string_view known) {
    return std::string_view(error.identifier).ends_with(known);
  };
  if (room_ > 0) {
    if (is(id::kMustBeInteger))
      return wrong({"not a whole number", kAcceptedWhole, Status::badData, id::kMustBeInteger},
                   valueText(values, 0), true);
    if (is(id::kRangeError)) {
      Complaint complaint = complaintOf(error);
      const doubledouble datetime = pairAt(datetimes_, 0);
      if (!(std::fabs(datetime.hi + datetime.lo) <= kMaxCalendarMillis))
        complaint.what = "the datetime is out of range";
      complaint.identifier = id::kRangeError;
      return wrong(complaint, elementText(0));
    }
  }
  return {error.identifier, escapeText(error.message)};
}

std::string BlockSetter::valueText(const BlockValues& values, std::size_t i) const {
  if (values.given.forAll || values.given.areLast) return fmt::format("{}", values.at(i));
  return numberText(values.given.type, values.bytes + i * values.given.type.bytes);
}

bool BlockSetter::agreesWithClock(const paArray* datetimes, std::size_t count) {
  if (zone_ == nullptr) return true;
  Complaint complaint;
  const auto differing = zone_->firstWrong({highOf(datetimes), count}, complaint);
  if (!differing) return true;
  complaint.identifier = id::kOtherClock;
  return fails(wrong(complaint, elementText(*differing)));
}

// Settles wall times that come twice or not at all, as the options say.
bool BlockSetter::settleClocks(const BlockValues& values, std::size_t at, const paArray* before,
                               std::size_t count) {
  if (!settler_ || !settler_->isNeeded()) return true;
  return settler_->forEachNear({highOf(result_.get()), count},
                               [&](std::size_t i) { return settleClock(values, at, before, i); });
}

bool BlockSetter::settleClock(const BlockValues& values, std::size_t at, const paArray* before,
                              std::size_t i) {
  const Setting setting{values.given.component, values.at(i)};
  const doubledouble after = pairAt(result_.get(), i);
  const Settled settled = settler_->settle(setting, pairAt(before, i), after);
  if (settled.kind == Settled::Kind::kept) return true;
  if (settled.kind == Settled::Kind::refused) {
    return fails(
        wrong({checker_->describe(settled.finding, after), {}, Status::badData, id::kRefused}), at);
  }
  highOf(result_.get())[i] = settled.result.hi;
  lowOf(result_.get())[i] = settled.result.lo;
  if (settled.kind != Settled::Kind::edge) return true;
  if (!isAnyAtEdge_) atEdge_.assign(room_, 0);
  isAnyAtEdge_ = true;
  atEdge_[i] = 1;
  return true;
}

// Finds out what became of each element, where findings are asked for or refused.
bool BlockSetter::judge(std::size_t count) {
  if (job_.options.findings == nullptr && job_.options.refused == 0) return true;
  findings_.assign(count, 0);
  std::vector<Setting> asked(values_.size());
  for (std::size_t i = 0; i < count; ++i) {
    const doubledouble before = pairAt(datetimes_, i), after = pairAt(result_.get(), i);
    const double most = zone_->isCalendar() ? kMaxCalendarMillis : kMaxMillis;
    if (!(std::fabs(before.hi) <= most) || !(std::fabs(after.hi) <= most)) continue;
    for (std::size_t s = 0; s < asked.size(); ++s)
      asked[s] = {values_[s].given.component, values_[s].at(i)};
    const Finding finding = checker_->check(before, after, asked);
    unsigned bits = 0;
    if (finding.carried) bits |= plxCARRIED;
    if (finding.noSuchDate) bits |= plxNO_SUCH_DATE;
    if (finding.shifted) bits |= plxSHIFTED;
    if (finding.overlap) bits |= plxTWICE;
    if (finding.moved) bits |= plxMOVED;
    findings_[i] = static_cast<std::uint8_t>(bits);
    if ((bits & job_.options.refused) != 0) {
      return fails(wrong({checker_->describe(finding, after), {}, Status::badData, id::kRefused}));
    }
  }
  return true;
}

DatetimeElements::Results BlockSetter::resultsFrom(std::size_t first, std::size_t count) const {
  return {element(first), highOf(datetimes_) + first, highOf(result_.get()) + first,
          lowOf(result_.get()) + first, count};
}

// Writes the results to the caller's memory; returns how many, up to one that the type cannot hold.
std::size_t BlockSetter::put(std::size_t start, std::size_t count) {
  if (job_.datetimes.isPair) {
    putPairs(start, count);
    return count;
  }
  // In tiles, so that converted results are still in the level-1 cache when they are copied.
  constexpr std::size_t kTileBytes = 4096, kLine = 64;
  alignas(kLine) char room[kTileBytes];
  const std::size_t bytes = job_.datetimes.type.bytes, tile = kTileBytes / bytes;
  // From the second tile on, whole cache lines are written.
  const auto address = reinterpret_cast<std::uintptr_t>(job_.results.elements.data());
  std::size_t now = tile - (start + address % kLine / bytes) % (kLine / bytes), done = 0;
  for (std::size_t first = 0; first < count; first += now, now = tile) {
    now = std::min(now, count - first);
    const std::size_t written = write(first, now, room);
    putTile(start + first, first, written, room);
    done += written;
    if (written < now) break;
  }
  endStreams();
  return done;
}

// Converts results, from element `first` of the block on; returns how many, up to one that the type cannot hold.
std::size_t BlockSetter::write(std::size_t first, std::size_t count, char* out) {
  if (isReadFast_ && !isAnyAtEdge_ && elements_->write(resultsFrom(first, count), out))
    return count;
  if (isAnyAtEdge_ && !elementsWithoutParts_)
    elementsWithoutParts_ = DatetimeElements::of(job_.datetimes.type, false);
  for (std::size_t i = first; i < first + count; ++i, out += job_.datetimes.type.bytes) {
    const doubledouble pair = pairAt(result_.get(), i);
    const DatetimeElements& elements =
        isAnyAtEdge_ && atEdge_[i] != 0 ? *elementsWithoutParts_ : *elements_;
    const auto complaint = elements.writeOne(element(i), pair, slackOf(i), out);
    if (!complaint) continue;
    stop_ = Stop{wrong(*complaint, elements.resultText(element(i), pair)), i, i};
    return i - first;
  }
  return count;
}

// The double nearest to the number that was meant is off by at most 2^-53 of it, and its product with the
// milliseconds of a second by as much again: 2^-52 together.
Slack BlockSetter::slackOf(std::size_t i) const {
  Slack slack{0, !std::isfinite(highOf(datetimes_)[i])};
  for (const BlockValues& values : values_) {
    const double value = values.at(i);
    slack.propagates = slack.propagates || !std::isfinite(value);
    if (std::floor(value) == value || !std::isfinite(value)) continue;
    slack.millis = std::max(slack.millis, std::fabs(value) * (1000 * 0x1p-52));
  }
  return slack;
}

// Copies converted results, from element `first` of the block on, to the caller's memory.
void BlockSetter::putTile(std::size_t start, std::size_t first, std::size_t count,
                          const char* converted) const {
  const std::size_t bytes = job_.datetimes.type.bytes;
  if (where_ == nullptr) return putRun(job_.results.elements, bytes, start, count, converted);
  for (std::size_t i = 0; i < count; ++i)
    if (!isLeftOut(first + i)) job_.results.elements.scatter(start + i, 1, converted + i * bytes);
}

void BlockSetter::putFindings(std::size_t position, std::size_t count) const {
  for (std::size_t i = 0; i < count; ++i) {
    if (isLeftOut(i)) continue;
    job_.findings.scatter(position + i, 1, reinterpret_cast<const char*>(&findings_[i]));
  }
}

void BlockSetter::putRun(const Strided& to, std::size_t bytes, std::size_t start, std::size_t count,
                         const char* from) const {
  if (!to.isContiguous() || job_.results.count * bytes < kPastCachesBytes)
    return to.scatter(start, count, from);
  streamCopy(to.data() + start * bytes, from, count * bytes);
}

void BlockSetter::putPairs(std::size_t start, std::size_t count) {
  for (const auto& [to, from] : {std::pair(&job_.results.elements, highOf(result_.get())),
                                 {&job_.results.low, lowOf(result_.get())}}) {
    const char* bytes = reinterpret_cast<const char*>(from);
    if (job_.results.type.isSwapped()) {
      swappedRoom_.resize(count * 8);
      swapEach(count, bytes, swappedRoom_.data());
      bytes = swappedRoom_.data();
    }
    if (where_ == nullptr) {
      putRun(*to, 8, start, count, bytes);
      continue;
    }
    for (std::size_t i = 0; i < count; ++i)
      if (!isLeftOut(i)) to->scatter(start + i, 1, bytes + 8 * i);
  }
  endStreams();
}

void BlockSetter::takeNotes(std::size_t count) {
  if (job_.options.notes == nullptr || (notes_ & plxPAST_LEAP_TABLE) != 0) return;
  if (!job_.countsLeapSeconds) return;
  // What is left out is missing here, and so past no table.
  for (std::size_t i = 0; i < count; ++i)
    if (pastLeapTable(pairAt(result_.get(), i))) notes_ |= plxPAST_LEAP_TABLE;
}

std::string BlockSetter::elementText(std::size_t i) const {
  if (job_.datetimes.isPair) return pairText(pairAt(datetimes_, i));
  return elements_->text(element(i));
}

}  // namespace plx
