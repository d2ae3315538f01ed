#pragma once

// What one of the app's windows did on the simulated desktop, which draws none: what it was last
// asked to show (kept after it closes), whether it is up, how often it was shown and opened, and
// what its controls call, for scenario steps and tests to press as a click would.

#include <optional>
#include <utility>
#include <vector>

#include "base/MainQueue.h"

namespace tarvolo::sim {

template <typename State, typename Controls>
class SimWindowRecord {
 public:
  bool shown() const { return shown_; }
  // What it last drew; absent if it never showed.
  const std::optional<State>& lastState() const { return state_; }
  // What it shows now; null while it is closed.
  const State* showing() const { return shown_ && state_ ? &*state_ : nullptr; }
  // What its controls call. Copy one before calling it: what it does may close the window.
  const Controls& controls() const { return controls_; }
  // Every show, also of the window already up.
  int showCount() const { return shows_; }
  // Each time it went from closed to shown.
  const std::vector<double>& openedAt() const { return openedAt_; }
  int openCount() const { return static_cast<int>(openedAt_.size()); }

 protected:
  explicit SimWindowRecord(const Clock& clock) : clock_(clock) {}
  ~SimWindowRecord() = default;

  void recordShow(const State& state, Controls controls) {
    if (!shown_) openedAt_.push_back(clock_.now());
    ++shows_;
    shown_ = true;
    state_ = state;
    controls_ = std::move(controls);
  }
  void recordUpdate(const State& state) {
    if (shown_) state_ = state;
  }
  void recordClose() { shown_ = false; }
  // The app's process ended: the window went with it, and so did what its controls called.
  void recordProcessExit() {
    shown_ = false;
    controls_ = {};
  }

 private:
  const Clock& clock_;
  bool shown_ = false;
  int shows_ = 0;
  std::vector<double> openedAt_;
  std::optional<State> state_;
  Controls controls_;
};

}  // namespace tarvolo::sim
