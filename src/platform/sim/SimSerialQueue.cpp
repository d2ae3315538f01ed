#include "platform/sim/SimSerialQueue.h"

#include <algorithm>

#include "platform/sim/SimMainQueue.h"
#include "platform/sim/SimWaitLedger.h"

namespace tarvolo::sim {

SimSerialQueue::SimSerialQueue(SimMainQueue& mainQueue, SimWaitLedger& waits, std::string label)
    : mainQueue_(mainQueue), waits_(waits), label_(std::move(label)) {}

SimSerialQueue::~SimSerialQueue() {
  *alive_ = false;
  for (const auto& [id, queued] : pending_) mainQueue_.cancel(queued);
}

platform::TaskId SimSerialQueue::post(double delaySeconds, std::function<void()> task) {
  const platform::TaskId id = ++nextId_;
  const double now = mainQueue_.now();
  const double at = std::max(now + std::max(delaySeconds, 0.0), busyUntil_);
  pending_[id] = mainQueue_.post(at - now, [this, alive = alive_, id, task = std::move(task)]() mutable {
    if (*alive) run(id, std::move(task));
  });
  return id;
}

void SimSerialQueue::cancel(platform::TaskId id) {
  auto found = pending_.find(id);
  if (found == pending_.end()) return;
  mainQueue_.cancel(found->second);
  pending_.erase(found);
}

void SimSerialQueue::run(platform::TaskId id, std::function<void()> task) {
  const double now = mainQueue_.now();
  if (busyUntil_ > now) {
    // Still waiting on an earlier task's calls: run once it is done.
    pending_[id] = mainQueue_.post(busyUntil_ - now, [this, alive = alive_, id, task = std::move(task)]() mutable {
      if (*alive) run(id, std::move(task));
    });
    return;
  }
  pending_.erase(id);
  waits_.takeBackgroundCharge();
  inTask_ = true;
  waits_.setInBackgroundTask(true);
  task();
  waits_.setInBackgroundTask(false);
  inTask_ = false;
  const double cost = waits_.takeBackgroundCharge();
  busyUntil_ = now + cost;
  for (auto& handOff : std::exchange(toMain_, {})) mainQueue_.post(cost, std::move(handOff));
}

void SimSerialQueue::postToMain(std::function<void()> task) {
  if (inTask_) {
    toMain_.push_back(std::move(task));
    return;
  }
  mainQueue_.post(0, std::move(task));
}

}  // namespace tarvolo::sim
