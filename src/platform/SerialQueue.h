#pragma once

// A serial background queue: work that may wait on other processes (Accessibility calls,
// synthesized clicks) runs here as steps posted with delays, never as sleeps, and hands its
// results back to the main thread.

#include <functional>

#include "base/MainQueue.h"

namespace tarvolo::platform {

class SerialQueue {
 public:
  virtual ~SerialQueue() = default;
  // Runs `task` on the queue after `delaySeconds`, after every task posted before it is due.
  virtual TaskId post(double delaySeconds, std::function<void()> task) = 0;
  // A task not yet started never starts; a running one finishes.
  virtual void cancel(TaskId id) = 0;
  // From a task of this queue: runs `task` on the main thread and waits for it.
  virtual void runOnMainSync(const std::function<void()>& task) = 0;
  // From a task of this queue: hands `task` to the main thread once what this task did has
  // taken its time.
  virtual void postToMain(std::function<void()> task) = 0;
};

}  // namespace tarvolo::platform
