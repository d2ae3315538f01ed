#include "platform/sim/SimServices.h"

#include "platform/sim/SimBar.h"
#include "platform/sim/SimMainQueue.h"
#include "platform/sim/SimProcesses.h"

namespace tarvolo::sim {

void SimLog::write(platform::LogCategory category, std::string_view message) {
  record(category == platform::LogCategory::menubar ? "menubar" : "state", message);
}

void SimLog::record(std::string channel, std::string_view message) {
  lines_.push_back(SimLogLine{clock_.now(), std::move(channel), std::string(message)});
}

std::vector<std::string> SimLog::messages(const std::string& channel) const {
  std::vector<std::string> out;
  for (const auto& line : lines_) {
    if (channel.empty() || line.channel == channel) out.push_back(line.message);
  }
  return out;
}

std::string SimSystemInfo::ownBundleIdentifier() const { return std::string(ownBundleID); }

void SimApplication::setActivationPolicy(platform::ActivationPolicy policy) {
  processes_.setOwnActivationPolicy(policy);
}

platform::ActivationPolicy SimApplication::activationPolicy() const { return processes_.ownActivationPolicy(); }

void SimApplication::terminate() {
  queue_.post(0, [this] {
    if (terminate_) terminate_();
  });
}

std::vector<platform::RunningApplication> SimWorkspace::runningApplications() const {
  return processes_.runningApplications();
}

std::optional<platform::RunningApplication> SimWorkspace::frontmostApplication() const {
  const SimAppSetup* app = processes_.frontmostApp();
  if (!app) return std::nullopt;
  return processes_.runningApp(*app);
}

std::optional<platform::RunningApplication> SimWorkspace::menuBarOwningApplication() const {
  return frontmostApplication();
}

// As read through Accessibility: nothing while the application owning the menus does not
// answer (the read timed out off the main thread).
std::optional<double> SimWorkspace::applicationMenusMaxX() const {
  if (auto frontmost = processes_.frontmostBundleId()) {
    if (auto pid = processes_.pidOf(*frontmost); pid && !processes_.answersAccessibility(*pid)) return std::nullopt;
  }
  return bar_.menusRightEdge();
}

bool SimWorkspace::openURL(const std::string& url) {
  openedURLs_.push_back(url);
  return true;
}

std::optional<std::string> SimLoginItems::registerMainApp() {
  ++record_.registrations;
  if (settings_.loginItemError) return settings_.loginItemError;
  settings_.loginItemStatus = settings_.loginItemNeedsApproval ? platform::LoginItemStatus::requiresApproval
                                                               : platform::LoginItemStatus::enabled;
  return std::nullopt;
}

std::optional<std::string> SimLoginItems::unregisterMainApp() {
  ++record_.unregistrations;
  if (settings_.loginItemError) return settings_.loginItemError;
  settings_.loginItemStatus = platform::LoginItemStatus::notRegistered;
  return std::nullopt;
}

}  // namespace tarvolo::sim
