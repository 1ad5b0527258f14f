#include "module_handles.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

namespace host {
namespace {

// A handle's bits: the lowest is 1, so that no pointer to an object is taken for one; then the
// place; then which turn of the place it is.
constexpr unsigned kPlaceBits = 20;
constexpr std::uintptr_t kLastTurn = std::numeric_limits<std::uintptr_t>::max() >> (kPlaceBits + 1);

struct Place {
  std::atomic<std::uintptr_t> turn = 0;  // odd while a handle is out; each has a turn of its own
  std::atomic<void*> library = nullptr;
  std::atomic<decltype(&plxFunction)> function = nullptr;
};

// Rows of places, each twice as long as the one before, made when they are needed and never freed:
// a handle may be asked about at any time.
constexpr std::size_t kFirstRow = 64;
constexpr std::size_t kRows = 14;
constexpr std::size_t lengthOf(std::size_t row) { return kFirstRow << row; }
static_assert(kFirstRow * ((std::size_t{1} << kRows) - 1) <= std::size_t{1} << kPlaceBits);
constinit std::array<std::atomic<Place*>, kRows> rows{};

Place* makeRow(std::size_t row) {
  std::unique_ptr<Place[]> made(new Place[lengthOf(row)]);
  Place* first = nullptr;
  // Where another thread was faster, its row stays and this one goes.
  return rows[row].compare_exchange_strong(first, made.get()) ? made.release() : first;
}

// Null where there is no such place.
Place* placeOf(std::size_t number) {
  for (std::size_t row = 0; row < kRows; ++row) {
    if (number < lengthOf(row)) {
      Place* const places = rows[row].load();
      return places ? places + number : nullptr;
    }
    number -= lengthOf(row);
  }
  return nullptr;
}

struct Handle {
  Place* place = nullptr;  // null: it is none
  std::uintptr_t turn = 0;
};

Handle read(const paModule* handle) {
  const auto bits = reinterpret_cast<std::uintptr_t>(handle);
  if (bits % 2 == 0) return {};
  const std::uintptr_t number = (bits >> 1) % (std::uintptr_t{1} << kPlaceBits);
  const std::uintptr_t turn = bits >> (kPlaceBits + 1);
  if (turn % 2 == 0) return {};  // of no handle that was ever given
  return {placeOf(number), turn};
}

paModule* write(std::size_t number, std::uintptr_t turn) {
  return reinterpret_cast<paModule*>(turn << (kPlaceBits + 1) | std::uintptr_t{number} << 1 | 1);
}

// Whether the place was free and now is not; its turn then. After its last turn it is never free.
bool claim(Place& place, std::uintptr_t& turn) {
  turn = place.turn.load();
  if (turn % 2 != 0 || turn >= kLastTurn) return false;
  return place.turn.compare_exchange_strong(turn, turn + 1) ? ++turn, true : false;
}

}  // namespace

paModule* addHandle(const LoadedModule& module) {
  std::size_t number = 0;
  for (std::size_t row = 0; row < kRows; ++row) {
    Place* places = rows[row].load();
    if (!places) places = makeRow(row);
    for (std::size_t i = 0; i < lengthOf(row); ++i, ++number) {
      std::uintptr_t turn = 0;
      if (!claim(places[i], turn)) continue;
      places[i].library.store(module.library);
      places[i].function.store(module.function);
      return write(number, turn);
    }
  }
  throw std::bad_alloc();
}

decltype(&plxFunction) functionOf(const paModule* handle) {
  const auto [place, turn] = read(handle);
  if (!place) return nullptr;
  const auto function = place->function.load();
  // Asked second: had another handle come meanwhile, the turn would have passed.
  return place->turn.load() == turn ? function : nullptr;
}

void* removeHandle(const paModule* handle) {
  auto [place, turn] = read(handle);
  if (!place) return nullptr;
  void* const library = place->library.load();
  return place->turn.compare_exchange_strong(turn, turn + 1) ? library : nullptr;
}

}  // namespace host
