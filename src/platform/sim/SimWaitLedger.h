#pragma once

// Time the app spends waiting on other processes: a process that does not answer Accessibility
// makes its caller wait out the messaging time-out. A serial queue's task adds what its calls
// cost to the queue; the same wait outside a background task blocks the main thread.

#include <utility>

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
  // What the background task has waited so far; taken when it starts and when it ends.
  double takeBackgroundCharge() { return std::exchange(backgroundCharge_, 0.0); }
  void setInBackgroundTask(bool inTask) { inBackgroundTask_ = inTask; }
  // Seconds the main thread has spent waiting on other processes.
  double mainThreadWaited() const { return mainThreadWaited_; }

 private:
  double backgroundCharge_ = 0;
  bool inBackgroundTask_ = false;
  double mainThreadWaited_ = 0;
};

}  // namespace tarvolo::sim
