#include "harness/SimSession.h"

#include "discovery/owners/StatusItemManager.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo::sim {

SimSession::SimSession(std::unique_ptr<SimDesktop> desktop) : desktop_(std::move(desktop)) {
  desktop_->setOwnProcessExitHandler([this] {
    desktop_->setApplicationDelegate(nullptr);
    delegate_.reset();
  });
  // An installed update starts the app again, as the framework's installer does on a Mac.
  desktop_->setOwnRelaunchHandler([this] { launch(); });
}

SimSession::~SimSession() {
  desktop_->setOwnProcessExitHandler(nullptr);
  desktop_->setOwnRelaunchHandler(nullptr);
  desktop_->setApplicationDelegate(nullptr);
  delegate_.reset();
}

void SimSession::launch() {
  if (delegate_) return;
  delegate_ = std::make_unique<AppDelegate>(*desktop_);
  desktop_->setApplicationDelegate(&relay_);
  desktop_->launchOwnApp();
}

void SimSession::quit() {
  if (!delegate_) return;
  desktop_->application().terminate();
  // Termination unwinds on the main queue right after the current work.
  desktop_->queue().runUntil(now());
}

void SimSession::relaunch() {
  quit();
  launch();
}

void SimSession::runUntil(double time) { desktop_->queue().runUntil(time); }

void SimSession::DelegateRelay::applicationDidFinishLaunching() {
  if (session_.delegate_) session_.delegate_->applicationDidFinishLaunching();
}

bool SimSession::DelegateRelay::applicationShouldHandleReopen(bool hasVisibleWindows) {
  return session_.delegate_ && session_.delegate_->applicationShouldHandleReopen(hasVisibleWindows);
}

void SimSession::DelegateRelay::applicationWillTerminate() {
  // Copy: the handler may replace itself.
  if (auto handler = session_.willTerminate_) handler();
  if (session_.delegate_) session_.delegate_->applicationWillTerminate();
}

void SimSession::DelegateRelay::applicationOpenURLs(const std::vector<std::string>& urls) {
  if (session_.delegate_) session_.delegate_->applicationOpenURLs(urls);
}

bool SimSession::DelegateRelay::applicationPerformScriptCommand(std::string_view command) {
  return session_.delegate_ && session_.delegate_->applicationPerformScriptCommand(command);
}

StatusBarController* SimSession::controller() {
  auto* environment = delegate_ ? delegate_->environment() : nullptr;
  return environment ? environment->statusBarController() : nullptr;
}

StatusItemManager* SimSession::statusItemManager() {
  auto* environment = delegate_ ? delegate_->environment() : nullptr;
  return environment ? &environment->statusItemManager() : nullptr;
}

}  // namespace tarvolo::sim
