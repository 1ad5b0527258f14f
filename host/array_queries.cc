// Reading arrays. Every query accepts null.
#include "array.h"
#include "host/pa_array.h"

paClassID paGetClassID(const paArray* array) {
  return array ? array->classId : static_cast<paClassID>(0);
}

bool paIsSparse(const paArray* array) { return array && array->sparse; }

bool paIsComplex(const paArray* array) { return array && array->complex; }

bool paIsScalar(const paArray* array) { return array && array->elementCount == 1; }

bool paIsEmpty(const paArray* array) { return array && array->elementCount == 0; }

double paGetScalar(const paArray* array) {
  return array && array->real && array->elementCount > 0 ? array->real[0] : 0.0;
}

size_t paGetNumberOfElements(const paArray* array) { return array ? array->elementCount : 0; }

size_t paGetNumberOfDimensions(const paArray* array) { return array ? array->dimensionCount : 0; }

const size_t* paGetDimensions(const paArray* array) {
  return array ? array->dimensions.get() : nullptr;
}

double* paGetRealData(const paArray* array) { return array ? array->real.get() : nullptr; }

double* paGetImagData(const paArray* array) { return array ? array->imaginary.get() : nullptr; }
