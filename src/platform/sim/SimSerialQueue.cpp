#include "platform/sim/SimSerialQueue.h"

#include <algorithm>

#include "platform/sim/SimDesktop.h"

namespace tarvolo::sim {

SimSerialQueue::SimSerialQueue(SimDesktop& desktop, std::string label) : desktop_(desktop), label_(std::move(label)) {}

SimSerialQueue::~SimSerialQueue() {
  *alive_ = false;
  for (const auto& [id, queued] : pending_) desktop_.queue().cancel(queued);
}

platform::TaskId SimSerialQueue::post(double delaySeconds, std::function<void()> task) {
  const platform::TaskId id = ++nextId_;
  const double now = desktop_.queue().now();
  const double at = std::max(now + std::max(delaySeconds, 0.0), busyUntil_);
  pending_[id] = desktop_.queue().post(at - now, [this, alive = alive_, id, task = std::move(task)]() mutable {
    if (*alive) run(id, std::move(task));
  });
  return id;
}

void SimSerialQueue::cancel(platform::TaskId id) {
  auto found = pending_.find(id);
  if (found == pending_.end()) return;
  desktop_.queue().cancel(found->second);
  pending_.erase(found);
}

void SimSerialQueue::run(platform::TaskId id, std::function<void()> task) {
  const double now = desktop_.queue().now();
  if (busyUntil_ > now) {
    // Still waiting on an earlier task's calls: run once it is done.
    pending_[id] = desktop_.queue().post(busyUntil_ - now, [this, alive = alive_, id, task = std::move(task)]() mutable {
      if (*alive) run(id, std::move(task));
    });
    return;
  }
  pending_.erase(id);
  desktop_.takeBackgroundCharge();
  inTask_ = true;
  task();
  inTask_ = false;
  const double cost = desktop_.takeBackgroundCharge();
  busyUntil_ = now + cost;
  for (auto& handOff : std::exchange(toMain_, {})) desktop_.queue().post(cost, std::move(handOff));
}

void SimSerialQueue::postToMain(std::function<void()> task) {
  if (inTask_) {
    toMain_.push_back(std::move(task));
    return;
  }
  desktop_.queue().post(0, std::move(task));
}

}  // namespace tarvolo::sim
