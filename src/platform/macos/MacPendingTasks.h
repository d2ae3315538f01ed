#pragma once

// Tasks handed to a dispatch queue, kept by id until they run. Objective-C++; include from .mm
// files only.
//
// dispatch_after cannot be revoked once submitted: each dispatched block looks its task up when
// it fires and finds nothing if the task was cancelled. The blocks hold the table weakly, so a
// queue object that is gone runs nothing.

#include <dispatch/dispatch.h>

#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "base/MainQueue.h"

namespace tarvolo::platform::mac {

class MacPendingTasks : public std::enable_shared_from_this<MacPendingTasks> {
 public:
  // Run under the table's lock as a task enters (with its delay) and as it leaves, run or
  // cancelled.
  struct Hooks {
    std::function<void(TaskId id, double delaySeconds)> added;
    std::function<void(TaskId id)> removed;
  };

  static std::shared_ptr<MacPendingTasks> create(Hooks hooks = {});
  ~MacPendingTasks();
  MacPendingTasks(const MacPendingTasks&) = delete;
  MacPendingTasks& operator=(const MacPendingTasks&) = delete;

  // Runs `task` on `queue` after `delaySeconds` (at once when not positive).
  TaskId post(dispatch_queue_t queue, double delaySeconds, std::function<void()> task);
  void cancel(TaskId id);
  // Drops every task that has not run. A released task may cancel or post here: it finds the
  // table whole and empty, and what it posts is dropped in the next round.
  void clear();

 private:
  explicit MacPendingTasks(Hooks hooks) : hooks_(std::move(hooks)) {}
  // The task, out of the table; empty when it was cancelled. Under `mutex_`.
  std::function<void()> take(TaskId id);

  std::mutex mutex_;
  TaskId lastId_ = 0;
  std::unordered_map<TaskId, std::function<void()>> tasks_;
  Hooks hooks_;
};

}  // namespace tarvolo::platform::mac
