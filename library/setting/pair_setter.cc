#include "setting/pair_setter.h"

#include <cmath>
#include <cstdint>
#include <utility>

namespace plx {

namespace {

constexpr std::size_t kLine = 64;  // bytes

std::uintptr_t addressOf(const Strided& elements) {
  return reinterpret_cast<std::uintptr_t>(elements.data());
}

bool isColumn(const Strided& elements) {
  return elements.isContiguous() && addressOf(elements) % sizeof(double) == 0;
}

bool areApart(const Strided& a, const Strided& b, std::size_t count) {
  const std::uintptr_t x = addressOf(a), y = addressOf(b);
  return (x < y ? y - x : x - y) >= count * sizeof(double);
}

double* from(const Strided& elements, std::size_t start) {
  return reinterpret_cast<double*>(elements.data()) + start;
}

}  // namespace

bool PairSetter::takes(const SetJob& job) {
  const DatetimeArray& in = job.datetimes;
  const DatetimeArray& out = job.results;
  if (!in.isPair || in.type.isSwapped() || job.hasZone || job.needsZone || job.settings.size() != 1)
    return false;
  const NewValues& values = job.settings.front();
  if (!values.forAll || job.options.where != nullptr || job.options.notes != nullptr) return false;
  if (!factsOf(values.component).takesFractions && std::floor(*values.forAll) != *values.forAll)
    return false;
  for (const Strided* elements : {&in.elements, &in.low, &out.elements, &out.low})
    if (!isColumn(*elements)) return false;
  for (const Strided* result : {&out.elements, &out.low})
    for (const Strided* input : {&in.elements, &in.low})
      if (!areApart(*result, *input, in.count)) return false;
  return areApart(out.elements, out.low, in.count);
}

PairSetter::PairSetter(const SetJob& job)
    : job_(job),
      value_(hostNumber(*job.settings.front().forAll)),
      selector_(hostNumber(factsOf(job.settings.front().component).selector)),
      zone_(hostText(job.zoneText)) {}

// Results that begin with a cache line: for these the module uses non-temporal stores.
std::optional<Stop> PairSetter::work(std::size_t start, std::size_t count) {
  const auto address = reinterpret_cast<std::uintptr_t>(from(job_.results.elements, start));
  const std::size_t head = (kLine - address % kLine) % kLine / sizeof(double);
  if (head == 0 || head >= count) return set(start, count);
  if (auto stop = set(start, head)) return stop;
  return set(start + head, count - head);
}

std::optional<Stop> PairSetter::set(std::size_t start, std::size_t count) {
  const HostArray datetimes =
      borrowedColumn(count, from(job_.datetimes.elements, start), from(job_.datetimes.low, start));
  const HostArray into =
      borrowedColumn(count, from(job_.results.elements, start), from(job_.results.low, start));
  HostArray result;
  const auto error = job_.module.set(datetimes.get(), value_.get(), selector_.get(), zone_.get(),
                                     result, into.get());
  if (!error) return std::nullopt;
  return Stop{{error->identifier, escapeText(error->message)}, PLX_NO_INDEX, start};
}

}  // namespace plx
