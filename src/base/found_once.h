// A pointer that is found out in the first call and the same from then on, such as the walk for this
// processor.
//
// A static local variable would have all threads but the first wait for it; a child that was forked
// meanwhile has the variable as it was, and nobody to finish it: it would wait for ever. Here nobody
// waits. Each thread that comes before the pointer is known finds it out for itself, so finding it has to
// give the same every time.
#pragma once

#include <atomic>

template <class T>
class FoundOnce {
 public:
  constexpr FoundOnce() = default;

  // What is pointed at is there before the program's first call: nothing has to be seen in order.
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
