#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "base/Subscription.h"

namespace tarvolo {

// Observers added and removed at any time, also from inside a notification: an observer removed
// while others are being told is not told afterwards; one added then hears the next round.
// The subscription outlives the list safely.
template <typename... Args>
class ObserverList {
 public:
  using Observer = std::function<void(Args...)>;

  ObserverList() : entries_(std::make_shared<Entries>()) {}

  [[nodiscard]] Subscription add(Observer observer) {
    const auto id = ++entries_->nextId;
    entries_->observers.emplace(id, std::make_shared<Observer>(std::move(observer)));
    std::weak_ptr<Entries> weak = entries_;
    return Subscription([weak, id] {
      if (auto entries = weak.lock()) entries->observers.erase(id);
    });
  }

  void notify(Args... args) {
    // Copy first: an observer may subscribe or unsubscribe while being told.
    auto snapshot = entries_->observers;
    for (auto& [id, observer] : snapshot) {
      if (entries_->observers.count(id)) (*observer)(args...);
    }
  }

  bool empty() const { return entries_->observers.empty(); }

 private:
  struct Entries {
    unsigned long long nextId = 0;
    std::map<unsigned long long, std::shared_ptr<Observer>> observers;
  };
  std::shared_ptr<Entries> entries_;
};

}  // namespace tarvolo
