// The order of the exceptions' virtual functions, which modules and the host must agree on.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>

#include "host/exception.h"
#include "host/message_keys.h"

namespace {

using boost::exception_detail::clone_base;
using brel::except::BaseMsgID;
using brel::except::IException;
using brel::except::IMsgIDException;
using brel::except::IUserException;
using brel::except::ustring;

// The slot of a virtual function. In the Itanium C++ ABI, which is that of every system with this
// kind of shared library, a pointer to one holds 1 plus the slot's offset in the table.
template <class Function>
std::size_t slot(Function function) {
  static_assert(sizeof function == 2 * sizeof(std::ptrdiff_t));
  std::ptrdiff_t parts[2];
  std::memcpy(parts, &function, sizeof parts);
  EXPECT_EQ(parts[0] % 2, 1) << "not a virtual function";
  EXPECT_EQ(parts[1], 0) << "not of the primary table";
  return static_cast<std::size_t>(parts[0] - 1) / sizeof(void*);
}

TEST(VirtualTable, SlotsAreInTheAgreedOrder) {
  EXPECT_EQ(slot(&clone_base::clone), 0u);
  EXPECT_EQ(slot(&clone_base::rethrow), 1u);
  // 2 and 3 are the destructors, below.
  EXPECT_EQ(slot(&IException::what), 4u);
  EXPECT_EQ(
      slot<std::string (IUserException::*)(const ustring&) const>(&IUserException::convert_str),
      5u);
  EXPECT_EQ(
      slot<ustring (IUserException::*)(const std::string&) const>(&IUserException::convert_str),
      6u);
  EXPECT_EQ(slot(&IUserException::ToUstringImpl), 7u);
  EXPECT_EQ(slot(&IMsgIDException::GetID), 8u);
  EXPECT_EQ(slot(&IMsgIDException::GetUnicodeMessageTxt), 9u);
  EXPECT_EQ(slot(&IMsgIDException::GetBaseMsgIDObj), 10u);
}

// Counts how many of it there are.
struct CountedKey : BaseMsgID {
  static inline int alive = 0;
  CountedKey() : BaseMsgID("Pelmor:test", "Counted") { ++alive; }
  CountedKey(const CountedKey& other) : BaseMsgID(other) { ++alive; }
  ~CountedKey() override { --alive; }
};
using CountedError = brel::except::Exception<CountedKey, std::exception, void>;

using Destructor = void (*)(void*);

Destructor entry(void* object, std::size_t index) {
  void** table;
  std::memcpy(&table, object, sizeof table);
  Destructor function;
  std::memcpy(&function, &table[index], sizeof function);
  return function;
}

TEST(VirtualTable, SlotTwoDestroysAndSlotThreeDeletes) {
  ASSERT_EQ(CountedKey::alive, 0);
  alignas(CountedError) unsigned char place[sizeof(CountedError)];
  void* inPlace = new (place) CountedError(CountedKey());
  EXPECT_EQ(CountedKey::alive, 1);
  entry(inPlace, 2)(inPlace);
  EXPECT_EQ(CountedKey::alive, 0);

  void* onHeap = new CountedError(CountedKey());
  EXPECT_EQ(CountedKey::alive, 1);
  entry(onHeap, 3)(onHeap);  // a leak, or a second deletion, would end the test under sanitizers
  EXPECT_EQ(CountedKey::alive, 0);
}

TEST(VirtualTable, TheStandardExceptionComesAfterTheHostsPart) {
  const CountedError error{CountedKey()};
  const auto* start = reinterpret_cast<const char*>(&error);
  const auto* host = reinterpret_cast<const char*>(static_cast<const IMsgIDException*>(&error));
  const auto* standard = reinterpret_cast<const char*>(static_cast<const std::exception*>(&error));
  EXPECT_EQ(host, start) << "the host's table is the primary one";
  EXPECT_GT(standard, host);
  EXPECT_EQ(static_cast<const std::exception&>(error).what(), error.what());
}

}  // namespace
