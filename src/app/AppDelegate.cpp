#include "app/AppDelegate.h"

#include <algorithm>

#include "base/Log.h"
#include "discovery/tracking/StatusItemManager.h"
#include "localization/LocalizationManager.h"
#include "native/engine/NativeVisibilityEngine.h"
#include "statusbar/StatusBarController.h"
#include "ui/ReviewPrompt.h"

namespace tarvolo {

namespace {
constexpr double kPreferencesLaunchDelay = 0.3;
constexpr const char* kPreferencesArguments[] = {"--preferences", "-p", "--show-window"};
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
  ReviewPrompt::noteLaunch(platform_.defaults(), platform_.clock().currentDate());
  environment_->statusItemManager().scanRunningApplications();
  environment_->makeStatusBarController().finishStartup();
  platform_.logSink().writeStandardOutput(launchBanner);

  auto arguments = platform_.system().processArguments();
  for (const char* wanted : kPreferencesArguments) {
    if (std::find(arguments.begin(), arguments.end(), wanted) == arguments.end()) continue;
    platform_.mainQueue().post(kPreferencesLaunchDelay, [weak = weakFactory_.handle()] {
      if (auto* self = weak.get()) self->environment_->statusBarController()->openPreferences(std::nullopt);
    });
    break;
  }
}

bool AppDelegate::applicationShouldHandleReopen(bool) {
  if (environment_ && environment_->statusBarController()) {
    environment_->statusBarController()->openPreferences(std::nullopt);
  }
  return true;
}

void AppDelegate::applicationWillTerminate() {
  // Nothing may stay hidden by the system once the app has gone.
  if (environment_) environment_->nativeVisibilityEngine().expand();
  platform_.logSink().writeStandardOutput(exitBanner);
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

void AppDelegate::preferredLanguagesDidChange() {
  environment_->defaultCenter().post(Notifications::currentLocaleDidChange);
  environment_->localization().systemLanguagesDidChange();
}

}  // namespace tarvolo
