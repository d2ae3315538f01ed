#include "platform/sim/SimDesktop.h"

#include "platform/sim/SimSerialQueue.h"

namespace tarvolo::sim {

namespace {

// The workspace's launch and terminate notifications cover the apps a user runs, with or without a
// Dock icon; background-only processes (daemons, helpers, XPC services) come and go unannounced.
bool reportsLaunchAndTermination(platform::ActivationPolicy policy) {
  switch (policy) {
    case platform::ActivationPolicy::regular:
    case platform::ActivationPolicy::accessory: return true;
    case platform::ActivationPolicy::prohibited: return false;
  }
  return false;
}

}  // namespace

SimDesktop::SimDesktop(std::vector<SimScreenSetup> screens, std::vector<SimAppSetup> apps, SimSettings settings)
    : settings_(std::move(settings)),
      log_(queue_),
      processes_(queue_),
      screens_(std::move(screens)),
      assessmentMode_(settings_, queue_),
      bar_({.settings = settings_,
            .queue = queue_,
            .defaults = defaults_,
            .screens = screens_,
            .processes = processes_,
            .assessmentMode = assessmentMode_}),
      menus_({.clock = queue_, .sink = sink_, .bar = bar_, .processes = processes_}),
      statusBar_({.settings = settings_, .bar = bar_, .menus = menus_, .defaults = defaults_}),
      accessibility_({.settings = settings_,
                      .queue = queue_,
                      .processes = processes_,
                      .bar = bar_,
                      .menus = menus_,
                      .screens = screens_,
                      .waits = waits_}),
      windowList_({.desktopSettings = settings_,
                   .screens = screens_,
                   .bar = bar_,
                   .processes = processes_,
                   .menus = menus_}),
      ui_(queue_, screens_),
      application_(processes_, queue_),
      hotkeys_(settings_),
      input_({.settings = settings_,
              .queue = queue_,
              .screens = screens_,
              .bar = bar_,
              .menus = menus_,
              .processes = processes_,
              .hotkeys = hotkeys_,
              .accessibility = accessibility_,
              .ui = ui_,
              .application = application_}),
      workspace_(processes_, bar_),
      system_(settings_),
      loginItems_(settings_),
      updater_(settings_, queue_) {
  assessmentMode_.setRestrictionChangedHandler([this] { bar_.relayout(); });
  menus_.setForeignMenuClosedHandler(
      [this](int pid, int itemId) { accessibility_.notify(pid, itemId, "AXMenuClosed"); });
  application_.setTerminationHandler([this] { terminateOwnProcess(); });
  updater_.setTerminateHandler([this] { application_.terminate(); });
  updater_.setRelaunchHandler([this] {
    if (onOwnRelaunch_) onOwnRelaunch_();
  });
  for (auto& app : apps) addApp(std::move(app));
}

// A pending task may hold objects whose release reaches any part of the desktop (a background
// queue cancelling on the main queue, an observer leaving the Accessibility model): drop them
// while every part still stands.
SimDesktop::~SimDesktop() { queue_.discardPending(); }

std::unique_ptr<platform::SerialQueue> SimDesktop::makeSerialQueue(const std::string& label) {
  return std::make_unique<SimSerialQueue>(queue_, waits_, label);
}

// --- the app's process ---------------------------------------------------------------------------

void SimDesktop::launchOwnApp() {
  if (processes_.ownAppRunning()) return;
  processes_.setOwnAppRunning(true);
  processes_.setOwnActivationPolicy(platform::ActivationPolicy::regular);
  if (delegate_) delegate_->applicationDidFinishLaunching();
}

void SimDesktop::reopenOwnApp() {
  if (processes_.ownAppRunning() && delegate_) delegate_->applicationShouldHandleReopen(ui_.preferences().isShown());
  activateOwnApp();
}

void SimDesktop::activateOwnApp() {
  if (!processes_.ownAppRunning()) return;
  sink_.report([](platform::SystemEventSink& sink) { sink.applicationDidBecomeActive(); });
}

void SimDesktop::terminateOwnProcess() {
  if (!processes_.ownAppRunning()) return;
  if (delegate_) delegate_->applicationWillTerminate();
  ownProcessExited();
}

void SimDesktop::ownProcessExited() {
  processes_.setOwnAppRunning(false);
  bar_.ownProcessExited();
  input_.ownProcessExited();
  hotkeys_.ownProcessExited();
  menus_.ownProcessExited();
  sink_.set(nullptr);
  ui_.ownProcessExited();
  application_.ownProcessExited();
  bar_.relayout();
  updater_.ownProcessExited();
  if (onOwnExit_) onOwnExit_();
}

bool SimDesktop::openURL(const std::string& url) {
  if (!processes_.ownAppRunning() || !delegate_) return false;
  delegate_->applicationOpenURLs({url});
  return true;
}

std::optional<bool> SimDesktop::runAppleScriptCommand(const std::string& command) {
  if (!processes_.ownAppRunning() || !delegate_) return std::nullopt;
  return delegate_->applicationPerformScriptCommand(command);
}

// --- what happens to the desktop -----------------------------------------------------------------

void SimDesktop::addApp(SimAppSetup app) {
  SimAppSetup& added = processes_.add(std::move(app));
  if (added.running) bar_.spawn(processes_.pidFor(added.bundleId), added.items);
}

void SimDesktop::launchApp(const std::string& bundleId) {
  SimAppSetup* app = processes_.find(bundleId);
  if (!app || app->running) return;
  processes_.launched(*app);
  bar_.spawn(processes_.pidFor(app->bundleId), app->items);
  if (!reportsLaunchAndTermination(app->activation)) return;
  sink_.report([&](platform::SystemEventSink& sink) { sink.applicationDidLaunch(processes_.runningApp(*app)); });
}

void SimDesktop::terminateApp(const std::string& bundleId) {
  SimAppSetup* app = processes_.find(bundleId);
  if (!app || !app->running) return;
  processes_.terminated(*app);
  const int pid = processes_.pidFor(app->bundleId);
  // The process exits: its items vanish, the positions it stored stay.
  if (const auto* menu = menus_.foreignMenu(); menu && menu->ownerBundleId == app->bundleId) {
    menus_.closeForeignMenu("quit");
  }
  for (const SimItemState* gone : bar_.itemsOf(pid)) accessibility_.notify(pid, gone->id, "AXUIElementDestroyed");
  bar_.removeItemsOf(pid);
  if (!reportsLaunchAndTermination(app->activation)) return;
  sink_.report([&](platform::SystemEventSink& sink) { sink.applicationDidTerminate(processes_.runningApp(*app)); });
}

bool SimDesktop::resizeFirstItem(const std::string& bundleId, double length) {
  const SimAppSetup* app = processes_.find(bundleId);
  if (!app || !app->running) return false;
  auto items = bar_.itemsOf(processes_.pidFor(app->bundleId));
  if (items.empty()) return false;
  SimItemState* first = bar_.item(items.front()->id);
  first->length = length;
  bar_.relayout();
  return true;
}

void SimDesktop::setFrontmost(const std::string& bundleId) {
  SimAppSetup* app = processes_.find(bundleId);
  if (!app || !app->running) return;
  processes_.setFrontmost(app->bundleId);
  bar_.relayout();
  sink_.report([&](platform::SystemEventSink& sink) { sink.applicationDidActivate(processes_.runningApp(*app)); });
}

void SimDesktop::setScreens(std::vector<SimScreenSetup> screens) {
  if (!screens_.replace(std::move(screens))) return;
  bar_.relayout();
  sink_.report([](platform::SystemEventSink& sink) { sink.screenParametersDidChange(); });
}

void SimDesktop::setPreferredLanguages(std::vector<std::string> languages) {
  settings_.preferredLanguages = std::move(languages);
  sink_.report([](platform::SystemEventSink& sink) { sink.preferredLanguagesDidChange(); });
}

void SimDesktop::wake() {
  sink_.report([](platform::SystemEventSink& sink) { sink.workspaceDidWake(); });
}

void SimDesktop::changeSpace() {
  sink_.report([](platform::SystemEventSink& sink) { sink.activeSpaceDidChange(); });
}

}  // namespace tarvolo::sim
