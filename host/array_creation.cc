// Making arrays. Null, or inside a module call the host's error, is what a refusal comes to.
#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "array.h"
#include "block_pool.h"
#include "host/embed.h"
#include "host_error.h"
#include "running_call.h"

namespace host {
namespace {

// Null where the size overflows or the memory cannot be had. A block of no elements is a block too,
// so that the data pointers of empty arrays are not null.
template <class T>
Block<T> allocate(std::size_t count) {
  constexpr std::size_t kMostBytes = std::numeric_limits<std::ptrdiff_t>::max() - kBlockAlignment;
  if (count > kMostBytes / sizeof(T)) return nullptr;
  const RawBlock block = takeBlock(count * sizeof(T));
  return Block<T>(static_cast<T*>(block.data), GiveBack{block.bytes});
}

// The product of the extents; false where it overflows. One extent of zero makes it zero, whatever
// the others are.
bool countElements(std::size_t ndim, const std::size_t* dims, std::size_t& count) {
  for (std::size_t i = 0; i < ndim; ++i) {
    if (dims[i] == 0) {
      count = 0;
      return true;
    }
  }
  count = 1;
  for (std::size_t i = 0; i < ndim; ++i)
    if (__builtin_mul_overflow(count, dims[i], &count)) return false;
  return true;
}

// "an array of 2-by-3 elements"
std::string describeSize(std::size_t ndim, const std::size_t* dims) {
  constexpr std::size_t kListed = 8;
  if (ndim > kListed) return "an array of " + std::to_string(ndim) + " dimensions";
  std::string size = "an array of " + std::to_string(dims[0]);
  for (std::size_t i = 1; i < ndim; ++i) size += "-by-" + std::to_string(dims[i]);
  return size + " elements";
}

paArray* refuse(const char* function, const char* accepted) {
  if (insideCall()) raise(invalidArgument(function, accepted));
  return nullptr;
}

paArray* noMemory(std::size_t ndim, const std::size_t* dims) {
  if (insideCall()) raise(outOfMemory(describeSize(ndim, dims)));
  return nullptr;
}

using ArrayOwner = std::unique_ptr<paArray>;

// Somebody else's, or in the body of the array.
template <class T>
Block<T> borrowed(T* block) {
  return Block<T>(block, GiveBack{0, true});
}

// An array without data blocks; null where the product of the extents overflows or memory is short.
ArrayOwner makeBody(std::size_t ndim, const std::size_t* dims, paClassID classId, bool complex) {
  std::size_t count = 0;
  if (!countElements(ndim, dims, count)) return nullptr;
  ArrayOwner array(new (std::nothrow) paArray);
  if (!array) return nullptr;
  array->classId = classId;
  array->complex = complex;
  array->dimensionCount = ndim;
  array->elementCount = count;
  array->dimensions = ndim <= SmallBlocks::kDimensions ? borrowed(array->small.dimensions())
                                                       : allocate<std::size_t>(ndim);
  if (!array->dimensions) return nullptr;
  std::memcpy(array->dimensions.get(), dims, ndim * sizeof(std::size_t));
  return array;
}

// A block of the array's elements: `room` in its body where that is enough, else memory of its own.
template <class T>
Block<T> blockOf(const paArray& array, void* room) {
  if (kKeepsBlocks && array.elementCount <= SmallBlocks::kBytes / sizeof(T))
    return borrowed(static_cast<T*>(room));
  return allocate<T>(array.elementCount);
}

const char* findFault(std::size_t ndim, const std::size_t* dims) {
  if (!dims) return "dimensions that are not null";
  if (ndim < 2) return "at least two dimensions";
  return nullptr;
}

const char* findFault(paClassID classId, paComplexity complexity) {
  if (classId != paDOUBLE_CLASS) return "the class paDOUBLE_CLASS";
  if (complexity != paREAL && complexity != paCOMPLEX) return "paREAL or paCOMPLEX";
  return nullptr;
}

// Whether the blocks that the running call lends are those of such an array.
bool isLent(const paArray& array) {
  const RunningCall* call = RunningCall::current();
  const paArray* lent = call ? call->lent() : nullptr;
  return lent && lent->real && lent->complex == array.complex &&
         lent->dimensionCount == array.dimensionCount &&
         std::equal(lent->dimensions.get(), lent->dimensions.get() + lent->dimensionCount,
                    array.dimensions.get());
}

paArray* createNumeric(const char* function, std::size_t ndim, const std::size_t* dims,
                       paClassID classId, paComplexity complexity, bool zeroed) {
  const char* fault = findFault(ndim, dims);
  if (!fault) fault = findFault(classId, complexity);
  if (fault) return refuse(function, fault);
  ArrayOwner array = makeBody(ndim, dims, classId, complexity == paCOMPLEX);
  if (!array) return noMemory(ndim, dims);
  if (isLent(*array)) {
    const paArray* lent = RunningCall::current()->takeLent();
    array->real = borrowed(lent->real.get());
    if (array->complex) array->imaginary = borrowed(lent->imaginary.get());
  } else {
    array->real = blockOf<double>(*array, array->small.first());
    if (array->complex) array->imaginary = blockOf<double>(*array, array->small.second());
  }
  if (!array->real || (array->complex && !array->imaginary)) {
    array.reset();  // the memory there is may be needed to report the error
    return noMemory(ndim, dims);
  }
  if (zeroed) {
    const std::size_t bytes = array->elementCount * sizeof(double);
    std::memset(array->real.get(), 0, bytes);
    if (array->complex) std::memset(array->imaginary.get(), 0, bytes);
  }
  return array.release();
}

}  // namespace
}  // namespace host

paArray* paCreateNumericArray(size_t ndim, const size_t* dims, paClassID classId,
                              paComplexity complexity) {
  return host::createNumeric(__func__, ndim, dims, classId, complexity, true);
}

paArray* paCreateUninitNumericArray(size_t ndim, const size_t* dims, paClassID classId,
                                    paComplexity complexity) {
  return host::createNumeric(__func__, ndim, dims, classId, complexity, false);
}

paArray* paBorrowNumericArray(size_t ndim, const size_t* dims, double* real, double* imaginary) {
  const char* fault = host::findFault(ndim, dims);
  if (!fault && !real) fault = "a block of real parts that is not null";
  if (fault) return host::refuse(__func__, fault);
  host::ArrayOwner array = host::makeBody(ndim, dims, paDOUBLE_CLASS, imaginary != nullptr);
  if (!array) return host::noMemory(ndim, dims);
  array->real = host::borrowed(real);
  if (imaginary) array->imaginary = host::borrowed(imaginary);
  return array.release();
}

paArray* paCreateCharArray(size_t ndim, const size_t* dims, const uint16_t* units) {
  if (const char* fault = host::findFault(ndim, dims)) return host::refuse(__func__, fault);
  host::ArrayOwner array = host::makeBody(ndim, dims, paCHAR_CLASS, false);
  if (!array) return host::noMemory(ndim, dims);
  if (!units && array->elementCount > 0) {
    array.reset();
    return host::refuse(__func__, "code units that are not null, unless the array is empty");
  }
  array->units = host::blockOf<std::uint16_t>(*array, array->small.first());
  if (!array->units) {
    array.reset();
    return host::noMemory(ndim, dims);
  }
  if (units) std::memcpy(array->units.get(), units, array->elementCount * sizeof(std::uint16_t));
  return array.release();
}

paArray* paCreateSparseArray(size_t rows, size_t columns, paClassID classId,
                             paComplexity complexity) {
  if (const char* fault = host::findFault(classId, complexity))
    return host::refuse(__func__, fault);
  const std::size_t dims[] = {rows, columns};
  host::ArrayOwner array = host::makeBody(2, dims, classId, complexity == paCOMPLEX);
  if (!array) return host::noMemory(2, dims);
  array->sparse = true;
  return array.release();
}

void paDestroyArray(paArray* array) { delete array; }

size_t paReleaseMemory(void) { return host::releaseKeptBlocks(); }
