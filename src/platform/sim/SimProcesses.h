#pragma once

// The processes of the simulated desktop: the other applications (running or not, their process
// ids, launch dates and whether they answer Accessibility), the frontmost one, and the app's own
// process.

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/vocabulary/OwnBundle.h"
#include "platform/Platform.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

// The app's own process as the desktop sees it.
constexpr int kOwnPid = 100;

class SimProcesses {
 public:
  explicit SimProcesses(const platform::Clock& clock) : clock_(clock) {}
  SimProcesses(const SimProcesses&) = delete;
  SimProcesses& operator=(const SimProcesses&) = delete;

  // --- other applications
  // Adds an application; one that runs has started now. Items without a name get "Item-N".
  SimAppSetup& add(SimAppSetup app);
  const std::vector<SimAppSetup>& apps() const { return apps_; }
  // By bundle id, ignoring case.
  SimAppSetup* find(std::string_view bundleId);
  const SimAppSetup* appOfPid(int pid) const;
  // The app's display name; the bundle id itself for an app the desktop does not know.
  std::string nameOf(const std::string& bundleId) const;
  // The app starts now or quits; its status items are the bar's business.
  void launched(SimAppSetup& app);
  void terminated(SimAppSetup& app);

  // --- process ids; an application keeps its pid across launches
  int pidFor(const std::string& bundleId);
  std::optional<int> pidOf(std::string_view bundleId) const;
  std::optional<std::string> bundleIdOfPid(int pid) const;

  platform::RunningApplication runningApp(const SimAppSetup& app) const;
  // The app's own process first, then the other running applications.
  std::vector<platform::RunningApplication> runningApplications() const;
  // Running and past its launch duration.
  bool hasFinishedLaunching(const SimAppSetup& app) const;
  // Whether the process runs, the app's own included.
  bool isRunning(int pid) const;
  // Whether the process answers Accessibility: running, launched and not hung.
  bool answersAccessibility(int pid) const;
  // A process that stops answering Accessibility requests (busy, or hung), or answers again.
  void setUnresponsive(int pid, bool unresponsive);

  // --- the frontmost application
  std::optional<std::string> frontmostBundleId() const { return frontmost_; }
  // The frontmost application while it runs.
  const SimAppSetup* frontmostApp() const;
  void setFrontmost(std::optional<std::string> bundleId) { frontmost_ = std::move(bundleId); }

  // --- the app's own process
  bool ownAppRunning() const { return ownRunning_; }
  void setOwnAppRunning(bool running) { ownRunning_ = running; }
  platform::ActivationPolicy ownActivationPolicy() const { return ownPolicy_; }
  void setOwnActivationPolicy(platform::ActivationPolicy policy) { ownPolicy_ = policy; }
  platform::RunningApplication ownRunningApp() const;

 private:
  const platform::Clock& clock_;
  std::vector<SimAppSetup> apps_;
  std::map<std::string, int> pids_;
  // Reverse indexes, since the window list asks for every icon's app by pid on each reading.
  std::unordered_map<int, std::string> bundleOfPid_;
  std::unordered_map<std::string, std::size_t> appIndex_;
  std::map<std::string, double> launchDates_;
  std::optional<std::string> frontmost_;
  int nextPid_ = 500;
  std::set<int> unresponsive_;
  bool ownRunning_ = false;
  platform::ActivationPolicy ownPolicy_ = platform::ActivationPolicy::regular;
};

}  // namespace tarvolo::sim
