// A serial background queue over a private dispatch queue.
//
// OS quirks handled here:
// - dispatch_after on a serial queue orders blocks by their due time, not by submission, so
//   "after every task posted before it is due" holds as the core expects.
// - Cancelled tasks stay in the queue as blocks that find nothing to run (MacPendingTasks); a
//   destroyed queue runs nothing.
// - runOnMainSync is called from the queue only, never from the main thread, so dispatch_sync
//   onto the main queue cannot deadlock; called on the main thread anyway it runs inline.

#include "platform/macos/MacBackend.h"

namespace tarvolo::platform::mac {

MacSerialQueue::MacSerialQueue(const std::string& label)
    : queue_(dispatch_queue_create(label.c_str(), DISPATCH_QUEUE_SERIAL)), pending_(MacPendingTasks::create()) {}

MacSerialQueue::~MacSerialQueue() { pending_->clear(); }

TaskId MacSerialQueue::post(double delaySeconds, std::function<void()> task) {
  return pending_->post(queue_, delaySeconds, std::move(task));
}

void MacSerialQueue::cancel(TaskId id) { pending_->cancel(id); }

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
