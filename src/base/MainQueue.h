#pragma once

#include <cstdint>
#include <functional>

namespace tarvolo {

class Clock {
 public:
  virtual ~Clock() = default;
  // Monotonic seconds; virtual in the simulator.
  virtual double now() const = 0;
  // Seconds since 1970-01-01 UTC, for dates the user sees or that persist.
  virtual double currentDate() const = 0;
};

using TaskId = std::uint64_t;

// The main thread's queue of delayed work; every owner runs on it.
class MainQueue {
 public:
  virtual ~MainQueue() = default;
  // Runs `task` on the main thread after `delaySeconds` (0: as soon as the current work ends).
  virtual TaskId post(double delaySeconds, std::function<void()> task) = 0;
  // Cancelling an unknown, finished or already cancelled task does nothing.
  virtual void cancel(TaskId id) = 0;
};

}  // namespace tarvolo
