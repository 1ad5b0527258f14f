// Prints how many results of the arithmetic it computed, and a hash of all their bits.
//
//     results_digest             of inputs drawn at random, with a fixed seed
//     results_digest --inputs    writes these inputs to the standard output instead
//     results_digest FILE        of the inputs in a file: the standard library of a 32-bit machine draws others

#include <cstdio>
#include <cstring>
#include <vector>

#include "arith/civil.h"
#include "arith/remainder.h"
#include "support/random.h"
#include "unzoned/components.h"
#include "unzoned/leap_seconds.h"

namespace {

// FNV-1a over 64-bit words.
class Digest {
 public:
  void add(double x) {
    // The payload of a NaN is open.
    const auto bits = std::bit_cast<std::uint64_t>(x == x ? x : kNan);
    hash_ = (hash_ ^ bits) * 0x100000001b3;
    ++count_;
  }
  void add(const doubledouble& x) {
    add(x.hi);
    add(x.lo);
  }
  void print() const {
    std::printf("%llu results, hash %016llx\n", static_cast<unsigned long long>(count_),
                static_cast<unsigned long long>(hash_));
  }

 private:
  std::uint64_t hash_ = 0xcbf29ce484222325, count_ = 0;
};

doubledouble randomTime(Random& random) {
  const double hi = random.oneIn(3)
                        ? random.ofExponent(-20, 80)
                        : static_cast<double>(random.whole(-4000000000000, 5000000000000));
  return random.oneIn(3) ? doubledouble{hi, 0.0}
                         : quick_two_sum(hi, hi * random.real(-0x1p-54, 0x1p-54));
}

// Usual values, fractions, and whole numbers so large that sums with them round.
double randomValue(Random& random) {
  if (random.oneIn(2)) return static_cast<double>(random.whole(-100, 3000));
  if (random.oneIn(2)) return random.real(-1e6, 1e6);
  return std::floor(random.ofExponent(45, 60));
}

struct Case {
  doubledouble t;
  double v;
};

std::vector<Case> randomCases() {
  std::vector<Case> cases;
  Random random(1);
  for (int i = 0; i < 40000; ++i) {
    const doubledouble t = randomTime(random);
    cases.push_back({t, randomValue(random)});
  }
  return cases;
}

std::vector<Case> casesIn(const char* path) {
  std::vector<Case> cases;
  std::FILE* const file = std::fopen(path, "rb");
  for (Case c; file && std::fread(&c, sizeof c, 1, file) == 1;) cases.push_back(c);
  if (file) std::fclose(file);
  return cases;
}

}  // namespace

int main(int argc, char** argv) {
  const bool writes = argc > 1 && std::strcmp(argv[1], "--inputs") == 0;
  const std::vector<Case> cases = argc > 1 && !writes ? casesIn(argv[1]) : randomCases();
  if (writes) return std::fwrite(cases.data(), sizeof(Case), cases.size(), stdout) != cases.size();
  Digest digest;
  constexpr DayAndTime (*kSetters[])(DayAndTime, double) = {
      setYear,      setQuarter, setMonth,  setWeekOfYear, setDayOfMonth, setDayOfYear,
      setDayOfWeek, setHour,    setMinute, setSecond,     setTimeOfDay,  setNothing};
  for (const auto& [t, v] : cases) {
    for (const auto setter : kSetters) digest.add(putTogether(setter(takeApart(t), v)));
    digest.add(elapsedToUTC(t));
    digest.add(utcToElapsed(t));
    digest.add(two_prod(t.hi, v));
    digest.add(dd::divide(t, v));
    digest.add(dd::multiply(t, v));
    digest.add(vmk_scalar::detail::vmkFdlibm_mod(t.hi, v));
    digest.add(ymd2days(v, v / 3, t.hi));
  }
  digest.print();
}
