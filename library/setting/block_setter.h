// Sets the elements of a call block by block, for one thread.
//
// A block is gathered, converted, set by the module, converted back and only then written to the caller's
// memory: so what follows a wrong element stays as it is. A wrong element is found by bisection: the halves
// of its block are set each on their own, until that element is alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "elements/elements.h"
#include "inspect/check.h"
#include "module/module.h"
#include "setting/clock_settler.h"
#include "setting/job.h"

namespace plx {

class BlockSetter : public BlockWorker {
 public:
  // The job outlives the setter. Throws a Wrong where the zone cannot be read.
  explicit BlockSetter(const SetJob& job);

  std::optional<Stop> work(std::size_t start, std::size_t count) override;
  unsigned notes() const override { return notes_; }

 private:
  // The new values of one setting, for the block that is being set.
  struct BlockValues {
    const NewValues& given;
    HostArray selector;
    HostArray array;              // the values of the block, or the one value for all
    const char* bytes = nullptr;  // the values of the block as the caller's bytes
    double at(std::size_t i) const {
      const paArray* numbers = array.get();
      return paGetRealData(numbers)[paIsScalar(numbers) ? 0 : i];
    }
  };

  bool trySet(std::size_t start, std::size_t count);
  bool fails(Wrong wrong, std::size_t setting = 0);
  bool failsAtOnce(Wrong wrong, std::size_t setting = 0);
  void makeRoom(std::size_t count);
  const char* gather(const Strided& from, std::size_t bytes, std::size_t start, std::size_t count,
                     std::vector<char>& room) const;
  bool read(std::size_t start, std::size_t count);
  void readPairs(std::size_t start, std::size_t count);
  bool readEach(std::size_t count);
  bool prepare(BlockValues& values, std::size_t at, const paArray* datetimes, std::size_t start,
               std::size_t count);
  bool areTaken(const BlockValues& values, std::size_t at, std::size_t count);
  bool prepareLast(BlockValues& values, const paArray* datetimes, std::size_t count);
  std::string valueText(const BlockValues& values, std::size_t i) const;
  Wrong refusal(const BlockValues& values, const paError& error) const;
  bool apply(BlockValues& values, std::size_t at, const paArray* datetimes, std::size_t count);
  bool agreesWithClock(const paArray* datetimes, std::size_t count);
  bool settleClocks(const BlockValues& values, std::size_t at, const paArray* before,
                    std::size_t count);
  bool settleClock(const BlockValues& values, std::size_t at, const paArray* before, std::size_t i);
  bool judge(std::size_t count);
  std::size_t put(std::size_t start, std::size_t count);
  std::size_t write(std::size_t first, std::size_t count, char* out);
  void putTile(std::size_t start, std::size_t first, std::size_t count,
               const char* converted) const;
  void putFindings(std::size_t position, std::size_t count) const;
  void putRun(const Strided& to, std::size_t bytes, std::size_t start, std::size_t count,
              const char* from) const;
  void putPairs(std::size_t start, std::size_t count);
  void takeNotes(std::size_t count);
  Slack slackOf(std::size_t i) const;
  bool isLeftOut(std::size_t i) const { return where_ != nullptr && where_[i] == 0; }
  DatetimeElements::Results resultsFrom(std::size_t first, std::size_t count) const;
  const char* element(std::size_t i) const { return in_ + i * job_.datetimes.type.bytes; }
  std::string elementText(std::size_t i) const;

  const SetJob& job_;
  std::optional<Zone> ownZone_;
  const Zone* zone_ = nullptr;
  std::optional<Checker> checker_;  // where there is a zone_, as is settler_
  std::optional<ClockSettler> settler_;
  HostArray zoneText_;
  std::vector<BlockValues> values_;  // of each setting
  // Null for pairs. elementsWithoutParts_ writes results that are a whole second at a gap's edge.
  std::unique_ptr<DatetimeElements> elements_, elementsWithoutParts_;

  // The block that is being set.
  std::size_t room_ = 0;
  const char* in_ = nullptr;
  bool isReadFast_ = true;
  HostArray column_;                    // of the block's size, for datetimes read by the fast path
  HostArray each_;                      // the same with low parts, for datetimes read one by one
  const paArray* datetimes_ = nullptr;  // column_ or each_
  // Two blocks for results, lent to the module in turn: what one setting gives, the next one takes.
  HostArray lent_[2];
  bool isSecondLent_ = false;
  HostArray result_;  // in one of the two
  std::vector<char> inRoom_, lowRoom_, valueRoom_, swappedRoom_, whereRoom_;
  const char* where_ = nullptr;
  std::vector<char> atEdge_;  // elements whose result is a gap's edge
  bool isAnyAtEdge_ = false;
  std::vector<std::uint8_t> findings_;

  std::optional<Stop> stop_;
  bool isAlone_ = false;  // the block has one element, so a fault is reported
  unsigned notes_ = 0;
};

}  // namespace plx
