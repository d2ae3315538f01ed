#include "base/NotificationCenter.h"

#include <memory>

namespace tarvolo {

Subscription NotificationCenter::addObserver(std::string name, Handler handler) {
  return observers_.add([name = std::move(name), handler = std::move(handler)](const Notification& notification) {
    if (notification.name == name) handler(notification);
  });
}

void NotificationCenter::post(const Notification& notification) { observers_.notify(notification); }

NotificationCenter::Handler onMainQueue(MainQueue& queue, NotificationCenter::Handler handler) {
  auto shared = std::make_shared<NotificationCenter::Handler>(std::move(handler));
  return [&queue, shared](const Notification& notification) {
    queue.post(0, [shared, notification] { (*shared)(notification); });
  };
}

}  // namespace tarvolo
