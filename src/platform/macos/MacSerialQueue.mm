// A serial background queue over a private dispatch queue.
//
// OS quirks handled here:
// - dispatch_after on a serial queue orders blocks by their due time, not by submission, so
//   "after every task posted before it is due" holds as the core expects.
// - Cancelled tasks stay in the queue as blocks that find nothing to run; the table the blocks
//   share is held weakly by them, so a destroyed queue runs nothing.
// - runOnMainSync is called from the queue only, never from the main thread, so dispatch_sync
//   onto the main queue cannot deadlock; called on the main thread anyway it runs inline.

#include "platform/macos/MacBackend.h"

namespace tarvolo::platform::mac {

MacSerialQueue::MacSerialQueue(const std::string& label)
    : queue_(dispatch_queue_create(label.c_str(), DISPATCH_QUEUE_SERIAL)), pending_(std::make_shared<Pending>()) {}

MacSerialQueue::~MacSerialQueue() {
  std::lock_guard lock(pending_->mutex);
  pending_->tasks.clear();
}

TaskId MacSerialQueue::post(double delaySeconds, std::function<void()> task) {
  TaskId id = 0;
  {
    std::lock_guard lock(pending_->mutex);
    id = ++pending_->lastId;
    pending_->tasks.emplace(id, std::move(task));
  }
  std::weak_ptr<Pending> weakPending = pending_;
  dispatch_block_t block = ^{
    std::shared_ptr<Pending> pending = weakPending.lock();
    if (!pending) return;
    std::function<void()> run;
    {
      std::lock_guard lock(pending->mutex);
      auto it = pending->tasks.find(id);
      if (it == pending->tasks.end()) return;
      run = std::move(it->second);
      pending->tasks.erase(it);
    }
    if (run) run();
  };
  if (delaySeconds <= 0) {
    dispatch_async(queue_, block);
  } else {
    auto nanoseconds = static_cast<int64_t>(delaySeconds * static_cast<double>(NSEC_PER_SEC));
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, nanoseconds), queue_, block);
  }
  return id;
}

void MacSerialQueue::cancel(TaskId id) {
  std::lock_guard lock(pending_->mutex);
  pending_->tasks.erase(id);
}

void MacSerialQueue::runOnMainSync(const std::function<void()>& task) {
  if ([NSThread isMainThread]) {
    task();
    return;
  }
  const std::function<void()>* run = &task;
  dispatch_sync(dispatch_get_main_queue(), ^{
    (*run)();
  });
}

void MacSerialQueue::postToMain(std::function<void()> task) {
  __block std::function<void()> run = std::move(task);
  dispatch_async(dispatch_get_main_queue(), ^{
    run();
  });
}

}  // namespace tarvolo::platform::mac
