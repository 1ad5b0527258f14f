// Objects that ICU makes.
#pragma once

#include <new>

// An object that ICU made. Null means that there was no memory for it: throws std::bad_alloc.
template <class T>
T* checkICUMemory(T* object) {
  if (object == nullptr) throw std::bad_alloc();
  return object;
}
