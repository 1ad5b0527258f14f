// Arrays: what they hold, how they are laid out, and what is refused.
#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

#include "host/support.h"
#include "support/cases.h"

namespace {

using Dims = std::vector<std::size_t>;

std::vector<std::size_t> dimsOf(const paArray* array) {
  const std::size_t* dims = paGetDimensions(array);
  return Dims(dims, dims + paGetNumberOfDimensions(array));
}

const struct {
  Dims dims;
  std::size_t count;
  const char* why;
} kShapes[] = {
    {{1, 1}, 1, "a scalar"},
    {{2, 3}, 6, "a matrix"},
    {{0, 0}, 0, "the smallest empty array"},
    {{1, 0}, 0, "an empty row is not 0-by-0"},
    {{3, 1, 1}, 3, "trailing extents of 1 are kept"},
    {{2, 3, 4, 5}, 120, "more dimensions"},
    {{1, 1, 1}, 1, "a scalar of three dimensions"},
    {{0, SIZE_MAX, SIZE_MAX}, 0, "an extent of zero, whatever comes after it"},
    {{SIZE_MAX, SIZE_MAX, 0}, 0, "an extent of zero, whatever comes before it"},
    {{1000, 1001}, 1001000, "more than a page"},
};

TEST(Arrays, NumericArraysAreZeroFilledAndAligned) {
  Cases cases(20);
  for (const auto& shape : kShapes) {
    for (const paComplexity complexity : {paREAL, paCOMPLEX}) {
      const ArrayPtr array(
          paCreateNumericArray(shape.dims.size(), shape.dims.data(), paDOUBLE_CLASS, complexity));
      ASSERT_TRUE(array) << shape.why;
      const bool complex = complexity == paCOMPLEX;
      EXPECT_EQ(dimsOf(array.get()), shape.dims) << shape.why;
      EXPECT_EQ(paGetNumberOfElements(array.get()), shape.count) << shape.why;
      EXPECT_EQ(paIsScalar(array.get()), shape.count == 1) << shape.why;
      EXPECT_EQ(paIsEmpty(array.get()), shape.count == 0) << shape.why;
      EXPECT_EQ(paGetClassID(array.get()), paDOUBLE_CLASS);
      EXPECT_EQ(paIsComplex(array.get()), complex);
      EXPECT_FALSE(paIsSparse(array.get()));
      EXPECT_EQ(paGetScalar(array.get()), 0.0);
      for (double* block : {paGetRealData(array.get()), paGetImagData(array.get())}) {
        if (block == paGetImagData(array.get()) && !complex) {
          EXPECT_EQ(block, nullptr) << "a real array has no imaginary part";
          continue;
        }
        ASSERT_NE(block, nullptr) << shape.why;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0u) << shape.why;
        EXPECT_EQ(std::accumulate(block, block + shape.count, 0.0), 0.0) << shape.why;
      }
      ++cases;
    }
  }
}

TEST(Arrays, UninitialisedArraysCanBeWrittenWhole) {
  for (const auto& shape : kShapes) {
    const ArrayPtr array(paCreateUninitNumericArray(shape.dims.size(), shape.dims.data(),
                                                    paDOUBLE_CLASS, paCOMPLEX));
    ASSERT_TRUE(array) << shape.why;
    EXPECT_EQ(dimsOf(array.get()), shape.dims) << shape.why;
    double* real = paGetRealData(array.get());
    double* imaginary = paGetImagData(array.get());
    ASSERT_NE(real, imaginary) << "two separate blocks";
    std::fill_n(real, shape.count, 1.5);
    std::fill_n(imaginary, shape.count, -2.5);
    EXPECT_EQ(std::accumulate(real, real + shape.count, 0.0),
              1.5 * static_cast<double>(shape.count));
    EXPECT_EQ(paGetScalar(array.get()), shape.count > 0 ? 1.5 : 0.0) << "the real part alone";
  }
}

TEST(Arrays, DimensionsAreCopied) {
  Dims dims = {2, 3};
  const ArrayPtr array(paCreateNumericArray(2, dims.data(), paDOUBLE_CLASS, paREAL));
  dims = {7, 8};
  EXPECT_EQ(dimsOf(array.get()), (Dims{2, 3}));
}

TEST(Arrays, CharArraysHaveNoNumbers) {
  const ArrayPtr array = text("Europe/Paris");
  EXPECT_EQ(paGetClassID(array.get()), paCHAR_CLASS);
  EXPECT_EQ(paGetNumberOfElements(array.get()), 12u);
  EXPECT_EQ(paGetRealData(array.get()), nullptr);
  EXPECT_EQ(paGetImagData(array.get()), nullptr);
  EXPECT_EQ(paGetScalar(text("7").get()), 0.0);
  EXPECT_FALSE(paIsComplex(array.get()));
  EXPECT_TRUE(paIsScalar(text("7").get()));
}

TEST(Arrays, SparseArraysCanOnlyBeAskedAbout) {
  const ArrayPtr array(paCreateSparseArray(3, 4, paDOUBLE_CLASS, paCOMPLEX));
  EXPECT_TRUE(paIsSparse(array.get()));
  EXPECT_TRUE(paIsComplex(array.get()));
  EXPECT_EQ(paGetClassID(array.get()), paDOUBLE_CLASS);
  EXPECT_EQ(paGetNumberOfElements(array.get()), 12u);
  EXPECT_EQ(dimsOf(array.get()), (Dims{3, 4}));
  EXPECT_EQ(paGetRealData(array.get()), nullptr);
  EXPECT_EQ(paGetImagData(array.get()), nullptr);
  const ArrayPtr single(paCreateSparseArray(1, 1, paDOUBLE_CLASS, paREAL));
  EXPECT_TRUE(paIsScalar(single.get()));
  EXPECT_EQ(paGetScalar(single.get()), 0.0);
}

TEST(Arrays, QueriesAcceptNull) {
  EXPECT_EQ(static_cast<int>(paGetClassID(nullptr)), 0);
  EXPECT_FALSE(paIsSparse(nullptr));
  EXPECT_FALSE(paIsComplex(nullptr));
  EXPECT_FALSE(paIsScalar(nullptr));
  EXPECT_FALSE(paIsEmpty(nullptr));
  EXPECT_EQ(paGetScalar(nullptr), 0.0);
  EXPECT_EQ(paGetNumberOfElements(nullptr), 0u);
  EXPECT_EQ(paGetNumberOfDimensions(nullptr), 0u);
  EXPECT_EQ(paGetDimensions(nullptr), nullptr);
  EXPECT_EQ(paGetRealData(nullptr), nullptr);
  EXPECT_EQ(paGetImagData(nullptr), nullptr);
  paDestroyArray(nullptr);
}

TEST(Arrays, RefusedArgumentsGiveNull) {
  const std::size_t dims[] = {2, 2};
  const auto otherClass = static_cast<paClassID>(5);
  const auto otherComplexity = static_cast<paComplexity>(2);
  for (const auto create : {paCreateNumericArray, paCreateUninitNumericArray}) {
    EXPECT_EQ(create(1, dims, paDOUBLE_CLASS, paREAL), nullptr) << "one dimension";
    EXPECT_EQ(create(0, dims, paDOUBLE_CLASS, paREAL), nullptr) << "none";
    EXPECT_EQ(create(2, nullptr, paDOUBLE_CLASS, paREAL), nullptr) << "null dimensions";
    EXPECT_EQ(create(2, dims, paCHAR_CLASS, paREAL), nullptr) << "class char";
    EXPECT_EQ(create(2, dims, otherClass, paREAL), nullptr) << "a class there is not";
    EXPECT_EQ(create(2, dims, paDOUBLE_CLASS, otherComplexity), nullptr) << "no complexity";
  }
  const std::uint16_t units[] = {'a', 'b', 'c', 'd'};
  EXPECT_EQ(paCreateCharArray(1, dims, units), nullptr) << "one dimension";
  EXPECT_EQ(paCreateCharArray(2, nullptr, units), nullptr) << "null dimensions";
  EXPECT_EQ(paCreateCharArray(2, dims, nullptr), nullptr) << "four units of nothing";
  EXPECT_EQ(paCreateSparseArray(1, 1, paCHAR_CLASS, paREAL), nullptr) << "class char";
  EXPECT_EQ(paCreateSparseArray(1, 1, paDOUBLE_CLASS, otherComplexity), nullptr);
}

TEST(Arrays, BorrowedBlocksStayTheCallers) {
  double real[] = {1, 2}, imaginary[] = {3, 4};
  const std::size_t dims[] = {2, 1};
  paArray* array = paBorrowNumericArray(2, dims, real, imaginary);
  EXPECT_EQ(paGetRealData(array), real);
  EXPECT_EQ(paGetImagData(array), imaginary);
  EXPECT_EQ(paGetClassID(array), paDOUBLE_CLASS);
  EXPECT_EQ(paGetNumberOfElements(array), 2u);
  EXPECT_TRUE(paIsComplex(array));
  paDestroyArray(array);
  EXPECT_EQ(real[1] + imaginary[1], 6);
  array = paBorrowNumericArray(2, dims, real, nullptr);
  EXPECT_FALSE(paIsComplex(array));
  EXPECT_EQ(paGetScalar(array), 1);
  paDestroyArray(array);
  EXPECT_EQ(paBorrowNumericArray(2, dims, nullptr, imaginary), nullptr);
  EXPECT_EQ(paBorrowNumericArray(1, dims, real, imaginary), nullptr);
  EXPECT_EQ(paBorrowNumericArray(2, nullptr, real, imaginary), nullptr);
}

}  // namespace
