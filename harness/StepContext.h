#pragma once

// What a step acts on while a scenario runs: the app's process on its desktop, and the
// scenario itself.

#include <functional>
#include <string>

namespace tarvolo {
class AppEnvironment;
}

namespace tarvolo::sim {
class SimDesktop;
class SimSession;
}  // namespace tarvolo::sim

namespace tarvolo::scenario {

struct Scenario;

class StepContext {
 public:
  StepContext(sim::SimSession& session, const Scenario& scenario, std::function<void()> relaunch)
      : session_(session), scenario_(scenario), relaunch_(std::move(relaunch)) {}

  sim::SimSession& session() { return session_; }
  sim::SimDesktop& desktop();
  const Scenario& scenario() const { return scenario_; }
  // The running app's owners; null while it is not running.
  AppEnvironment* environment();
  // Whether an app of the scenario runs now.
  bool appRunning(const std::string& bundleId);
  // Quits Tarvolo and starts it again.
  void relaunch() { relaunch_(); }

 private:
  sim::SimSession& session_;
  const Scenario& scenario_;
  std::function<void()> relaunch_;
};

}  // namespace tarvolo::scenario
