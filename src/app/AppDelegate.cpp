#include "app/AppDelegate.h"

#include <algorithm>
#include <utility>

#include "app/Diagnostics.h"
#include "base/Log.h"
#include "discovery/owners/StatusItemManager.h"
#include "hotkeys/AppShortcuts.h"
#include "hotkeys/HotkeyManager.h"
#include "intents/SystemActions.h"
#include "localization/LocalizationManager.h"
#include "native/owners/NativeVisibilityEngine.h"
#include "statusbar/StatusBarController.h"
#include "ui/ReviewPrompt.h"
#include "ui/UpdateController.h"

namespace tarvolo {

namespace {
constexpr double kPreferencesLaunchDelay = 0.3;
constexpr const char* kPreferencesArguments[] = {"--preferences", "-p", "--show-window"};
constexpr const char* kDiagnoseArgument = "--diagnose";
// Long enough for the own items' first frames and the start-up collapse's first verdict.
constexpr double kDiagnoseDelay = 3.0;
}  // namespace

AppDelegate::AppDelegate(platform::Platform& platform) : platform_(platform) {}

AppDelegate::~AppDelegate() {
  platform_.setSystemEventSink(nullptr);
  environment_.reset();
}

void AppDelegate::applicationDidFinishLaunching() {
  environment_ = std::make_unique<AppEnvironment>(platform_);
  platform_.setSystemEventSink(this);
  platform_.application().setActivationPolicy(platform::ActivationPolicy::accessory);
  environment_->updates().start();
  ReviewPrompt::noteUse(platform_.defaults(), platform_.clock().currentDate());
  environment_->hotkeys().registerHotkeys();
  environment_->appShortcuts().registerAll();
  environment_->statusItemManager().scanRunningApplications();
  environment_->makeStatusBarController().finishStartup();
  // About's "Copy Diagnostics" gives the same text as --diagnose prints.
  environment_->preferences()->setDiagnosticsSource([weak = weakFactory_.handle()] {
    auto* self = weak.get();
    return self && self->environment_ ? Diagnostics::text(*self->environment_) : std::string();
  });
  installMainMenu();
  platform_.logSink().writeStandardOutput(launchBanner);
  if (!pendingURLs_.empty()) applicationOpenURLs(std::exchange(pendingURLs_, {}));

  auto arguments = platform_.system().processArguments();
  if (std::find(arguments.begin(), arguments.end(), kDiagnoseArgument) != arguments.end()) {
    // Prints what a user can send, then quits as the Quit item does.
    platform_.mainQueue().post(kDiagnoseDelay, [weak = weakFactory_.handle()] {
      auto* self = weak.get();
      if (!self) return;
      for (const auto& line : Diagnostics::report(*self->environment_)) {
        self->platform_.logSink().writeStandardOutput(line);
      }
      self->platform_.application().terminate();
    });
    return;
  }
  for (const char* wanted : kPreferencesArguments) {
    if (std::find(arguments.begin(), arguments.end(), wanted) == arguments.end()) continue;
    platform_.mainQueue().post(kPreferencesLaunchDelay, [weak = weakFactory_.handle()] {
      if (auto* self = weak.get()) self->environment_->statusBarController()->openPreferences(std::nullopt);
    });
    break;
  }
}

// Without a menu bar of its own the app still answers ⌘, and ⌘Q while one of its windows is key.
void AppDelegate::installMainMenu() {
  auto& localization = environment_->localization();
  auto openPreferences = [weak = weakFactory_.handle()] {
    auto* self = weak.get();
    if (self && self->environment_ && self->environment_->statusBarController()) {
      self->environment_->statusBarController()->openPreferences(std::nullopt);
    }
  };
  platform::Menu menu;
  menu.items.push_back(platform::MenuItem{.title = localization.tr("menu_preferences"),
                                          .action = "openPreferences",
                                          .keyEquivalent = ",",
                                          .perform = openPreferences});
  menu.items.push_back(platform::MenuItem::separator());
  menu.items.push_back(platform::MenuItem{.title = localization.tr("menu_quit"),
                                          .action = "quitApp",
                                          .keyEquivalent = "q",
                                          .perform = [&application = platform_.application()] { application.terminate(); }});
  platform_.application().setMainMenu(menu);
}

bool AppDelegate::applicationShouldHandleReopen(bool) {
  if (environment_ && environment_->statusBarController()) {
    environment_->statusBarController()->openPreferences(std::nullopt);
  }
  return true;
}

void AppDelegate::applicationWillTerminate() {
  if (environment_) environment_->hotkeys().unregisterHotkeys();
  if (environment_) environment_->appShortcuts().unregisterAll();
  // Nothing may stay hidden by the system once the app has gone.
  if (environment_) environment_->nativeVisibilityEngine().expand();
  platform_.logSink().writeStandardOutput(exitBanner);
}

void AppDelegate::applicationOpenURLs(const std::vector<std::string>& urls) {
  auto* controller = environment_ ? environment_->statusBarController() : nullptr;
  if (!controller) {
    pendingURLs_.insert(pendingURLs_.end(), urls.begin(), urls.end());
    return;
  }
  for (const auto& url : urls) {
    if (auto action = SystemActions::actionForURL(url)) {
      SystemActions::perform(*action, *controller);
    } else {
      Diag::log(LogLine("url ignored").add("url", url));
    }
  }
}

bool AppDelegate::applicationPerformScriptCommand(std::string_view command) {
  auto* controller = environment_ ? environment_->statusBarController() : nullptr;
  auto action = SystemActions::actionForScriptCommand(command);
  Diag::log(LogLine("script command").add("command", command).add("known", action.has_value()));
  if (!controller || !action) return false;
  SystemActions::perform(*action, *controller);
  return true;
}

void AppDelegate::screenParametersDidChange() {
  environment_->defaultCenter().post(Notifications::applicationDidChangeScreenParameters);
}

void AppDelegate::workspaceDidWake() { environment_->workspaceCenter().post(Notifications::workspaceDidWake); }

void AppDelegate::activeSpaceDidChange() {
  environment_->workspaceCenter().post(Notifications::activeSpaceDidChange);
}

void AppDelegate::applicationDidLaunch(const platform::RunningApplication& app) {
  environment_->workspaceCenter().post(Notification{.name = Notifications::didLaunchApplication, .object = app});
}

void AppDelegate::applicationDidTerminate(const platform::RunningApplication& app) {
  environment_->workspaceCenter().post(
      Notification{.name = Notifications::didTerminateApplication, .object = app});
}

void AppDelegate::applicationDidActivate(const platform::RunningApplication& app) {
  environment_->workspaceCenter().post(
      Notification{.name = Notifications::didActivateApplication, .object = app});
}

void AppDelegate::menuDidBeginTracking() { environment_->defaultCenter().post(Notifications::menuDidBeginTracking); }

void AppDelegate::menuDidEndTracking() { environment_->defaultCenter().post(Notifications::menuDidEndTracking); }

void AppDelegate::applicationDidBecomeActive() {
  environment_->defaultCenter().post(Notifications::applicationDidBecomeActive);
}

void AppDelegate::preferredLanguagesDidChange() {
  environment_->defaultCenter().post(Notifications::currentLocaleDidChange);
  environment_->localization().systemLanguagesDidChange();
}

}  // namespace tarvolo
