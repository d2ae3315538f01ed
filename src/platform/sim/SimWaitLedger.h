#pragma once

// Time the app spends waiting on other processes: a process that does not answer Accessibility
// makes its caller wait out the messaging time-out. A serial queue's task adds what its calls
// cost to the queue; the same wait outside a background task blocks the main thread.

#include <string>
#include <utility>
#include <vector>

namespace tarvolo::sim {

class SimWaitLedger {
 public:
  void charge(double seconds) {
    if (inBackgroundTask_) {
      backgroundCharge_ += seconds;
    } else {
      mainThreadWaited_ += seconds;
    }
  }
  // One Accessibility message to another process, named for the record (`what`), which costs
  // its caller `seconds`. Made outside a background task it is a main-thread call.
  void accessibilityCall(std::string what, double seconds) {
    if (!inBackgroundTask_) mainThreadAccessibilityCalls_.push_back(std::move(what));
    if (seconds > 0) charge(seconds);
  }
  // The Accessibility messages the main thread sent, oldest first ("AXChildren bundle=…").
  const std::vector<std::string>& mainThreadAccessibilityCalls() const { return mainThreadAccessibilityCalls_; }
  // What the background task has waited so far; taken when it starts and when it ends.
  double takeBackgroundCharge() { return std::exchange(backgroundCharge_, 0.0); }
  void setInBackgroundTask(bool inTask) { inBackgroundTask_ = inTask; }
  // Seconds the main thread has spent waiting on other processes.
  double mainThreadWaited() const { return mainThreadWaited_; }

 private:
  double backgroundCharge_ = 0;
  bool inBackgroundTask_ = false;
  double mainThreadWaited_ = 0;
  std::vector<std::string> mainThreadAccessibilityCalls_;
};

}  // namespace tarvolo::sim
