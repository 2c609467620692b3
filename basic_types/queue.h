//===- queue.h - First-in first-out queue of two stacks ---------*- C++ -*-===//
//
// Queue<T> pushes onto `back` and takes from `front`, starting at `head`
// (counted from 1). When `front` is used up and an item is wanted, the two
// stacks swap roles and the new `back` is cleared, so nothing is ever shifted.
// The queue owns both stacks. top() and pop() on an empty queue are
// programmer's faults: they are reported and give a default T. The raw
// stacks are open to owners that must look at or blank out waiting items.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "core/kivassert.h"

#include <cstdint>
#include <utility>

template <class T>
class Queue {
public:
  // `growth` is accepted for callers that state one; the stacks double on
  // their own, so it has no effect.
  explicit Queue(int32_t minsize = 10, int32_t growth = 0) {
    (void)growth;
    KIV_ASSERT(minsize >= 1, "basic_types/queue");
    back_ = new IterStack<T>(minsize < 1 ? 1 : minsize);
    front_ = new IterStack<T>(1);
  }
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;
  ~Queue() {
    delete back_;
    delete front_;
  }

  void push(const T& x) { back_->push(x); }
  void push(T&& x) { back_->push(std::move(x)); }

  bool isEmpty() const { return back_->count() == 0 && front_->count() < head_; }
  // Items waiting.
  int32_t count() const { return back_->count() + front_->count() - head_ + 1; }

  const T& top() const {
    if (front_->count() >= head_)
      return front_->at(head_);
    if (back_->count() > 0)
      return back_->at(1);
    kivAssert("0", "basic_types/queue", 104);
    static const T none{};
    return none;
  }

  T pop() {
    if (front_->count() >= head_)
      return std::move(front_->at(head_++));
    if (back_->count() > 0) {
      std::swap(back_, front_);
      back_->clear();
      head_ = 2;
      return std::move(front_->at(1));
    }
    kivAssert("0", "basic_types/queue", 126);
    return T();
  }

  // Items front->at(head) .. front->at(front->count) leave first, then
  // back->at(1) .. back->at(back->count).
  IterStack<T>& backStack() { return *back_; }
  IterStack<T>& frontStack() { return *front_; }
  int32_t head() const { return head_; }

private:
  IterStack<T>* back_ = nullptr;
  IterStack<T>* front_ = nullptr;
  int32_t head_ = 1;
};
