#include "platform/sim/SimMainQueue.h"

#include <algorithm>
#include <utility>

namespace tarvolo::sim {

SimMainQueue::~SimMainQueue() { discardPending(); }

void SimMainQueue::discardPending() {
  // Out of the maps before any task is released, so a cancel from a released task finds
  // nothing; a task posted meanwhile is dropped in the next round.
  while (!tasks_.empty()) {
    auto dropped = std::exchange(tasks_, {});
    keys_.clear();
    dropped.clear();
  }
}

platform::TaskId SimMainQueue::post(double delaySeconds, std::function<void()> task) {
  auto id = ++nextId_;
  Key key{now_ + std::max(0.0, delaySeconds), id};
  tasks_.emplace(key, std::move(task));
  keys_.emplace(id, key);
  return id;
}

void SimMainQueue::cancel(platform::TaskId id) {
  auto it = keys_.find(id);
  if (it == keys_.end()) return;
  tasks_.erase(it->second);
  keys_.erase(it);
}

bool SimMainQueue::runNext(double limit) {
  if (tasks_.empty()) return false;
  auto first = tasks_.begin();
  if (first->first.time > limit) return false;
  Key key = first->first;
  // Take the task out before running it: it may post, cancel or destroy its owner.
  auto task = std::move(first->second);
  tasks_.erase(first);
  keys_.erase(key.id);
  now_ = std::max(now_, key.time);
  ++executed_;
  task();
  return true;
}

void SimMainQueue::runUntil(double time) {
  while (runNext(time)) {
  }
  now_ = std::max(now_, time);
}

bool SimMainQueue::runUntilIdle(double limit) {
  while (runNext(limit)) {
  }
  return tasks_.empty();
}

}  // namespace tarvolo::sim
