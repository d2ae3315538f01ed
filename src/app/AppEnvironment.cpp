#include "app/AppEnvironment.h"

#include "app/Log.h"
#include "discovery/MenuBarPlacementLedger.h"
#include "discovery/StatusItemManager.h"
#include "localization/LocalizationManager.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

AppEnvironment::AppEnvironment(platform::Platform& platform) : platform_(platform) {
  Logging::setSink(&platform.logSink());
}

AppEnvironment::~AppEnvironment() {
  // The controller unsubscribes from the centers and reads the catalogue, so it goes first.
  statusBarController_.reset();
  statusItemManager_.reset();
  placementLedger_.reset();
  localization_.reset();
  if (Logging::sink() == &platform_.logSink()) Logging::setSink(nullptr);
}

LocalizationManager& AppEnvironment::localization() {
  if (!localization_) {
    localization_ = std::make_unique<LocalizationManager>(LocalizationManagerArgs{
        .defaults = platform_.defaults(),
        .preferredLanguages = [&system = platform_.system()] { return system.preferredLanguages(); },
        .languageDidChange = [this] { defaultCenter_.post(Notifications::appLanguageDidChange); },
        .log = [](std::string message) { Diag::log(message); },
    });
  }
  return *localization_;
}

std::string AppEnvironment::tr(std::string_view key) { return localization().tr(key); }

StatusBarController& AppEnvironment::statusBarController() {
  if (!statusBarController_) statusBarController_ = std::make_unique<StatusBarController>(*this);
  return *statusBarController_;
}

StatusItemManager& AppEnvironment::statusItemManager() {
  if (!statusItemManager_) statusItemManager_ = std::make_unique<StatusItemManager>(*this);
  return *statusItemManager_;
}

MenuBarPlacementLedger& AppEnvironment::placementLedger() {
  if (!placementLedger_) {
    placementLedger_ = std::make_unique<MenuBarPlacementLedger>(
        platform_.defaults(), platform_.system().osMajorVersion(), [](std::string line) { MenuBarLog::log(line); });
  }
  return *placementLedger_;
}

}  // namespace tarvolo
