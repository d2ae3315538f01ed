#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "app/Subscription.h"

namespace tarvolo {

// An observable value: subscribers hear every change (not repeated equal values).
template <typename T>
class Published {
 public:
  using Observer = std::function<void(const T&)>;

  explicit Published(T initial = T{}) : value_(std::move(initial)), observers_(std::make_shared<Observers>()) {}

  const T& get() const { return value_; }
  operator const T&() const { return value_; }

  void set(T value) {
    if (value == value_) return;
    value_ = std::move(value);
    // Copy first: an observer may subscribe or unsubscribe while being told.
    auto snapshot = observers_->entries;
    for (auto& [id, observer] : snapshot) {
      if (observers_->entries.count(id)) observer(value_);
    }
  }
  Published& operator=(T value) {
    set(std::move(value));
    return *this;
  }

  [[nodiscard]] Subscription subscribe(Observer observer) {
    auto id = ++observers_->nextId;
    observers_->entries.emplace(id, std::move(observer));
    std::weak_ptr<Observers> weak = observers_;
    return Subscription([weak, id] {
      if (auto observers = weak.lock()) observers->entries.erase(id);
    });
  }

 private:
  struct Observers {
    unsigned long long nextId = 0;
    std::map<unsigned long long, Observer> entries;
  };
  T value_;
  std::shared_ptr<Observers> observers_;
};

}  // namespace tarvolo
