#include "platform/sim/SimProcesses.h"

#include <algorithm>

#include "base/Text.h"

namespace tarvolo::sim {

SimAppSetup& SimProcesses::add(SimAppSetup app) {
  appIndex_.try_emplace(app.bundleId, apps_.size());
  SimAppSetup& added = apps_.emplace_back(std::move(app));
  int index = 0;
  for (auto& item : added.items) {
    if (item.autosaveName.empty()) item.autosaveName = "Item-" + std::to_string(index);
    ++index;
  }
  if (added.running) launchDates_[added.bundleId] = clock_.currentDate();
  return added;
}

SimAppSetup* SimProcesses::find(std::string_view bundleId) {
  auto found = std::find_if(apps_.begin(), apps_.end(),
                            [&](const SimAppSetup& app) { return text::equalsIgnoringCase(app.bundleId, bundleId); });
  return found == apps_.end() ? nullptr : &*found;
}

const SimAppSetup* SimProcesses::appOfPid(int pid) const {
  auto bundle = bundleOfPid_.find(pid);
  if (bundle == bundleOfPid_.end()) return nullptr;
  auto found = appIndex_.find(bundle->second);
  return found == appIndex_.end() ? nullptr : &apps_[found->second];
}

std::string SimProcesses::nameOf(const std::string& bundleId) const {
  auto found =
      std::find_if(apps_.begin(), apps_.end(), [&](const SimAppSetup& app) { return app.bundleId == bundleId; });
  return found == apps_.end() ? bundleId : found->name;
}

void SimProcesses::launched(SimAppSetup& app) {
  app.running = true;
  launchDates_[app.bundleId] = clock_.currentDate();
}

void SimProcesses::terminated(SimAppSetup& app) {
  app.running = false;
  if (frontmost_ && text::equalsIgnoringCase(*frontmost_, app.bundleId)) frontmost_.reset();
}

int SimProcesses::pidFor(const std::string& bundleId) {
  auto [entry, added] = pids_.try_emplace(bundleId, nextPid_);
  if (added) bundleOfPid_.emplace(nextPid_++, bundleId);
  return entry->second;
}

std::optional<int> SimProcesses::pidOf(std::string_view bundleId) const {
  if (text::lowercased(bundleId) == ownBundleID) return kOwnPid;
  auto found = std::find_if(pids_.begin(), pids_.end(),
                            [&](const auto& entry) { return text::equalsIgnoringCase(entry.first, bundleId); });
  if (found == pids_.end()) return std::nullopt;
  return found->second;
}

std::optional<std::string> SimProcesses::bundleIdOfPid(int pid) const {
  if (pid == kOwnPid) return std::string(ownBundleID);
  auto found = bundleOfPid_.find(pid);
  if (found == bundleOfPid_.end()) return std::nullopt;
  return found->second;
}

platform::RunningApplication SimProcesses::runningApp(const SimAppSetup& app) const {
  platform::RunningApplication running;
  auto pid = pids_.find(app.bundleId);
  running.pid = pid == pids_.end() ? 0 : pid->second;
  if (!app.bundleId.empty()) running.bundleIdentifier = app.bundleId;
  running.localizedName = app.name;
  if (!app.path.empty()) {
    running.bundlePath = app.path;
    running.executablePath = app.path + "/Contents/MacOS/" + app.name;
  }
  running.activationPolicy = app.activation;
  if (auto date = launchDates_.find(app.bundleId); date != launchDates_.end()) running.launchDate = date->second;
  running.isTerminated = !app.running;
  running.finishedLaunching = hasFinishedLaunching(app);
  return running;
}

std::vector<platform::RunningApplication> SimProcesses::runningApplications() const {
  std::vector<platform::RunningApplication> out;
  if (ownRunning_) out.push_back(ownRunningApp());
  for (const auto& app : apps_) {
    if (app.running) out.push_back(runningApp(app));
  }
  return out;
}

bool SimProcesses::hasFinishedLaunching(const SimAppSetup& app) const {
  if (!app.running) return false;
  auto launched = launchDates_.find(app.bundleId);
  return launched == launchDates_.end() || clock_.currentDate() >= launched->second + app.launchDuration;
}

bool SimProcesses::isRunning(int pid) const {
  if (pid == kOwnPid) return ownRunning_;
  const SimAppSetup* app = appOfPid(pid);
  return app && app->running;
}

bool SimProcesses::answersAccessibility(int pid) const {
  if (pid == kOwnPid) return ownRunning_;
  const SimAppSetup* app = appOfPid(pid);
  return app && app->running && !app->accessibilityUnresponsive && !unresponsive_.contains(pid) &&
         hasFinishedLaunching(*app);
}

void SimProcesses::setUnresponsive(int pid, bool unresponsive) {
  if (unresponsive) {
    unresponsive_.insert(pid);
  } else {
    unresponsive_.erase(pid);
  }
}

const SimAppSetup* SimProcesses::frontmostApp() const {
  if (!frontmost_) return nullptr;
  auto found = std::find_if(apps_.begin(), apps_.end(),
                            [&](const SimAppSetup& app) { return app.running && app.bundleId == *frontmost_; });
  return found == apps_.end() ? nullptr : &*found;
}

platform::RunningApplication SimProcesses::ownRunningApp() const {
  return platform::RunningApplication{.pid = kOwnPid,
                                      .bundleIdentifier = std::string(ownBundleID),
                                      .localizedName = "Tarvolo",
                                      .bundlePath = "/Applications/Tarvolo.app",
                                      .executablePath = "/Applications/Tarvolo.app/Contents/MacOS/Tarvolo",
                                      .activationPolicy = ownPolicy_};
}

}  // namespace tarvolo::sim
