// A pointer that is found out in the first call and the same from then on, such as the walk for this
// processor.
//
// For a static local variable all threads but the first would wait, and a child that was forked meanwhile
// has nobody to finish the variable: the child would wait for ever. Here nobody waits. Each thread that
// comes before the pointer is known finds it out for itself, so finding it has to give the same every time.
#pragma once

#include <atomic>

template <class T>
class FoundOnce {
 public:
  constexpr FoundOnce() = default;

  // The pointee exists before the first call, so no write to it has to become visible with the pointer.
  template <class Find>
  T* get(Find find) {
    T* pointer = pointer_.load(std::memory_order_relaxed);
    if (pointer == nullptr) {
      pointer = find();
      pointer_.store(pointer, std::memory_order_relaxed);
    }
    return pointer;
  }

 private:
  std::atomic<T*> pointer_ = nullptr;
};
