#pragma once

#include <utility>

#include "base/ObserverList.h"

namespace tarvolo {

// An observable value: subscribers hear every change (not repeated equal values).
template <typename T>
class Published {
 public:
  using Observer = std::function<void(const T&)>;

  explicit Published(T initial = T{}) : value_(std::move(initial)) {}

  const T& get() const { return value_; }
  operator const T&() const { return value_; }

  void set(T value) {
    if (value == value_) return;
    value_ = std::move(value);
    observers_.notify(value_);
  }
  Published& operator=(T value) {
    set(std::move(value));
    return *this;
  }

  [[nodiscard]] Subscription subscribe(Observer observer) { return observers_.add(std::move(observer)); }

 private:
  T value_;
  ObserverList<const T&> observers_;
};

}  // namespace tarvolo
