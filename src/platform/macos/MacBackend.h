#pragma once

// Objective-C++ internals of the Mac backend; include only from .mm files in this directory
// (and the backend's own tests). MacPlatform.h is the plain C++ face of all this; the app's own
// windows are declared in MacWindows.h.

#import <AppKit/AppKit.h>
#include <os/log.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/Platform.h"
#include "platform/macos/MacPendingTasks.h"
#include "platform/macos/MacUpdateFramework.h"

// Forwards an AppKit target/action message to a C++ closure.
@interface TRVActionTarget : NSObject
- (instancetype)initWithAction:(std::function<void()>)action;
- (void)perform:(id)sender;
@end

// The update framework's user driver: it forwards every call of the framework to the core's
// listener and keeps the framework's reply, cancellation and acknowledgement blocks until the
// user answers (MacUpdater.mm). Each method below is the framework's own selector.
@interface TRVUpdateUserDriver : NSObject
- (instancetype)initWithListener:(tarvolo::platform::UpdaterListener*)listener;
// Nothing reaches the listener any more; a question still open is answered "dismiss".
- (void)detach;
// The user's answer to the update found or ready; NO when no question is open.
- (BOOL)answer:(TRVUpdateChoice)choice;
// Stops the check or the download under way; NO when neither runs.
- (BOOL)cancel;
// The user saw how the session ended; NO when nothing waits for that.
- (BOOL)acknowledge;

- (void)showUpdatePermissionRequest:(id)request reply:(void (^)(id))reply;
- (void)showUserInitiatedUpdateCheckWithCancellation:(void (^)(void))cancellation;
- (void)showUpdateFoundWithAppcastItem:(id<TRVFrameworkAppcastItem>)appcastItem
                                 state:(id)state
                                 reply:(void (^)(TRVUpdateChoice))reply;
- (void)showUpdateReleaseNotesWithDownloadData:(id<TRVFrameworkDownloadData>)downloadData;
- (void)showUpdateReleaseNotesFailedToDownloadWithError:(NSError*)error;
- (void)showUpdateNotFoundWithError:(NSError*)error acknowledgement:(void (^)(void))acknowledgement;
- (void)showUpdaterError:(NSError*)error acknowledgement:(void (^)(void))acknowledgement;
- (void)showDownloadInitiatedWithCancellation:(void (^)(void))cancellation;
- (void)showDownloadDidReceiveExpectedContentLength:(uint64_t)expectedContentLength;
- (void)showDownloadDidReceiveDataOfLength:(uint64_t)length;
- (void)showDownloadDidStartExtractingUpdate;
- (void)showExtractionReceivedProgress:(double)progress;
- (void)showReadyToInstallAndRelaunch:(void (^)(TRVUpdateChoice))reply;
- (void)showInstallingUpdateWithApplicationTerminated:(BOOL)applicationTerminated
                          retryTerminatingApplication:(void (^)(void))retryTerminatingApplication;
- (void)showUpdateInstalledAndRelaunched:(BOOL)relaunched acknowledgement:(void (^)(void))acknowledgement;
- (void)showUpdateInFocus;
- (void)dismissUpdateInstallation;
@end

namespace tarvolo::platform::mac {

// ---------------------------------------------------------------------------------------------
// Translation at the edge (MacTranslate.mm)

NSString* nsString(std::string_view text);
std::string stdString(NSString* text);
Rect rectFrom(NSRect rect);
Point pointFrom(NSPoint point);

EventType eventTypeFrom(NSEventType type);
// `other` has no single AppKit counterpart and selects nothing.
NSEventMask nsEventMask(EventMask mask);
Event eventFrom(NSEvent* event);
ModifierFlags modifierFlagsFrom(NSEventModifierFlags flags);

ActivationPolicy activationPolicyFrom(NSApplicationActivationPolicy policy);
NSApplicationActivationPolicy nsActivationPolicy(ActivationPolicy policy);
RunningApplication runningApplicationFrom(NSRunningApplication* app);
// Whether the workspace announces the app's launch and termination: regular and accessory
// apps, not background-only processes.
bool isAnnouncedApplication(NSRunningApplication* app);

// Property-list objects the store cannot represent (data, dates) are absent; inside arrays and
// dictionaries they are skipped.
std::optional<DefaultsValue> defaultsValueFrom(id object);
id propertyListFrom(const DefaultsValue& value);

// Menu-bar height from the screen's frames, or `fallback` when the bar takes no room (hidden
// menu bar, or a secondary screen without its own bar).
double menuBarHeight(NSRect frame, NSRect visibleFrame, double fallback);

// macOS major version, seeing through the compatibility numbering old-SDK apps are shown.
int effectiveOSMajorVersion(int reportedMajor, int darwinMajor);

// ---------------------------------------------------------------------------------------------
// Services (MacServices.mm)

class MacClock final : public Clock {
 public:
  double now() const override;
  double currentDate() const override;
};

class MacMainQueue final : public MainQueue {
 public:
  MacMainQueue();
  TaskId post(double delaySeconds, std::function<void()> task) override;
  void cancel(TaskId id) override;

 private:
  // Tasks due within a second (probes, verifications) and the activity that keeps App Nap from
  // delaying them while any is pending.
  struct PromptTasks;
  std::shared_ptr<MacPendingTasks> pending_;
};

class MacLogSink final : public LogSink {
 public:
  MacLogSink();
  void write(LogCategory category, std::string_view message) override;
  void writeStandardOutput(std::string_view line) override;
  void writeSystemLog(std::string_view line) override;

 private:
  os_log_t menubar_;
  os_log_t state_;
};

class MacDefaults final : public DefaultsStore {
 public:
  std::optional<DefaultsValue> object(const std::string& key) const override;
  void set(const std::string& key, DefaultsValue value) override;
  void remove(const std::string& key) override;
  std::vector<std::string> keys() const override;
};

class MacSystemInfo final : public SystemInfo {
 public:
  int osMajorVersion() const override;
  std::optional<std::string> osBuildVersion() const override;
  std::vector<std::string> preferredLanguages() const override;
  std::vector<std::string> processArguments() const override;
  std::string ownBundleIdentifier() const override;
  std::string homeDirectory() const override;
};

class MacApplication final : public Application {
 public:
  void setActivationPolicy(ActivationPolicy policy) override;
  ActivationPolicy activationPolicy() const override;
  void terminate() override;
  void setMainMenu(const Menu& appCommands) override;
  void copyToPasteboard(const std::string& text) override;
  void openURL(const std::string& address) override;

 private:
  // The menu items hold their targets weakly.
  NSMutableArray<TRVActionTarget*>* menuTargets_ = nil;
};

// ---------------------------------------------------------------------------------------------
// Events (MacEvents.mm)

class MacEvents final : public Events {
 public:
  Point mouseLocation() const override;
  std::uint32_t pressedMouseButtons() const override;
  ModifierFlags modifierFlags() const override;
  std::optional<Event> currentEvent() const override;
  std::unique_ptr<Registration> addGlobalMonitor(EventMask mask, std::function<void(const Event&)> handler) override;
  std::unique_ptr<Registration> addLocalMonitor(
      EventMask mask, std::function<std::optional<Event>(const Event&)> handler) override;
  bool mayPostEvents() const override;
  bool mouseButtonHeld() const override;
  Point cursorPosition() const override;
  void postMouseEvent(const SyntheticMouseEvent& event) override;
  void warpCursor(Point topLeft) override;
};

// ---------------------------------------------------------------------------------------------
// Background queues (MacSerialQueue.mm)

class MacSerialQueue final : public SerialQueue {
 public:
  explicit MacSerialQueue(const std::string& label);
  ~MacSerialQueue() override;
  TaskId post(double delaySeconds, std::function<void()> task) override;
  void cancel(TaskId id) override;
  void runOnMainSync(const std::function<void()>& task) override;
  void postToMain(std::function<void()> task) override;

 private:
  dispatch_queue_t queue_;
  std::shared_ptr<MacPendingTasks> pending_;
};

// ---------------------------------------------------------------------------------------------
// Status bar (MacStatusBar.mm)

class MacStatusItem final : public StatusItem {
 public:
  explicit MacStatusItem(NSStatusItem* item);
  ~MacStatusItem() override;

  NSStatusItem* nativeItem() const { return item_; }

  const std::string& autosaveName() const override;
  void setLength(double length) override;
  double length() const override;
  void setVisible(bool visible) override;
  bool isVisible() const override;
  bool hasButton() const override;
  std::optional<Rect> buttonFrameOnScreen() const override;
  std::optional<Rect> windowFrame() const override;
  void setTitle(const std::string& title) override;
  bool setSymbolImage(const std::string& symbolName, double pointSize) override;
  void setToolTip(const std::string& text) override;
  void setAccessibilityLabel(const std::string& text) override;
  void setAction(EventMask sendOn, std::function<void(std::optional<Event>)> action) override;
  void popUpMenu(const Menu& menu) override;

 private:
  NSStatusItem* item_;
  std::string autosaveName_;
  // The button holds its target weakly.
  TRVActionTarget* actionTarget_ = nil;
  // The last menu shown, kept alive until the next one: its items' targets live in it.
  NSMenu* lastMenu_ = nil;
};

class MacStatusBar final : public StatusBar {
 public:
  std::unique_ptr<StatusItem> createStatusItem(double length, const std::string& autosaveName) override;
  void removeStatusItem(std::unique_ptr<StatusItem> item) override;
  double thickness() const override;
};

// ---------------------------------------------------------------------------------------------
// Screens and workspace (MacWorkspace.mm)

class MacScreens final : public Screens {
 public:
  std::vector<ScreenInfo> screens() const override;
};

class MacWorkspace final : public Workspace {
 public:
  // Starts reading the menus' right end and watches for what changes it (MacWindowServer.mm).
  MacWorkspace();
  ~MacWorkspace() override;
  MacWorkspace(const MacWorkspace&) = delete;
  MacWorkspace& operator=(const MacWorkspace&) = delete;

  std::vector<RunningApplication> runningApplications() const override;
  std::optional<RunningApplication> frontmostApplication() const override;
  std::optional<RunningApplication> menuBarOwningApplication() const override;
  // Read through Accessibility on a background queue (MacWindowServer.mm), so absent until
  // Tarvolo is trusted; answers with the last reading.
  std::optional<double> applicationMenusMaxX() const override;
  bool openURL(const std::string& url) override;

  struct MenusReading;

 private:
  std::shared_ptr<MenusReading> menus_;
  NSMutableArray<id>* menusTokens_;
  id menusOwnerObserver_;
};

// Watches the system and reports to the sink it is given; stops watching when destroyed.
class MacSystemObserver {
 public:
  MacSystemObserver();
  ~MacSystemObserver();
  MacSystemObserver(const MacSystemObserver&) = delete;
  MacSystemObserver& operator=(const MacSystemObserver&) = delete;

  void setSink(SystemEventSink* sink) { slot_->sink = sink; }

 private:
  struct Slot {
    SystemEventSink* sink = nullptr;
  };
  std::shared_ptr<Slot> slot_;
  NSMutableArray<id>* workspaceTokens_;
  NSMutableArray<id>* centerTokens_;
  id runningApplicationsObserver_;
};

// ---------------------------------------------------------------------------------------------
// Window server and Accessibility (MacWindowServer.mm)

// One description of CGWindowListCopyWindowInfo; missing or malformed keys become absent or
// empty values, never a failure.
WindowInfo windowInfoFrom(NSDictionary* description);

class MacWindowList final : public WindowList {
 public:
  std::optional<std::vector<WindowInfo>> onScreenWindows(DesktopElements desktopElements) const override;
};

class MacAccessibility final : public Accessibility {
 public:
  bool isProcessTrusted() const override;
  bool requestTrustWithPrompt() override;
  std::optional<std::vector<AccessibilityMenuBarItem>> extrasMenuBarItems(int pid) const override;
  // Elements (MacAXElements.mm).
  AXElement systemWideElement() override;
  AXElement applicationElement(int pid) override;
  std::optional<int> processID(const AXElement& element) override;
  void setMessagingTimeout(const AXElement& element, double seconds) override;
  AXResult<AXValue> attribute(const AXElement& element, const std::string& name) override;
  AXResult<std::vector<std::string>> actionNames(const AXElement& element) override;
  AXError performAction(const AXElement& element, const std::string& action) override;
  AXResult<AXElement> elementAtPosition(const AXElement& root, Point topLeft) override;
  std::unique_ptr<AXObserver> makeObserver(int pid, AXNotificationHandler handler) override;
};

// ---------------------------------------------------------------------------------------------
// The system's assessment mode (MacAssessmentMode.mm)

class MacAssessmentMode final : public AssessmentMode {
 public:
  bool loadFramework() override;
  bool classesAvailable() const override;
  std::unique_ptr<AssessmentModeAssertion> createAssertion(const AssessmentModeConfiguration& configuration) override;

 private:
  std::optional<bool> loaded_;
  void* handle_ = nullptr;
};

// ---------------------------------------------------------------------------------------------
// The update framework, loaded from the app's Frameworks folder (MacUpdater.mm)

// What the window says of a framework error: the failures it words itself, else the
// framework's own description.
UpdateError updateErrorFrom(NSError* error);

class MacUpdater final : public Updater {
 public:
  ~MacUpdater() override;
  bool loadFramework() override;
  std::optional<std::string> start(UpdaterListener& listener) override;
  void stop() override;
  void check(UpdateCheckKind kind) override;
  void answer(UpdateChoice choice) override;
  void cancel() override;
  void acknowledge() override;
  std::string installedVersion() const override;

 private:
  std::optional<bool> loaded_;
  void* handle_ = nullptr;
  id<TRVFrameworkUpdater> updater_ = nil;
  TRVUpdateUserDriver* driver_ = nil;
};

// ---------------------------------------------------------------------------------------------
// System-wide hot keys (MacHotkeys.mm)

class MacHotkeyService final : public HotkeyService {
 public:
  MacHotkeyService();
  ~MacHotkeyService() override;
  std::optional<HotkeyFailure> registerHotkey(std::uint32_t id, KeyChord chord,
                                              std::function<void(std::uint32_t)> handler) override;
  void unregisterHotkey(std::uint32_t id) override;

  // Shared with the Carbon handler's posted blocks, which hold it weakly.
  struct State;

 private:
  std::shared_ptr<State> state_;
};

// ---------------------------------------------------------------------------------------------
// The login item (MacLoginItems.mm)

class MacLoginItemService final : public LoginItemService {
 public:
  LoginItemStatus status() const override;
  std::optional<std::string> registerMainApp() override;
  std::optional<std::string> unregisterMainApp() override;
  void openSystemSettingsLoginItems() override;
};

}  // namespace tarvolo::platform::mac
