#pragma once

#include <functional>
#include <optional>

#include "base/MainQueue.h"

namespace tarvolo {

// A cancellable delayed step kept in a field of its owner. Scheduling again cancels the pending
// step, and destroying the item cancels it, so an owner never runs a stale step.
class WorkItem {
 public:
  explicit WorkItem(MainQueue& queue) : queue_(&queue) {}
  ~WorkItem() { cancel(); }
  WorkItem(const WorkItem&) = delete;
  WorkItem& operator=(const WorkItem&) = delete;

  void schedule(double delaySeconds, std::function<void()> task) {
    cancel();
    auto token = ++token_;
    pending_ = queue_->post(delaySeconds, [this, token, task = std::move(task)] {
      // The queue may outlive a cancel racing with dispatch; the token catches that.
      if (token != token_) return;
      pending_.reset();
      task();
    });
  }

  void cancel() {
    if (!pending_) return;
    queue_->cancel(*pending_);
    pending_.reset();
    ++token_;
  }

  bool isScheduled() const { return pending_.has_value(); }

 private:
  MainQueue* queue_;
  std::optional<TaskId> pending_;
  unsigned long long token_ = 0;
};

}  // namespace tarvolo
