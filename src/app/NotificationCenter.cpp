#include "app/NotificationCenter.h"

namespace tarvolo {

Subscription NotificationCenter::addObserver(std::string name, Handler handler) {
  auto id = ++observers_->nextId;
  observers_->entries.emplace(id, Entry{std::move(name), std::move(handler)});
  std::weak_ptr<Observers> weak = observers_;
  return Subscription([weak, id] {
    if (auto observers = weak.lock()) observers->entries.erase(id);
  });
}

void NotificationCenter::post(const Notification& notification) {
  std::vector<std::pair<unsigned long long, Handler>> matching;
  for (const auto& [id, entry] : observers_->entries) {
    if (entry.name == notification.name) matching.emplace_back(id, entry.handler);
  }
  for (auto& [id, handler] : matching) {
    // An earlier handler may have removed this observer.
    if (observers_->entries.count(id)) handler(notification);
  }
}

NotificationCenter::Handler onMainQueue(platform::MainQueue& queue, NotificationCenter::Handler handler) {
  auto shared = std::make_shared<NotificationCenter::Handler>(std::move(handler));
  return [&queue, shared](const Notification& notification) {
    queue.post(0, [shared, notification] { (*shared)(notification); });
  };
}

}  // namespace tarvolo
