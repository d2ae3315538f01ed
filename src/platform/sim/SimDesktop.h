#pragma once

// A simulated macOS desktop: screens with an optional notch, the menu bar with the frontmost
// application's menus, the system's own items and every process's status items, running
// applications, events and the app's defaults domain, all on a virtual clock. Its behaviour
// follows what real Macs do; every choice real Macs leave open is a setting here.

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "platform/sim/SimAssessmentMode.h"
#include "platform/sim/SimDefaultsStore.h"
#include "platform/sim/SimFirstLaunchCoachWindow.h"
#include "platform/sim/SimMainQueue.h"
#include "platform/windows/UserInterface.h"

namespace tarvolo::sim {

struct SimScreenSpec {
  double width = 1512;
  double height = 982;
  double x = 0;
  double y = 0;
  std::optional<double> notchWidth;
};

struct SimItemSpec {
  double width = 32;
  // Stored preferred position: distance from the right, larger stands further left.
  std::optional<double> position;
  std::string autosaveName;  // generated when empty
  // What Accessibility reports: AXTitle (empty: none) and AXDescription.
  std::string title;
  std::optional<std::string> description;
};

struct SimAppSpec {
  std::string bundleId;
  std::string name;
  std::string path;
  platform::ActivationPolicy activation = platform::ActivationPolicy::regular;
  double menusWidth = 300;  // Apple menu included
  // Widths of the menu titles left to right, Apple menu first; empty: derived from menusWidth.
  std::vector<double> menuTitleWidths;
  std::vector<SimItemSpec> items;
  bool running = true;
  // How its items answer Accessibility. Advertised actions (absent: AXPress and AXCancel);
  // refusing every action (each reports action-unsupported); an AXPress that opens the menu and
  // then blocks in its tracking loop, returning -25204 with the menu open; a process that does
  // not answer (every call costs the element's messaging time-out and fails).
  std::optional<std::vector<std::string>> accessibilityActions;
  bool refusesActions = false;
  bool pressBlocks = false;
  bool accessibilityUnresponsive = false;
  // Seconds from the process's start until it has finished launching; until then the workspace
  // says so and the process answers no Accessibility request.
  double launchDuration = 0;
};

struct SimSettings {
  int osMajor = 15;
  std::vector<std::string> preferredLanguages = {"en-US"};
  std::vector<std::string> arguments;
  // Seconds before a changed layout shows in reported frames.
  double frameLatency = 0.05;
  // Clock, Control Center and other fixed system items at the right end.
  double systemItemsWidth = 110;
  // Width a variable-length item takes for a symbol image or a text title.
  double symbolItemWidth = 30;
  double textCharWidth = 8;
  double textItemPadding = 10;
  // Gap between a mouse-down and its mouse-up when the simulator clicks.
  double clickDuration = 0.045;
  // False models a window server that stops reporting item frames.
  bool framesReadable = true;
  // Items whose stored position the system disregards when creating them (a stale or
  // rejected position): they land leftmost like a never-seen autosave name.
  std::vector<std::string> ignorePreferredPositionsOf;

  // How the system answers a long item (see SimLayoutRules.h); absent values follow the OS.
  // Longer items are ejected: about 5000 before macOS 27, no such limit from 27.
  std::optional<double> ejectionLength;
  // From macOS 27 an item longer than half the display's width less the margin is dropped.
  std::optional<bool> dropsHalfWidthItems;
  double halfWidthDropMargin = 16;
  // Items at least this long whose far edge would end among the menu titles make the system
  // drop titles; shorter ones are simply hidden there, as the app menus win.
  double menuIntrusionMinLength = 100;
  bool dropsMenuTitles = true;
  // The system's overflow chevron for displaced items: 44 from macOS 27, none before.
  std::optional<double> overflowChevronWidth;
  // Autosave names of own items whose window also holds their right neighbour's button.
  std::vector<std::string> sharedWindowItems;
  // The system's assessment mode (macOS 27 and later).
  SimAssessmentModeSettings assessmentMode;
  // The post-event privilege, separate from Accessibility trust.
  bool postEventAccess = true;

  // Chords other applications hold as system-wide hot keys: registering one fails with -9878.
  std::vector<platform::KeyChord> takenHotkeys;
  // The login item as the system reports it when the app starts, and what registering leads to:
  // `requiresApproval` when the user must allow it in the system settings first.
  platform::LoginItemStatus loginItemStatus = platform::LoginItemStatus::notRegistered;
  bool loginItemNeedsApproval = false;
  // When set, registering and unregistering fail with this description.
  std::optional<std::string> loginItemError;
};

// The app's own process as the desktop sees it.
constexpr int kOwnPid = 100;

class SimDesktop;
class SimWindowList;
class SimAccessibility;

// One status item in the bar, owned by the desktop; the app holds a handle (SimStatusItem).
struct SimItemState {
  int id = 0;
  int ownerPid = 0;
  std::string autosaveName;
  double length = 0;
  double contentWidth = 32;  // what a variable-length item takes
  bool visible = true;
  bool removed = false;
  std::optional<double> preferredPosition;
  int creationOrder = 0;
  std::string title;
  std::string symbol;
  std::string toolTip;
  std::string accessibilityLabel;
  std::optional<std::string> description;
  platform::EventMask actionMask = 0;
  std::function<void(std::optional<platform::Event>)> action;
  // Truth of the current layout, and the frame the window server reports for it (parked at the
  // visible stretch's left end when displaced; waiting at the screen's left edge when rejected).
  std::optional<Rect> frame;
  std::optional<Rect> reported;
  bool onScreen = false;
  bool displaced = false;  // no room left for it
  bool rejected = false;   // ejected or dropped by the system for its length
  std::optional<int> windowPartnerId;  // the item whose button shares this item's window
  // (time, reported frame); what readers see lags by the frame latency.
  std::vector<std::pair<double, std::optional<Rect>>> history;
};

struct SimMenuRecord {
  std::string ownerAutosaveName;
  platform::Menu menu;
  double openedAt = 0;
};

// A menu of another application's status item, open on the desktop.
struct SimForeignMenuRecord {
  int itemId = 0;
  std::string ownerBundleId;
  std::string itemName;
  std::string openedBy;  // "AXPress", "AXShowMenu" or "click"
  double openedAt = 0;
  std::optional<std::string> closedBy;  // "escape", "return", "click-elsewhere", "choice", "AXPress", "AXCancel", "quit"
  std::optional<double> closedAt;
};

// An event the app posted, with every field it set.
struct SimPostedEvent {
  platform::SyntheticMouseEvent event;
  double time = 0;
};

struct SimNoticeRecord {
  platform::NoticeRequest request;
  double shownAt = 0;
  bool dismissed = false;
};

// What the app's own windows did, since the simulator draws none.
struct SimUiRecord {
  std::vector<double> preferencesOpenedAt;  // each time the window was shown while closed
  bool preferencesVisible = false;
  bool preferencesKeptFront = false;
  int preferencesShowCount = 0;  // every show, also of the open window
  // The windows' last drawn state and what their controls call; the state stays after closing.
  std::optional<platform::PreferencesViewState> preferences;
  platform::PreferencesCallbacks preferencesCallbacks;
  std::optional<platform::NewAppNoticeViewState> newAppNotice;
  bool newAppNoticeShown = false;
  int newAppNoticeCount = 0;
  platform::NewAppNoticeCallbacks newAppNoticeCallbacks;
  std::optional<platform::ReviewPromptViewState> reviewPrompt;
  bool reviewPromptShown = false;
  int reviewPromptCount = 0;
  platform::ReviewPromptCallbacks reviewPromptCallbacks;
  std::optional<platform::PlacementGuideViewState> placementGuide;
  bool placementGuideShown = false;
  platform::PlacementGuideCallbacks placementGuideCallbacks;
  platform::Menu mainMenu;
  std::vector<std::string> openedURLs;
  bool shelfShown = false;
  int shelfShowCount = 0;
  // What the Icon Shelf panel shows and what its controls do.
  std::optional<platform::IconShelfViewState> shelfState;
  platform::IconShelfActions shelfActions;
  std::vector<SimNoticeRecord> notices;
  int loginItemSettingsOpened = 0;
};

// A hot key the app holds, as the system keeps it.
struct SimHotkeyRecord {
  std::uint32_t id = 0;
  platform::KeyChord chord;
  std::function<void(std::uint32_t)> handler;
};

// What the login-item service was asked, for the report.
struct SimLoginItemRecord {
  int registrations = 0;
  int unregistrations = 0;
};

struct SimLogLine {
  double time = 0;
  std::string channel;  // "menubar", "state" or "stdout"
  std::string message;
};

class SimDesktop final : public platform::Platform {
 public:
  SimDesktop(std::vector<SimScreenSpec> screens, std::vector<SimAppSpec> apps, SimSettings settings);
  ~SimDesktop() override;

  // --- platform::Platform
  platform::Clock& clock() override { return queue_; }
  platform::MainQueue& mainQueue() override { return queue_; }
  platform::LogSink& logSink() override;
  platform::Events& events() override;
  platform::StatusBar& statusBar() override;
  platform::Screens& screens() override;
  platform::Workspace& workspace() override;
  platform::WindowList& windowList() override;
  platform::Accessibility& accessibility() override;
  platform::DefaultsStore& defaults() override { return *defaults_; }
  platform::SystemInfo& system() override;
  platform::Application& application() override;
  platform::UserInterface& userInterface() override;
  platform::AssessmentMode& assessmentMode() override { return *assessmentMode_; }
  platform::HotkeyService& hotkeys() override;
  platform::LoginItemService& loginItems() override;
  void setSystemEventSink(platform::SystemEventSink* sink) override { sink_ = sink; }
  std::unique_ptr<platform::SerialQueue> makeSerialQueue(const std::string& label) override;

  // --- the app's process
  void setApplicationDelegate(platform::ApplicationDelegate* delegate) { delegate_ = delegate; }
  // Called once the app's process has exited, when nothing of it is on the stack any more.
  void setOwnProcessExitHandler(std::function<void()> handler) { onOwnExit_ = std::move(handler); }
  // Starts the app's process: didFinishLaunching runs now.
  void launchOwnApp();
  bool ownAppRunning() const { return ownAppRunning_; }
  // The process ends without tidying up: its items vanish, stored positions stay.
  void ownProcessExited();
  // Reopening from the Dock or Finder also makes the app active.
  void reopenOwnApp();
  // AXPress on one of the app's own items (VoiceOver): its action runs without an event of its own.
  bool pressOwnItemThroughAccessibility(const std::string& autosaveName);
  // The user brings Tarvolo to the front (clicks one of its windows, or comes back to it).
  void activateOwnApp();
  void replaceDefaults(SimDefaultsStore store);
  SimDefaultsStore& simDefaults() { return *defaults_; }
  SimWindowList& simWindowList() { return *windowList_; }
  const SimWindowList& simWindowList() const { return *windowList_; }
  SimAccessibility& simAccessibility() { return *accessibility_; }
  const SimAssessmentMode& simAssessmentMode() const { return *assessmentMode_; }
  const SimAccessibility& simAccessibility() const { return *accessibility_; }
  const SimDefaultsStore& simDefaults() const { return *defaults_; }

  // --- driving the desktop
  SimMainQueue& queue() { return queue_; }
  void setFrontmost(const std::string& bundleId);
  // Reported to the app only for regular and accessory apps, as the workspace announces them.
  void launchApp(const std::string& bundleId);
  void terminateApp(const std::string& bundleId);
  void addApp(SimAppSpec app);
  void setScreens(std::vector<SimScreenSpec> screens);
  void setPreferredLanguages(std::vector<std::string> languages);
  void wake();
  void changeSpace();

  enum class MouseButton { left, right };
  // A click on one of the app's own items (by autosave name), down now and up after the click
  // duration. Returns false when no such item is shown.
  bool clickOwnItem(const std::string& autosaveName, MouseButton button, platform::ModifierFlags modifiers = {});
  // A press on the item with ⌘ held, a drag to `toX` and the release; the system moves the
  // item when the drop point lies past a neighbour's middle.
  bool commandDragItem(const std::string& autosaveName, double toX);
  // A click somewhere outside the app (another app's window, the desktop).
  void clickElsewhere(Point location);
  // Chooses an item of the open context menu by its action name.
  bool chooseMenuAction(const std::string& action);
  void dismissMenu();
  void setModifierFlags(platform::ModifierFlags flags) { modifiers_ = flags; }
  // `typeKey` with the modifiers held now.
  void pressKey(std::uint16_t keyCode);
  // The user picks an entry of the open foreign menu, which closes it.
  bool chooseForeignMenuEntry();

  // --- other applications' menus, opened through Accessibility or a click
  bool openForeignMenu(int itemId, const std::string& openedBy);
  void closeForeignMenu(const std::string& closedBy);
  // The open foreign menu, if any.
  const SimForeignMenuRecord* foreignMenu() const;
  const std::vector<SimForeignMenuRecord>& foreignMenus() const { return foreignMenus_; }
  // Another application's on-screen item drawn at a point of top-left global space (not under
  // the notch).
  const SimItemState* foreignItemAt(Point topLeft) const;
  void postMouseEvent(const platform::SyntheticMouseEvent& event);
  const std::vector<SimPostedEvent>& postedEvents() const { return posted_; }
  Point cursorTopLeft() const;
  void warpCursor(Point topLeft);
  // Background work that waited on a process: a serial queue's task adds what its calls cost.
  // The same wait outside a background task blocks the main thread, and is counted as such.
  void chargeBackgroundTime(double seconds);
  double takeBackgroundCharge() { return std::exchange(backgroundCharge_, 0.0); }
  void setInBackgroundTask(bool inTask) { inBackgroundTask_ = inTask; }
  // Seconds the main thread has spent waiting on other processes.
  double mainThreadWaited() const { return mainThreadWaited_; }
  const SimAppSpec* appOfPid(int pid) const;
  // Running and past its launch duration.
  bool hasFinishedLaunching(const SimAppSpec& app) const;
  // Whether the process answers Accessibility: running, launched and not hung.
  bool answersAccessibility(int pid) const;
  // A key equivalent of the app's main menu typed with ⌘ ("," for Settings); false when the
  // menu has no such item.
  bool pressMainMenuShortcut(const std::string& keyEquivalent);
  // The user closes the settings window with its close button.
  void closePreferencesWindow();
  // The pointer moves to `location` (no button held): monitors of mouse moves see it.
  void movePointer(Point location);
  // A mouse button goes down or up where the pointer is, over no item of the app.
  void pressMouseButton(MouseButton button);
  void releaseMouseButton(MouseButton button);
  // Modifier keys go down or up; monitors see a flags-changed event.
  void pressModifiers(platform::ModifierFlags flags);
  void releaseModifiers(platform::ModifierFlags flags);
  // A key typed with `modifiers` held (a key-down, then its key-up). A registered hot key takes
  // it before any monitor; otherwise it goes to the app when its settings window is in front,
  // else to the frontmost app, which global monitors see only with Accessibility trust. Escape,
  // Return and Enter close another app's open menu first.
  void typeKey(std::uint16_t keyCode, platform::ModifierFlags modifiers);
  // A menu of the app begins or ends tracking (the user opened or closed it).
  void beginMenuTracking();
  void endMenuTracking();
  // Opens a URL of the app's scheme; false when the app is not running.
  bool openURL(const std::string& url);
  // Sends the app an AppleScript command; absent when the app is not running, else whether it
  // knew the command.
  std::optional<bool> runAppleScriptCommand(const std::string& command);

  // --- reading the desktop
  const SimSettings& settings() const { return settings_; }
  SimSettings& mutableSettings() { return settings_; }
  const std::vector<SimScreenSpec>& screenSpecs() const { return screenSpecs_; }
  std::vector<platform::ScreenInfo> screenInfos() const;
  const std::vector<SimAppSpec>& apps() const { return apps_; }
  std::optional<std::string> frontmostBundleId() const { return frontmost_; }
  double menusRightEdge() const;
  // The frontmost app's menus as laid out: their full width and how many titles the system
  // dropped to make room for a long item.
  double frontmostMenusWidth() const;
  std::vector<double> frontmostMenuTitles() const;
  int menuTitlesDropped() const { return titlesDropped_; }
  double droppedMenuTitlesWidth() const { return droppedTitlesWidth_; }
  bool overflowChevronShown() const { return chevronShown_; }
  // The visible stretch of the bar where status items can show.
  double statusAreaMinX() const;
  double statusAreaMaxX() const;
  const SimItemState* ownItem(const std::string& autosaveName) const;
  std::vector<const SimItemState*> itemsOf(int pid) const;
  std::vector<const SimItemState*> allItems() const;
  std::optional<std::string> bundleIdOfPid(int pid) const;
  std::optional<int> pidOf(const std::string& bundleId) const;
  const std::optional<SimMenuRecord>& openMenu() const { return openMenu_; }
  int menuOpenCount() const { return menuOpenCount_; }
  const SimUiRecord& ui() const { return ui_; }
  const std::vector<SimHotkeyRecord>& registeredHotkeys() const { return hotkeys_; }
  platform::LoginItemStatus loginItemStatus() const { return settings_.loginItemStatus; }
  const SimLoginItemRecord& loginItemRecord() const { return loginItemRecord_; }
  SimFirstLaunchCoachWindow& coachWindow() { return coachWindow_; }
  const SimFirstLaunchCoachWindow& coachWindow() const { return coachWindow_; }
  // URLs the app asked the system to open, in order.
  const std::vector<std::string>& openedURLs() const { return openedURLs_; }
  const std::vector<SimLogLine>& logLines() const { return log_; }
  std::vector<std::string> logMessages(const std::string& channel = "") const;
  platform::ActivationPolicy ownActivationPolicy() const { return ownPolicy_; }

  // Internal, used by the platform adapters.
  struct Adapters;
  void relayout();
  std::optional<Rect> reportedFrame(const SimItemState& item) const;
  std::optional<Rect> reportedWindowFrame(const SimItemState& item) const;
  int createItem(double length, const std::string& autosaveName);
  SimItemState* item(int id);
  void removeItem(int id, bool deletePosition);
  void recordLog(std::string channel, std::string message);
  void dispatchEvent(const platform::Event& event, const SimItemState* target);
  void openMenuFor(const std::string& autosaveName, const platform::Menu& menu);
  std::string preferredPositionKey(const std::string& autosaveName) const {
    return "NSStatusItem Preferred Position " + autosaveName;
  }

 private:
  friend struct Adapters;
  SimAppSpec* appSpec(const std::string& bundleId);
  platform::RunningApplication runningApp(const SimAppSpec& config) const;
  platform::RunningApplication ownRunningApp() const;
  void spawnItems(SimAppSpec& config);
  int pidFor(const std::string& bundleId);
  double itemWidth(const SimItemState& item) const;
  // Not drawn because the system's assertion leaves its bundle off the allow-list.
  bool withheldByAssertion(const SimItemState& item) const;
  Point itemCenter(const SimItemState& item) const;

  SimSettings settings_;
  std::vector<SimScreenSpec> screenSpecs_;
  std::vector<SimAppSpec> apps_;
  std::map<std::string, int> pids_;
  std::map<std::string, double> launchDates_;
  std::optional<std::string> frontmost_;
  SimMainQueue queue_;
  std::unique_ptr<SimDefaultsStore> defaults_;
  std::vector<std::unique_ptr<SimItemState>> items_;
  int nextItemId_ = 0;
  int nextPid_ = 500;
  int creationCounter_ = 0;
  int titlesDropped_ = 0;
  double droppedTitlesWidth_ = 0;
  bool chevronShown_ = false;

  platform::SystemEventSink* sink_ = nullptr;
  platform::ApplicationDelegate* delegate_ = nullptr;
  bool ownAppRunning_ = false;
  std::function<void()> onOwnExit_;
  platform::ActivationPolicy ownPolicy_ = platform::ActivationPolicy::regular;

  platform::ModifierFlags modifiers_;
  Point pointer_{};
  std::uint32_t pressedButtons_ = 0;
  std::optional<platform::Event> currentEvent_;
  std::optional<platform::Event> lastEvent_;  // the last event the app handled
  struct Monitor {
    platform::EventMask mask = 0;
    bool global = true;
    std::function<void(const platform::Event&)> globalHandler;
    std::function<std::optional<platform::Event>(const platform::Event&)> localHandler;
  };
  std::map<int, Monitor> monitors_;
  int nextMonitorId_ = 0;

  std::vector<SimForeignMenuRecord> foreignMenus_;
  std::optional<platform::SyntheticMouseEvent> pendingPostedDown_;
  std::vector<SimPostedEvent> posted_;
  double backgroundCharge_ = 0;
  bool inBackgroundTask_ = false;
  double mainThreadWaited_ = 0;
  std::optional<SimMenuRecord> openMenu_;
  int menuOpenCount_ = 0;
  SimUiRecord ui_;
  SimFirstLaunchCoachWindow coachWindow_;
  std::vector<std::string> openedURLs_;
  std::vector<SimLogLine> log_;
  std::vector<SimHotkeyRecord> hotkeys_;
  SimLoginItemRecord loginItemRecord_;
  int menuTrackingDepth_ = 0;

  std::unique_ptr<Adapters> adapters_;
  std::unique_ptr<SimWindowList> windowList_;
  std::unique_ptr<SimAccessibility> accessibility_;
  std::unique_ptr<SimAssessmentMode> assessmentMode_;
};

}  // namespace tarvolo::sim
