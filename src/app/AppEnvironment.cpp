#include "app/AppEnvironment.h"

#include "base/Log.h"
#include "discovery/tracking/MenuBarPlacementLedger.h"
#include "discovery/tracking/NewAppLaunchCenter.h"
#include "discovery/tracking/StatusItemManager.h"
#include "localization/LocalizationManager.h"
#include "statusbar/StatusBarController.h"
#include "ui/PlacementGuideController.h"
#include "ui/PreferencesController.h"
#include <algorithm>
#include <cmath>

namespace tarvolo {

namespace {
// Read by the auto-collapse timer; the settings keep it within the timer's bounds.
constexpr const char* autoCollapseDelayKey = "autoCollapseDelay";
double storedAutoCollapseDelay(std::optional<double> stored) {
  if (!stored || std::isnan(*stored)) return 8;
  return std::clamp(*stored, 1.0, 30.0);
}
}  // namespace

AppEnvironment::AppEnvironment(platform::Platform& platform) : platform_(platform) {
  Logging::setSink(&platform.logSink());
  localization_ = std::make_unique<LocalizationManager>(LocalizationManagerArgs{
      .defaults = platform_.defaults(),
      .preferredLanguages = [&system = platform_.system()] { return system.preferredLanguages(); },
      .languageDidChange = [this] { defaultCenter_.post(Notifications::appLanguageDidChange); },
      .log = [](std::string message) { Diag::log(message); },
  });
  placementLedger_ = std::make_unique<MenuBarPlacementLedger>(
      platform_.defaults(), platform_.system().osMajorVersion(), [](std::string line) { MenuBarLog::log(line); });
  statusItemManager_ = std::make_unique<StatusItemManager>(StatusItemManager::Dependencies{
      .platform = platform_,
      .defaultCenter = defaultCenter_,
      .workspaceCenter = workspaceCenter_,
      .ledger = *placementLedger_,
  });
  newAppLaunchCenter_ = std::make_unique<NewAppLaunchCenter>(NewAppLaunchCenter::Dependencies{
      .platform = platform_,
      .workspaceCenter = workspaceCenter_,
      .catalog = *statusItemManager_,
      .localization = *localization_,
  });
}

AppEnvironment::~AppEnvironment() {
  gapSubscription_ = Subscription();
  preferences_.reset();
  placementGuide_.reset();
  statusBarController_.reset();
  newAppLaunchCenter_.reset();
  statusItemManager_.reset();
  placementLedger_.reset();
  localization_.reset();
  if (Logging::sink() == &platform_.logSink()) Logging::setSink(nullptr);
}

StatusBarController& AppEnvironment::makeStatusBarController() {
  if (!statusBarController_) {
    statusBarController_ = std::make_unique<StatusBarController>(StatusBarController::Dependencies{
        .platform = platform_,
        .defaultCenter = defaultCenter_,
        .workspaceCenter = workspaceCenter_,
        .catalog = *statusItemManager_,
        .localization = *localization_,
    });
    makeWindows();
  }
  return *statusBarController_;
}

void AppEnvironment::makeWindows() {
  StatusBarController& bar = *statusBarController_;
  placementGuide_ = std::make_unique<PlacementGuideController>(PlacementGuideController::Dependencies{
      .platform = platform_,
      .localization = *localization_,
      .catalog = *statusItemManager_,
      .ledger = *placementLedger_,
      .statusBar = bar,
  });
  preferences_ = std::make_unique<PreferencesController>(PreferencesController::Dependencies{
      .platform = platform_,
      .defaultCenter = defaultCenter_,
      .localization = *localization_,
      .catalog = *statusItemManager_,
      .ledger = *placementLedger_,
      .guide = *placementGuide_,
      .behaviour = behaviourSettings(),
  });
  PlacementGuideController& guide = *placementGuide_;
  PreferencesController& preferences = *preferences_;
  NewAppLaunchCenter& notices = *newAppLaunchCenter_;
  bar.setWindowHooks(StatusBarController::WindowHooks{
      .openPreferences = [&preferences](std::optional<std::string> focus) { preferences.open(std::move(focus)); },
      .arrange = [&guide] { guide.startTour(); },
      .placementGuideOpen = [&guide] { return guide.isActive(); },
      .barDidCollapse = [&guide] { guide.noteBarCollapsed(); },
  });
  // "Show all and arrange" seats the new icon beside the toggle, where the user will see it.
  notices.setArrangeStarter(
      [&guide](const std::string& bundleID) { return guide.startPlacement(bundleID, ItemCategory::alwaysVisible); });
  guide.setEndedHandler([&notices, &preferences](PlacementGuideController::Outcome) {
    notices.noteGuideEnded();
    preferences.refresh();
  });
  gapSubscription_ = bar.observeMenuBarGapChanges([&notices] { notices.noteGapChange(); });
}

PreferencesController::Behaviour AppEnvironment::behaviourSettings() {
  auto& defaults = platform_.defaults();
  PreferencesController::Behaviour behaviour;
  behaviour.autoCollapseDelay = [&defaults] {
    return storedAutoCollapseDelay(defaults.getDouble(autoCollapseDelayKey));
  };
  behaviour.setAutoCollapseDelay = [&defaults](double seconds) {
    defaults.set(autoCollapseDelayKey, DefaultsValue(storedAutoCollapseDelay(seconds)));
  };
  behaviour.nativeEngineAvailable = [] { return false; };
  return behaviour;
}

std::string AppEnvironment::tr(std::string_view key) { return localization_->tr(key); }

}  // namespace tarvolo
