#pragma once

// The sequencing of one Icon Shelf discovery run: reveal hidden items (owner by owner, or not at
// all when the caller has revealed everything), let the catalogue scan after each delay, and
// report how the run ended. It performs no effect itself; every effect is handed in, and every
// callback must arrive on the thread that drives the session.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvolo {

class MenuBarDiscoverySession {
 public:
  enum class Outcome { completed, cancelled, failed, timedOut };
  static std::string_view rawValue(Outcome outcome);

  // Runs the action once after the delay; the returned operation cancels it.
  using Cancel = std::function<void()>;
  using Schedule = std::function<Cancel(double delaySeconds, std::function<void()> action)>;
  using Reveal = std::function<void(const std::string& owner, std::function<void(bool)> completion)>;
  using Scan = std::function<void(std::function<void()> completion)>;
  using Finished = std::function<void(Outcome)>;

  static constexpr double perOwnerDeadline = 90;
  static constexpr double plainDeadline = 5;

  struct Operations {
    std::vector<double> delays;
    Schedule schedule;
    Reveal reveal;
    Scan scan;
    Finished finished;
  };
  explicit MenuBarDiscoverySession(Operations operations);
  MenuBarDiscoverySession(const MenuBarDiscoverySession&) = delete;
  MenuBarDiscoverySession& operator=(const MenuBarDiscoverySession&) = delete;

  // With owners, visits them one at a time; without, only scans. Ignored while running.
  void start(std::optional<std::vector<std::string>> owners);
  // Ends a run in progress with `cancelled`.
  void cancel();

  bool isRunning() const { return isRunning_; }
  bool perOwner() const { return perOwner_; }

 private:
  void nextOwner();
  void waitForScan(std::size_t attempt);
  void finish(Outcome outcome);

  Schedule schedule_;
  Reveal reveal_;
  Scan scan_;
  Finished finished_;
  std::vector<double> delays_;
  unsigned long long step_ = 0;
  std::optional<Cancel> cancelWait_;
  std::optional<Cancel> cancelDeadline_;
  std::vector<std::string> owners_;
  std::size_t ownerIndex_ = 0;
  bool perOwner_ = false;
  bool isRunning_ = false;
  unsigned long long deadlineRun_ = 0;
};

}  // namespace tarvolo
