#include "BenchDesktops.h"

#include <string>
#include <vector>

#include "statusbar/OwnStatusItems.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo::bench {

std::unique_ptr<sim::SimDesktop> crowdedDesktop(int applications, int itemsEach) {
  std::vector<sim::SimAppSetup> apps;
  apps.push_back(sim::SimAppSetup{
      .bundleId = "com.example.editor", .name = "Editor", .path = "/Applications/Editor.app", .menusWidth = 420});
  for (int i = 0; i < applications; ++i) {
    const std::string n = std::to_string(i);
    sim::SimAppSetup app{.bundleId = "com.vendor" + std::to_string(i % 17) + ".utility" + n,
                        .name = "Utility " + n,
                        .path = "/Applications/Utility " + n + ".app",
                        .activation = platform::ActivationPolicy::accessory,
                        .menusWidth = 0};
    for (int k = 0; k < itemsEach; ++k) {
      app.items.push_back(sim::SimItemSetup{.width = 24, .position = 10.0 * (i + 1) + k});
    }
    apps.push_back(std::move(app));
  }
  auto desktop = std::make_unique<sim::SimDesktop>(
      std::vector<sim::SimScreenSetup>{sim::SimScreenSetup{.width = 3840, .height = 2160}}, apps, sim::SimSettings{});
  auto& defaults = desktop->defaults();
  defaults.set(StatusBarController::onboardingKey, DefaultsValue(true));
  defaults.set(OwnStatusItems::preferredPositionKey(OwnStatusItems::toggleAutosaveName), DefaultsValue(5.0));
  defaults.set(OwnStatusItems::preferredPositionKey(OwnStatusItems::separatorAutosaveName), DefaultsValue(35.0));
  defaults.set(OwnStatusItems::preferredPositionKey(OwnStatusItems::alwaysHiddenAutosaveName), DefaultsValue(55.0));
  desktop->setFrontmost("com.example.editor");
  return desktop;
}

}  // namespace tarvolo::bench
