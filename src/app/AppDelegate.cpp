#include "app/AppDelegate.h"

#include <algorithm>

#include "app/Log.h"
#include "localization/LocalizationManager.h"
#include "statusbar/StatusBarController.h"
#include "ui/ReviewPrompt.h"

namespace tarvolo {

namespace {
constexpr double kPreferencesLaunchDelay = 0.3;
constexpr const char* kPreferencesArguments[] = {"--preferences", "-p", "--show-window"};
}  // namespace

AppDelegate::AppDelegate(platform::Platform& platform)
    : platform_(platform), environment_(std::make_unique<AppEnvironment>(platform)) {
  platform.setSystemEventSink(this);
}

AppDelegate::~AppDelegate() {
  platform_.setSystemEventSink(nullptr);
  environment_.reset();
}

void AppDelegate::applicationDidFinishLaunching() {
  platform_.application().setActivationPolicy(platform::ActivationPolicy::accessory);
  ReviewPrompt::noteLaunch(platform_.defaults(), platform_.clock().currentDate());
  environment_->statusBarController().finishStartup();
  platform_.logSink().writeStandardOutput(launchBanner);

  auto arguments = platform_.system().processArguments();
  for (const char* wanted : kPreferencesArguments) {
    if (std::find(arguments.begin(), arguments.end(), wanted) == arguments.end()) continue;
    platform_.mainQueue().post(kPreferencesLaunchDelay, [weak = weakFactory_.handle()] {
      if (auto* self = weak.get()) self->environment_->statusBarController().openPreferences(std::nullopt);
    });
    break;
  }
}

bool AppDelegate::applicationShouldHandleReopen(bool) {
  environment_->statusBarController().openPreferences(std::nullopt);
  return true;
}

void AppDelegate::applicationWillTerminate() { platform_.logSink().writeStandardOutput(exitBanner); }

void AppDelegate::screenParametersDidChange() {
  environment_->defaultCenter().post(Notifications::applicationDidChangeScreenParameters);
}

void AppDelegate::workspaceDidWake() { environment_->workspaceCenter().post(Notifications::workspaceDidWake); }

void AppDelegate::activeSpaceDidChange() {
  environment_->workspaceCenter().post(Notifications::activeSpaceDidChange);
}

void AppDelegate::applicationDidLaunch(const platform::RunningApplication& app) {
  environment_->workspaceCenter().post(Notification{.name = Notifications::didLaunchApplication, .application = app});
}

void AppDelegate::applicationDidTerminate(const platform::RunningApplication& app) {
  environment_->workspaceCenter().post(
      Notification{.name = Notifications::didTerminateApplication, .application = app});
}

void AppDelegate::applicationDidActivate(const platform::RunningApplication& app) {
  environment_->workspaceCenter().post(
      Notification{.name = Notifications::didActivateApplication, .application = app});
}

void AppDelegate::menuDidBeginTracking() { environment_->defaultCenter().post(Notifications::menuDidBeginTracking); }

void AppDelegate::menuDidEndTracking() { environment_->defaultCenter().post(Notifications::menuDidEndTracking); }

void AppDelegate::preferredLanguagesDidChange() {
  environment_->defaultCenter().post(Notifications::currentLocaleDidChange);
  environment_->localization().systemLanguagesDidChange();
}

}  // namespace tarvolo
