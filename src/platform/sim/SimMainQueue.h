#pragma once

#include <functional>
#include <map>
#include <utility>

#include "platform/Platform.h"

namespace tarvolo::sim {

// The main queue and clock of the simulated desktop: virtual time that advances only when the
// queue runs, so every test is deterministic and instantaneous.
class SimMainQueue final : public platform::MainQueue, public platform::Clock {
 public:
  // Virtual seconds since 1970 at time 0, for dates (2026-11-21 00:00 UTC).
  static constexpr double kEpochDate = 1795219200.0;

  SimMainQueue() = default;
  ~SimMainQueue() override;
  SimMainQueue(const SimMainQueue&) = delete;
  SimMainQueue& operator=(const SimMainQueue&) = delete;

  double now() const override { return now_; }
  double currentDate() const override { return kEpochDate + now_; }
  platform::TaskId post(double delaySeconds, std::function<void()> task) override;
  void cancel(platform::TaskId id) override;

  // Runs every task due up to `time` in order, then leaves the clock at `time`.
  void runUntil(double time);
  void runFor(double seconds) { runUntil(now_ + seconds); }
  // Runs tasks until none is left or the clock would pass `limit`; returns whether it drained.
  bool runUntilIdle(double limit);
  std::size_t pendingCount() const { return tasks_.size(); }
  // How many tasks ran so far; lets tests bound the work a procedure does.
  std::size_t executedCount() const { return executed_; }
  // Drops every task without running it, while whatever the tasks hold may still reach the
  // queue: releasing a task can destroy an object that cancels or posts here.
  void discardPending();

 private:
  struct Key {
    double time;
    platform::TaskId id;
    bool operator<(const Key& o) const { return time != o.time ? time < o.time : id < o.id; }
  };
  bool runNext(double limit);

  double now_ = 0;
  platform::TaskId nextId_ = 0;
  std::size_t executed_ = 0;
  std::map<Key, std::function<void()>> tasks_;
  std::map<platform::TaskId, Key> keys_;
};

}  // namespace tarvolo::sim
