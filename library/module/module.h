// The module, loaded by the host, and its one call.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "arith/doubledouble.h"
#include "host/embed.h"

namespace plx {

// Datetimes in two blocks, as arrays of the host hold them.
struct Datetimes {
  std::vector<double> hi, lo;

  std::size_t size() const { return hi.size(); }
  doubledouble at(std::size_t i) const { return {hi[i], lo[i]}; }
  void replace(std::size_t i, const doubledouble& x) {
    hi[i] = x.hi;
    lo[i] = x.lo;
  }
  void push(const doubledouble& x) {
    hi.push_back(x.hi);
    lo.push_back(x.lo);
  }
  void clear() {
    hi.clear();
    lo.clear();
  }
};

// Arrays of the host.
struct DestroyHostArray {
  void operator()(paArray* array) const { paDestroyArray(array); }
};
using HostArray = std::unique_ptr<paArray, DestroyHostArray>;

// A column of `count` numbers, not filled. Throws a Failure where memory runs out, as do the others.
HostArray hostColumn(std::size_t count, paComplexity complexity);
HostArray hostNumber(double number);
// A column of somebody else's numbers, which stay theirs; without low parts where those are null.
HostArray borrowedColumn(std::size_t count, double* high, double* low);
HostArray hostText(std::string_view utf8);

class Module {
 public:
  // Throws a Failure of Status::inputOutput.
  explicit Module(const std::string& path);

  // Sets the component of that selector in datetimes of `hi` and `lo`, in place; one value each, in a
  // zone whose text the module reads. The module's error where it reports one; the datetimes are
  // then as they were. Throws a Failure where memory runs out, or the module gives back what no
  // datetime module does.
  std::optional<paError> set(std::span<double> hi, std::span<double> lo,
                             std::span<const double> values, int selector,
                             std::string_view zone) const;

  std::optional<paError> set(Datetimes& datetimes, const std::vector<double>& values, int selector,
                             std::string_view zone) const {
    return set(datetimes.hi, datetimes.lo, values, selector, zone);
  }

  // The same with arrays as the module takes them, one value for all or one each. `result` may hold
  // what becomes of the error, too; it stands in the blocks of `into` where that is not null.
  std::optional<paError> set(const paArray* datetimes, const paArray* values,
                             const paArray* selector, const paArray* zone, HostArray& result,
                             paArray* into = nullptr) const;

  const std::string& path() const { return path_; }

 private:
  struct Unload {
    void operator()(paModule* module) const { paUnloadModule(module); }
  };
  std::string path_;
  std::unique_ptr<paModule, Unload> module_;
};

// Where the module is: the path that was asked for, else beside the program, else where an
// installation keeps it.
std::string locateModule(const std::optional<std::string>& asked);

}  // namespace plx
