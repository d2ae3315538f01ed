#include "app/AppEnvironment.h"

#include "app/StatusBarRouter.h"
#include "base/Log.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "discovery/owners/NewAppLaunchCenter.h"
#include "discovery/owners/NewAppNoticeLedger.h"
#include "discovery/owners/StatusItemManager.h"
#include "hotkeys/AppShortcuts.h"
#include "hotkeys/HotkeyManager.h"
#include "intents/LaunchAtLogin.h"
#include "localization/LocalizationManager.h"
#include "native/SystemStatusPresentation.h"
#include "native/owners/NativeVisibilityEngine.h"
#include "shelf/owners/IconMover.h"
#include "shelf/owners/MenuBarAccessController.h"
#include "permissions/AccessibilityPermission.h"
#include "statusbar/StatusBarController.h"
#include "ui/PlacementGuideController.h"
#include "ui/PreferencesController.h"
#include "ui/ReviewPromptController.h"
#include "ui/SystemNotices.h"
#include "ui/UpdateController.h"
#include "visibility/MenuBarVisibilityPolicy.h"
#include "ui/FirstLaunchCoachController.h"

namespace tarvolo {

AppEnvironment::LogSinkScope::LogSinkScope(LogSink& sink) : sink_(sink) { Logging::setSink(&sink_); }

AppEnvironment::LogSinkScope::~LogSinkScope() {
  if (Logging::sink() == &sink_) Logging::setSink(nullptr);
}

AppEnvironment::AppEnvironment(platform::Platform& platform)
    : platform_(platform), logSinkScope_(platform.logSink()) {
  localization_ = std::make_unique<LocalizationManager>(LocalizationManagerArgs{
      .defaults = platform_.defaults(),
      .preferredLanguages = [&system = platform_.system()] { return system.preferredLanguages(); },
      .languageDidChange = [this] { defaultCenter_.post(Notifications::appLanguageDidChange); },
      .log = [](std::string message) { Diag::log(message); },
  });
  accessibilityPermission_ = std::make_unique<AccessibilityPermission>(AccessibilityPermission::Dependencies{
      .platform = platform_,
      .defaultCenter = defaultCenter_,
  });
  placementLedger_ = std::make_unique<MenuBarPlacementLedger>(
      platform_.defaults(), platform_.system().osMajorVersion(), [](std::string line) { MenuBarLog::log(line); });
  categoryStore_ = std::make_unique<CategoryStore>(CategoryStore::Dependencies{
      .defaults = platform_.defaults(),
      .defaultCenter = defaultCenter_,
      .ledger = *placementLedger_,
  });
  newAppNotices_ = std::make_unique<NewAppNoticeLedger>(NewAppNoticeLedger::Dependencies{
      .defaults = platform_.defaults(),
      .clock = platform_.clock(),
  });
  statusItemManager_ = std::make_unique<StatusItemManager>(StatusItemManager::Dependencies{
      .platform = platform_,
      .defaultCenter = defaultCenter_,
      .workspaceCenter = workspaceCenter_,
      .ledger = *placementLedger_,
      .categories = *categoryStore_,
      .notices = *newAppNotices_,
      .accessibilityPermission = *accessibilityPermission_,
  });
  newAppLaunchCenter_ = std::make_unique<NewAppLaunchCenter>(NewAppLaunchCenter::Dependencies{
      .platform = platform_,
      .workspaceCenter = workspaceCenter_,
      .catalog = *statusItemManager_,
      .notices = *newAppNotices_,
      .localization = *localization_,
  });
  // Loads the framework once, before anything asks whether the system can hide.
  nativeVisibilityEngine_ = std::make_unique<NativeVisibilityEngine>(NativeVisibilityEngine::Dependencies{
      .platform = platform_,
      .defaultCenter = defaultCenter_,
  });
  launchAtLogin_ = std::make_unique<LaunchAtLogin>(platform_.loginItems(), platform_.system());
  // The chord may fire before the controller exists; it is looked up when it does.
  hotkeys_ = std::make_unique<HotkeyManager>(HotkeyManager::Dependencies{
      .platform = platform_,
      .localization = *localization_,
      .toggleDeep =
          [this] {
            if (statusBarController_) statusBarController_->toggleBar(ExpandDepth::deep);
          },
      .chordHolder = [this](const HotkeyManager::Chord& chord) -> std::optional<std::string> {
        auto holder = appShortcuts_ ? appShortcuts_->holderOf(chord) : std::nullopt;
        if (!holder) return std::nullopt;
        return appName(*holder);
      },
  });
  appShortcuts_ = std::make_unique<AppShortcuts>(AppShortcuts::Dependencies{
      .platform = platform_,
      .localization = *localization_,
      .deepChord = [this] { return hotkeys_->deepChord.get(); },
      .open =
          [this](const std::string& bundleID) {
            if (iconShelf_) iconShelf_->openAppMenu(bundleID);
          },
      .appName = [this](const std::string& bundleID) { return appName(bundleID); },
  });
  recorderSubscriptions_.push_back(hotkeys_->recording.subscribe([this](const bool& recording) {
    if (recording) {
      appShortcuts_->unregisterAll();
    } else {
      appShortcuts_->registerAll();
    }
  }));
  recorderSubscriptions_.push_back(appShortcuts_->recordingFor.subscribe(
      [this, wasRecording = false](const std::optional<std::string>& bundle) mutable {
        const bool recording = bundle.has_value();
        if (recording == std::exchange(wasRecording, recording)) return;
        if (recording) {
          hotkeys_->unregisterHotkeys();
        } else {
          hotkeys_->registerHotkeys();
        }
      }));
  updates_ = std::make_unique<UpdateController>(UpdateController::Dependencies{
      .platform = platform_,
      .defaultCenter = defaultCenter_,
      .localization = *localization_,
      // Until the controller exists start-up is still under way, and the coach may yet come.
      .coachRunning = [this] { return !statusBarController_ || !statusBarController_->onboardingComplete(); },
  });
}

std::string AppEnvironment::appName(const std::string& bundleID) const {
  if (const MenuBarAppItem* item = statusItemManager_->item(bundleID)) return item->name;
  return bundleID;
}

// The members go in reverse of their declaration, which is the order they were built in.
AppEnvironment::~AppEnvironment() = default;

StatusBarController& AppEnvironment::makeStatusBarController() {
  if (!statusBarController_) {
    statusBarController_ = std::make_unique<StatusBarController>(StatusBarController::Dependencies{
        .platform = platform_,
        .defaultCenter = defaultCenter_,
        .workspaceCenter = workspaceCenter_,
        .catalog = *statusItemManager_,
        .localization = *localization_,
        .nativeEngine = *nativeVisibilityEngine_,
    });
    iconShelf_ = std::make_unique<MenuBarAccessController>(MenuBarAccessController::Dependencies{
        .platform = platform_,
        .catalog = *statusItemManager_,
        .categories = *categoryStore_,
        .bar = *statusBarController_,
        .localization = *localization_,
        .defaultCenter = defaultCenter_,
        .systemSymbol = &SystemStatusPresentations::symbol,
        .permission = *accessibilityPermission_,
    });
    iconMover_ = std::make_unique<IconMover>(IconMover::Dependencies{.platform = platform_, .statusBar = *statusBarController_});
    firstLaunchCoach_ = std::make_unique<FirstLaunchCoachController>(FirstLaunchCoachController::Dependencies{
        .platform = platform_,
        .defaultCenter = defaultCenter_,
        .statusBar = *statusBarController_,
        .permission = *accessibilityPermission_,
        .localization = *localization_,
    });
    makeWindows();
    systemNotices_ = std::make_unique<SystemNotices>(SystemNotices::Dependencies{
        .platform = platform_,
        .defaultCenter = defaultCenter_,
        .workspaceCenter = workspaceCenter_,
        .localization = *localization_,
        .bar = *statusBarController_,
    });
    statusBarRouter_ = std::make_unique<StatusBarRouter>(StatusBarRouter::Dependencies{
        .bar = *statusBarController_,
        .shelf = *iconShelf_,
        .preferences = *preferences_,
        .guide = *placementGuide_,
        .coach = *firstLaunchCoach_,
        .notices = *newAppLaunchCenter_,
        .updates = *updates_,
    });
    statusBarController_->noteUpdatesAvailable(updates_->available());
  }
  return *statusBarController_;
}

void AppEnvironment::makeWindows() {
  StatusBarController& bar = *statusBarController_;
  placementGuide_ = std::make_unique<PlacementGuideController>(PlacementGuideController::Dependencies{
      .platform = platform_,
      .localization = *localization_,
      .catalog = *statusItemManager_,
      .categories = *categoryStore_,
      .ledger = *placementLedger_,
      .statusBar = bar,
  });
  preferences_ = std::make_unique<PreferencesController>(PreferencesController::Dependencies{
      .platform = platform_,
      .defaultCenter = defaultCenter_,
      .localization = *localization_,
      .catalog = *statusItemManager_,
      .categories = *categoryStore_,
      .notices = *newAppNotices_,
      .ledger = *placementLedger_,
      .guide = *placementGuide_,
      .behaviour = behaviourSettings(),
  });
  reviewPrompt_ = std::make_unique<ReviewPromptController>(ReviewPromptController::Dependencies{
      .platform = platform_,
      .defaultCenter = defaultCenter_,
      .localization = *localization_,
      .version = PreferencesController::versionText,
      .anchor = [&bar] { return bar.ownItems().coachAnchor(); },
  });
  PlacementGuideController& guide = *placementGuide_;
  PreferencesController& preferences = *preferences_;
  ReviewPromptController& review = *reviewPrompt_;
  // The moments to perhaps ask for a rating: right after the user settled something.
  preferences.setClosedByUserHandler([&review] { review.noteEngagement("preferences-closed"); });
  NewAppLaunchCenter& notices = *newAppLaunchCenter_;
  // What the settings show of the chord follows the recorder as it listens and records.
  auto redraw = [&preferences](const auto&) { preferences.refresh(); };
  windowSubscriptions_.push_back(hotkeys_->recording.subscribe(redraw));
  windowSubscriptions_.push_back(hotkeys_->deepChord.subscribe(redraw));
  windowSubscriptions_.push_back(hotkeys_->conflictMessage.subscribe(redraw));
  windowSubscriptions_.push_back(appShortcuts_->chords.subscribe(redraw));
  windowSubscriptions_.push_back(appShortcuts_->recordingFor.subscribe(redraw));
  windowSubscriptions_.push_back(appShortcuts_->refusal.subscribe(redraw));
  // "Show all and arrange" seats the new icon beside the toggle, where the user will see it.
  notices.setArrangeStarter(
      [&guide](const std::string& bundleID) { return guide.startPlacement(bundleID, ItemCategory::alwaysVisible); });
  guide.setEndedHandler([&notices, &preferences, &review](PlacementGuideController::Outcome outcome) {
    notices.noteGuideEnded();
    preferences.refresh();
    switch (outcome) {
      case PlacementGuideController::Outcome::placed: review.noteEngagement("icon-placed"); break;
      case PlacementGuideController::Outcome::cancelled:
      case PlacementGuideController::Outcome::abandoned: break;
    }
  });
}

PreferencesController::Behaviour AppEnvironment::behaviourSettings() {
  auto& defaults = platform_.defaults();
  StatusBarController& bar = *statusBarController_;
  HotkeyManager& hotkeys = *hotkeys_;
  LaunchAtLogin& login = *launchAtLogin_;
  PreferencesController::Behaviour behaviour;
  behaviour.autoCollapseDelay = [&bar] { return bar.autoCollapse().configuredAutoCollapseDelay(); };
  behaviour.setAutoCollapseDelay = [&defaults](double seconds) {
    defaults.set(AutoCollapse::delayKey, DefaultsValue(MenuBarVisibilityPolicy::autoCollapseDelay(seconds)));
  };
  behaviour.loginItem = [&login] {
    return PreferencesController::LoginItemState{
        .supported = login.isSupported(), .enabled = login.isEnabled(), .needsApproval = login.needsApproval()};
  };
  behaviour.setLaunchAtLogin = [&login](bool enabled) { login.setEnabled(enabled); };
  behaviour.openLoginItemsSettings = [&login] { login.openSystemSettings(); };
  behaviour.revealOnHover = [&bar] { return bar.autoCollapse().revealOnHover(); };
  behaviour.setRevealOnHover = [&bar](bool enabled) { bar.autoCollapse().setRevealOnHover(enabled); };
  behaviour.hotkeyDisplay = [&hotkeys] { return hotkeys.display(hotkeys.deepChord.get()); };
  behaviour.hotkeyRecording = [&hotkeys] { return hotkeys.recording.get(); };
  behaviour.hotkeyConflict = [&hotkeys] { return hotkeys.conflictMessage.get(); };
  behaviour.beginHotkeyRecording = [&hotkeys] { hotkeys.beginRecording(); };
  behaviour.cancelHotkeyRecording = [&hotkeys] { hotkeys.recording = false; };
  // While the system hides by allow-list a zone is only a list entry, so every choice applies at
  // once; with the own separators an always-visible choice goes through the guide.
  NativeVisibilityEngine& engine = *nativeVisibilityEngine_;
  behaviour.nativeEngineAvailable = [&engine] { return engine.isAvailable(); };
  IconMover& mover = *iconMover_;
  PlacementGuideController& guide = *placementGuide_;
  behaviour.moveIcon = [&mover, &guide](const std::string& bundleID,
                                        std::function<void(std::optional<PreferencesController::MoveRefusal>)> done) {
    // The guide that came up for the request still works on this app: it was not cancelled.
    auto wanted = [&guide, key = BundleID(bundleID).key()] { return guide.currentBundleID() == key; };
    mover.move(BundleID(bundleID), wanted, [done = std::move(done)](std::optional<IconMover::Refusal> refusal) {
      using Refusal = IconMover::Refusal;
      using MoveRefusal = PreferencesController::MoveRefusal;
      if (!refusal) return done(std::nullopt);
      const bool userBusy = *refusal == Refusal::buttonHeld || *refusal == Refusal::pointerMoving;
      done(userBusy ? MoveRefusal::userBusy : MoveRefusal::unavailable);
    });
  };
  AppShortcuts& shortcuts = *appShortcuts_;
  behaviour.appShortcut = [&shortcuts](const std::string& bundleID) -> std::optional<std::string> {
    auto chord = shortcuts.chord(bundleID);
    if (!chord) return std::nullopt;
    return HotkeyManager::describe(*chord);
  };
  behaviour.appShortcutRecording = [&shortcuts] { return shortcuts.recordingFor.get(); };
  behaviour.appShortcutProblem = [&shortcuts](const std::string& bundleID) { return shortcuts.problem(bundleID); };
  behaviour.beginAppShortcutRecording = [&shortcuts](const std::string& bundleID) {
    shortcuts.beginRecording(bundleID);
  };
  behaviour.cancelAppShortcutRecording = [&shortcuts] { shortcuts.cancelRecording(); };
  behaviour.clearAppShortcut = [&shortcuts](const std::string& bundleID) { shortcuts.clear(bundleID); };
  DisplayRuleStore& displays = bar.displayRules();
  behaviour.displayRule = [&displays](const std::string& displayID) {
    return DisplayRulePolicy::ruleFor(displays.rules.get(), displayID);
  };
  behaviour.setDisplayRule = [&displays](const std::string& displayID, const DisplayRule& rule) {
    displays.setRule(displayID, rule);
  };
  behaviour.barDisplayID = [&bar] { return bar.barDisplayID(); };
  // An app built without the update framework shows neither the switch nor the button.
  if (updates_->available()) {
    UpdateController& updates = *updates_;
    behaviour.automaticUpdateChecks = [&updates] { return updates.automaticChecks(); };
    behaviour.setAutomaticUpdateChecks = [&updates](bool on) { updates.setAutomaticChecks(on); };
    behaviour.checkForUpdates = [&updates] { updates.checkNow(); };
  }
  return behaviour;
}

std::string AppEnvironment::tr(std::string_view key) { return localization_->tr(key); }

}  // namespace tarvolo
