// The Mac backend's single object: owns one of each service and the system observer.
//
// No OS quirks of its own; the quirks live with the service they affect. Teardown order
// matters: the observer goes first, so no notification or KVO callback reaches the sink while
// the services are going away (queued blocks already hold the queue's state only weakly).

#include "platform/macos/MacPlatform.h"

#include "platform/macos/MacBackend.h"
#include "platform/macos/MacWindows.h"

namespace tarvolo::platform {

struct MacPlatform::Impl {
  mac::MacClock clock;
  mac::MacMainQueue mainQueue;
  mac::MacLogSink logSink;
  mac::MacEvents events;
  mac::MacStatusBar statusBar;
  mac::MacScreens screens;
  mac::MacWorkspace workspace;
  mac::MacWindowList windowList;
  mac::MacAccessibility accessibility;
  mac::MacDefaults defaults;
  mac::MacSystemInfo system;
  mac::MacApplication application;
  mac::MacUserInterface userInterface;
  mac::MacAssessmentMode assessmentMode;
  mac::MacUpdater updater;
  mac::MacHotkeyService hotkeys;
  mac::MacLoginItemService loginItems;
  // Last, so it is destroyed first.
  mac::MacSystemObserver observer;
};

MacPlatform::MacPlatform() : impl_(std::make_unique<Impl>()) {}

MacPlatform::~MacPlatform() = default;

Clock& MacPlatform::clock() { return impl_->clock; }
MainQueue& MacPlatform::mainQueue() { return impl_->mainQueue; }
LogSink& MacPlatform::logSink() { return impl_->logSink; }
Events& MacPlatform::events() { return impl_->events; }
StatusBar& MacPlatform::statusBar() { return impl_->statusBar; }
Screens& MacPlatform::screens() { return impl_->screens; }
Workspace& MacPlatform::workspace() { return impl_->workspace; }
WindowList& MacPlatform::windowList() { return impl_->windowList; }
Accessibility& MacPlatform::accessibility() { return impl_->accessibility; }
DefaultsStore& MacPlatform::defaults() { return impl_->defaults; }
SystemInfo& MacPlatform::system() { return impl_->system; }
Application& MacPlatform::application() { return impl_->application; }
UserInterface& MacPlatform::userInterface() { return impl_->userInterface; }
AssessmentMode& MacPlatform::assessmentMode() { return impl_->assessmentMode; }
Updater& MacPlatform::updater() { return impl_->updater; }
HotkeyService& MacPlatform::hotkeys() { return impl_->hotkeys; }
LoginItemService& MacPlatform::loginItems() { return impl_->loginItems; }
void MacPlatform::setSystemEventSink(SystemEventSink* sink) { impl_->observer.setSink(sink); }
std::unique_ptr<SerialQueue> MacPlatform::makeSerialQueue(const std::string& label) {
  return std::make_unique<mac::MacSerialQueue>(label);
}

}  // namespace tarvolo::platform
