#include "platform/macos/MacPendingTasks.h"

#include <utility>

namespace tarvolo::platform::mac {

std::shared_ptr<MacPendingTasks> MacPendingTasks::create(Hooks hooks) {
  return std::shared_ptr<MacPendingTasks>(new MacPendingTasks(std::move(hooks)));
}

TaskId MacPendingTasks::post(dispatch_queue_t queue, double delaySeconds, std::function<void()> task) {
  TaskId id = 0;
  {
    std::lock_guard lock(mutex_);
    id = ++lastId_;
    tasks_.emplace(id, std::move(task));
    if (hooks_.added) hooks_.added(id, delaySeconds);
  }
  std::weak_ptr<MacPendingTasks> weakTasks = weak_from_this();
  dispatch_block_t block = ^{
    std::shared_ptr<MacPendingTasks> tasks = weakTasks.lock();
    if (!tasks) return;
    std::function<void()> run;
    {
      std::lock_guard lock(tasks->mutex_);
      run = tasks->take(id);
    }
    if (run) run();
  };
  if (delaySeconds <= 0) {
    dispatch_async(queue, block);
  } else {
    auto nanoseconds = static_cast<int64_t>(delaySeconds * static_cast<double>(NSEC_PER_SEC));
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, nanoseconds), queue, block);
  }
  return id;
}

std::function<void()> MacPendingTasks::take(TaskId id) {
  auto it = tasks_.find(id);
  if (it == tasks_.end()) return {};
  std::function<void()> task = std::move(it->second);
  tasks_.erase(it);
  if (hooks_.removed) hooks_.removed(id);
  return task;
}

void MacPendingTasks::cancel(TaskId id) {
  std::function<void()> dropped;
  {
    std::lock_guard lock(mutex_);
    dropped = take(id);
  }
  // `dropped` dies here, outside the lock: its captures may cancel other tasks.
}

// Releasing the last tasks from the table's own destruction would let their captures cancel on a
// map that is being torn down; emptied here first, the map is whole while they go.
MacPendingTasks::~MacPendingTasks() { clear(); }

void MacPendingTasks::clear() {
  for (;;) {
    std::unordered_map<TaskId, std::function<void()>> dropped;
    {
      std::lock_guard lock(mutex_);
      if (tasks_.empty()) return;
      dropped.swap(tasks_);
      if (hooks_.removed) {
        for (const auto& [id, task] : dropped) hooks_.removed(id);
      }
    }
    // `dropped` dies here, outside the lock.
  }
}

}  // namespace tarvolo::platform::mac
