#include "support/SimFixture.h"

namespace tarvolo::testing {

sim::SimScreenSetup notchedLaptop() { return sim::SimScreenSetup{.width = 1512, .height = 982, .notchWidth = 185}; }
sim::SimScreenSetup plainDisplay() { return sim::SimScreenSetup{.width = 1920, .height = 1080}; }

std::vector<sim::SimAppSetup> sampleApps(int count) {
  std::vector<sim::SimAppSetup> apps;
  apps.push_back(sim::SimAppSetup{.bundleId = "com.example.editor", .name = "Editor",
                                 .path = "/Applications/Editor.app", .menusWidth = 420});
  for (int i = 0; i < count; ++i) {
    std::string n = std::to_string(i);
    apps.push_back(sim::SimAppSetup{
        .bundleId = "com.example.icon" + n,
        .name = "Icon" + n,
        .path = "/Applications/Icon" + n + ".app",
        .activation = platform::ActivationPolicy::accessory,
        .menusWidth = 0,
        .items = {sim::SimItemSetup{.width = 30, .position = 10.0 * (i + 1)}},
    });
  }
  return apps;
}

void SimAppTest::boot(DesktopOptions options) {
  auto desktop = std::make_unique<sim::SimDesktop>(options.screens, options.apps, options.settings);
  auto& defaults = desktop->defaults();
  if (options.onboardingComplete) defaults.set(StatusBarController::onboardingKey, DefaultsValue(true));
  if (options.ownPositions) {
    defaults.set(OwnStatusItems::preferredPositionKey(OwnStatusItems::toggleAutosaveName),
                 DefaultsValue((*options.ownPositions)[0]));
    defaults.set(OwnStatusItems::preferredPositionKey(OwnStatusItems::separatorAutosaveName),
                 DefaultsValue((*options.ownPositions)[1]));
    defaults.set(OwnStatusItems::preferredPositionKey(OwnStatusItems::alwaysHiddenAutosaveName),
                 DefaultsValue((*options.ownPositions)[2]));
  }
  if (!options.frontmost.empty()) desktop->setFrontmost(options.frontmost);
  session_ = std::make_unique<sim::SimSession>(std::move(desktop));
}

StatusBarController& SimAppTest::controller() {
  auto* controller = session_->controller();
  if (!controller) throw std::logic_error("the app is not running");
  return *controller;
}

bool SimAppTest::logged(const std::string& needle) const { return loggedCount(needle) > 0; }

int SimAppTest::loggedCount(const std::string& needle) const {
  int count = 0;
  for (const auto& line : session_->desktop().logSink().lines()) {
    if (line.message.find(needle) != std::string::npos) ++count;
  }
  return count;
}

bool SimAppTest::iconOnScreen(const std::string& bundleId) {
  for (const auto* item : desktop().bar().allItems()) {
    if (desktop().processes().bundleIdOfPid(item->ownerPid) == bundleId) return item->onScreen;
  }
  ADD_FAILURE() << "no icon of " << bundleId;
  return false;
}

}  // namespace tarvolo::testing
