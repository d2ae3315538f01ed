#pragma once

// A simulated macOS desktop: screens with an optional notch, the menu bar with the frontmost
// application's menus, the system's own items and every process's status items, running
// applications, events and the app's defaults domain, all on a virtual clock. Its behaviour
// follows what real Macs do; every choice real Macs leave open is a setting (SimSetup.h).
//
// The desktop puts its parts together and plays what happens to the whole of it (an app
// launches, the screens change, the app's own process starts and ends). Each part owns its own
// state and serves one of the platform's interfaces: the processes and the workspace, the bar
// and the status items, the menus, the user's input, the windows, Accessibility and the window
// list.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimAssessmentMode.h"
#include "platform/sim/SimBar.h"
#include "platform/sim/SimDefaultsStore.h"
#include "platform/sim/SimHotkeys.h"
#include "platform/sim/SimInput.h"
#include "platform/sim/SimMainQueue.h"
#include "platform/sim/SimMenus.h"
#include "platform/sim/SimProcesses.h"
#include "platform/sim/SimScreens.h"
#include "platform/sim/SimServices.h"
#include "platform/sim/SimSinkSlot.h"
#include "platform/sim/SimSetup.h"
#include "platform/sim/SimStatusBar.h"
#include "platform/sim/SimUpdater.h"
#include "platform/sim/SimUserInterface.h"
#include "platform/sim/SimWaitLedger.h"
#include "platform/sim/SimWindowList.h"

namespace tarvolo::sim {

class SimDesktop final : public platform::Platform {
 public:
  SimDesktop(std::vector<SimScreenSetup> screens, std::vector<SimAppSetup> apps, SimSettings settings);
  ~SimDesktop() override;
  SimDesktop(const SimDesktop&) = delete;
  SimDesktop& operator=(const SimDesktop&) = delete;

  // --- platform::Platform, each served by the part that models it
  SimMainQueue& clock() override { return queue_; }
  SimMainQueue& mainQueue() override { return queue_; }
  SimLog& logSink() override { return log_; }
  SimInput& events() override { return input_; }
  SimStatusBar& statusBar() override { return statusBar_; }
  SimScreens& screens() override { return screens_; }
  SimWorkspace& workspace() override { return workspace_; }
  SimWindowList& windowList() override { return windowList_; }
  SimAccessibility& accessibility() override { return accessibility_; }
  SimDefaultsStore& defaults() override { return defaults_; }
  SimSystemInfo& system() override { return system_; }
  SimApplication& application() override { return application_; }
  SimUserInterface& userInterface() override { return ui_; }
  SimAssessmentMode& assessmentMode() override { return assessmentMode_; }
  SimUpdater& updater() override { return updater_; }
  SimHotkeys& hotkeys() override { return hotkeys_; }
  SimLoginItems& loginItems() override { return loginItems_; }
  void setSystemEventSink(platform::SystemEventSink* sink) override { sink_.set(sink); }
  std::unique_ptr<platform::SerialQueue> makeSerialQueue(const std::string& label) override;

  // --- the parts, for driving and reading the desktop
  SimMainQueue& queue() { return queue_; }
  const SimMainQueue& queue() const { return queue_; }
  SimProcesses& processes() { return processes_; }
  const SimProcesses& processes() const { return processes_; }
  SimBar& bar() { return bar_; }
  const SimBar& bar() const { return bar_; }
  SimMenus& menus() { return menus_; }
  const SimMenus& menus() const { return menus_; }
  SimWaitLedger& waits() { return waits_; }
  const SimWaitLedger& waits() const { return waits_; }
  const SimLog& logSink() const { return log_; }
  const SimInput& events() const { return input_; }
  const SimScreens& screens() const { return screens_; }
  const SimWorkspace& workspace() const { return workspace_; }
  const SimWindowList& windowList() const { return windowList_; }
  const SimAccessibility& accessibility() const { return accessibility_; }
  const SimDefaultsStore& defaults() const { return defaults_; }
  const SimApplication& application() const { return application_; }
  const SimUserInterface& userInterface() const { return ui_; }
  const SimAssessmentMode& assessmentMode() const { return assessmentMode_; }
  const SimUpdater& updater() const { return updater_; }
  const SimHotkeys& hotkeys() const { return hotkeys_; }
  const SimLoginItems& loginItems() const { return loginItems_; }
  const SimSettings& settings() const { return settings_; }
  SimSettings& mutableSettings() { return settings_; }

  // --- the app's process
  void setApplicationDelegate(platform::ApplicationDelegate* delegate) { delegate_ = delegate; }
  // Called once the app's process has exited, when nothing of it is on the stack any more.
  void setOwnProcessExitHandler(std::function<void()> handler) { onOwnExit_ = std::move(handler); }
  // Starts the app's process again after an installed update; whoever made the process sets it.
  void setOwnRelaunchHandler(std::function<void()> handler) { onOwnRelaunch_ = std::move(handler); }
  // Starts the app's process: didFinishLaunching runs now.
  void launchOwnApp();
  // The process ends without tidying up: its items vanish, stored positions stay.
  void ownProcessExited();
  // Reopening from the Dock or Finder also makes the app active.
  void reopenOwnApp();
  // The user brings Tarvolo to the front (clicks one of its windows, or comes back to it).
  void activateOwnApp();
  // Opens a URL of the app's scheme; false when the app is not running.
  bool openURL(const std::string& url);
  // Sends the app an AppleScript command; absent when the app is not running, else whether it
  // knew the command.
  std::optional<bool> runAppleScriptCommand(const std::string& command);
  void replaceDefaults(SimDefaultsStore store) { defaults_ = std::move(store); }

  // --- what happens to the desktop
  void setFrontmost(const std::string& bundleId);
  // Reported to the app only for regular and accessory apps, as the workspace announces them.
  void launchApp(const std::string& bundleId);
  void terminateApp(const std::string& bundleId);
  // A running app changes its first item's length, as an app drawing a long spacer does; false
  // when it runs no item.
  bool resizeFirstItem(const std::string& bundleId, double length);
  void addApp(SimAppSetup app);
  void setScreens(std::vector<SimScreenSetup> screens);
  void setPreferredLanguages(std::vector<std::string> languages);
  void wake();
  void changeSpace();

 private:
  // Termination has unwound: the delegate hears of it and the process ends.
  void terminateOwnProcess();

  // Declared in the order they are built: each part sees only those before it.
  SimSettings settings_;
  SimMainQueue queue_;
  SimDefaultsStore defaults_;
  SimWaitLedger waits_;
  SimSinkSlot sink_;
  SimLog log_;
  SimProcesses processes_;
  SimScreens screens_;
  SimAssessmentMode assessmentMode_;
  SimBar bar_;
  SimMenus menus_;
  SimStatusBar statusBar_;
  SimAccessibility accessibility_;
  SimWindowList windowList_;
  SimUserInterface ui_;
  SimApplication application_;
  SimHotkeys hotkeys_;
  SimInput input_;
  SimWorkspace workspace_;
  SimSystemInfo system_;
  SimLoginItems loginItems_;
  SimUpdater updater_;
  platform::ApplicationDelegate* delegate_ = nullptr;
  std::function<void()> onOwnExit_;
  std::function<void()> onOwnRelaunch_;
};

}  // namespace tarvolo::sim
