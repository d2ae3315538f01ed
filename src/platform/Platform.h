#pragma once

// The narrow boundary between the portable core and the operating system. Everything above
// src/platform/ talks to the OS only through these interfaces; a backend (the simulated desktop
// or the Mac) implements them and reports what happened through `SystemEventSink` and
// `ApplicationDelegate`.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/DefaultsValue.h"
#include "base/Geometry.h"
#include "base/Log.h"
#include "base/MainQueue.h"
#include "platform/AssessmentMode.h"
#include "platform/AXElement.h"
#include "platform/MenuBarAccessTier.h"
#include "platform/SerialQueue.h"
#include "platform/Updater.h"

namespace tarvolo::platform {

// The app's own windows, handed out by `Platform::userInterface()`; platform/windows/ declares
// them, so only the code that draws or drives a window sees them.
class UserInterface;

// ---------------------------------------------------------------------------------------------
// Time, the main queue and logging live in base/; the platform provides them.

using tarvolo::Clock;
using tarvolo::LogCategory;
using tarvolo::LogSink;
using tarvolo::MainQueue;
using tarvolo::TaskId;

// ---------------------------------------------------------------------------------------------
// Events

enum class EventType {
  leftMouseDown,
  leftMouseUp,
  rightMouseDown,
  rightMouseUp,
  otherMouseDown,
  otherMouseUp,
  leftMouseDragged,
  keyDown,
  keyUp,
  flagsChanged,  // a modifier key went down or up
  mouseMoved,
  other,
};

std::string_view eventTypeName(EventType type);

using EventMask = std::uint32_t;
constexpr EventMask eventMask(EventType type) { return EventMask{1} << static_cast<unsigned>(type); }
constexpr EventMask operator|(EventType a, EventType b) { return eventMask(a) | eventMask(b); }
constexpr EventMask operator|(EventMask a, EventType b) { return a | eventMask(b); }

// Bits as AppKit defines them, so the Mac backend passes flags through untranslated.
enum class Modifier : std::uint32_t {
  shift = 1u << 17,
  control = 1u << 18,
  option = 1u << 19,
  command = 1u << 20,
};

struct ModifierFlags {
  std::uint32_t raw = 0;
  bool has(Modifier m) const { return (raw & static_cast<std::uint32_t>(m)) != 0; }
  ModifierFlags with(Modifier m) const { return {raw | static_cast<std::uint32_t>(m)}; }
  friend bool operator==(const ModifierFlags&, const ModifierFlags&) = default;
};

// The device-independent modifier bits a chord or a shortcut compares.
constexpr std::uint32_t kChordModifierMask = 0x1E0000;

struct Event {
  EventType type = EventType::other;
  ModifierFlags modifierFlags;
  Point locationInScreen;  // AppKit global coordinates
  double timestamp = 0;    // Clock::now() seconds
  // The virtual key code of a key-down or key-up; absent for every other event.
  std::optional<std::uint16_t> keyCode;
};

// A mouse event the app posts into the system's event stream.
struct SyntheticMouseEvent {
  enum class Kind { leftMouseDown, leftMouseUp };
  Kind kind = Kind::leftMouseDown;
  Point location;  // top-left global space, as the window server and Accessibility speak
  ModifierFlags modifierFlags;
  std::int64_t clickState = 1;
  std::int64_t userData = 0;  // the event source's user-data field
  friend bool operator==(const SyntheticMouseEvent&, const SyntheticMouseEvent&) = default;
};

// An installed observer, monitor or handler; destroying it removes what it installed.
class Registration {
 public:
  virtual ~Registration() = default;
};

class Events {
 public:
  virtual ~Events() = default;
  virtual Point mouseLocation() const = 0;
  // Bit 0 left, bit 1 right, bit 2 and up other buttons.
  virtual std::uint32_t pressedMouseButtons() const = 0;
  // The combined session's modifier state, independent of any event.
  virtual ModifierFlags modifierFlags() const = 0;
  // The event being dispatched right now, if any.
  virtual std::optional<Event> currentEvent() const = 0;
  // Events sent to other applications.
  virtual std::unique_ptr<Registration> addGlobalMonitor(EventMask mask, std::function<void(const Event&)> handler) = 0;
  // Events sent to this application; the handler may swallow the event by returning nullopt.
  virtual std::unique_ptr<Registration> addLocalMonitor(
      EventMask mask, std::function<std::optional<Event>(const Event&)> handler) = 0;

  // Synthesized input; callable from any thread. Posting needs its own privilege, distinct from
  // Accessibility trust.
  virtual bool mayPostEvents() const = 0;
  // The left or right button is down, in the combined session state.
  virtual bool mouseButtonHeld() const = 0;
  // The cursor in top-left global space.
  virtual Point cursorPosition() const = 0;
  virtual void postMouseEvent(const SyntheticMouseEvent& event) = 0;
  virtual void warpCursor(Point topLeft) = 0;
};

// ---------------------------------------------------------------------------------------------
// System-wide hot keys

// A key and the modifiers held with it (only the bits of kChordModifierMask count).
struct KeyChord {
  std::uint16_t keyCode = 0;
  ModifierFlags modifiers;
  friend bool operator==(const KeyChord&, const KeyChord&) = default;
};

enum class HotkeyFailureStage {
  handlerInstallation,  // the handler for hot-key presses could not be installed
  registration,         // the system refused the chord (taken by another app or the system)
};

struct HotkeyFailure {
  HotkeyFailureStage stage = HotkeyFailureStage::registration;
  std::int32_t status = 0;  // the system's status code, e.g. -9878 for a chord already taken
};

class HotkeyService {
 public:
  virtual ~HotkeyService() = default;
  // Registers `chord` system-wide under `id`, replacing what `id` held. Each press runs `handler`
  // on the main queue with the id the system reported. Absent on success.
  virtual std::optional<HotkeyFailure> registerHotkey(std::uint32_t id, KeyChord chord,
                                                      std::function<void(std::uint32_t firedId)> handler) = 0;
  // Unregistering an id that holds nothing does nothing.
  virtual void unregisterHotkey(std::uint32_t id) = 0;
};

// ---------------------------------------------------------------------------------------------
// The login item (the app itself, started when the user logs in)

enum class LoginItemStatus { notRegistered, enabled, requiresApproval, notFound };

std::string_view rawValue(LoginItemStatus status);

class LoginItemService {
 public:
  virtual ~LoginItemService() = default;
  virtual LoginItemStatus status() const = 0;
  // Absent on success; otherwise the system's description of what went wrong.
  virtual std::optional<std::string> registerMainApp() = 0;
  virtual std::optional<std::string> unregisterMainApp() = 0;
  // Opens the system settings' list of login items.
  virtual void openSystemSettingsLoginItems() = 0;
};

// ---------------------------------------------------------------------------------------------
// Status bar

struct MenuItem {
  std::string title;
  std::string action;          // selector-like name, e.g. "menuCollapse"
  std::string keyEquivalent;   // "" for none
  bool isSeparator = false;
  std::function<void()> perform;

  static MenuItem separator() { return MenuItem{.isSeparator = true}; }
};

struct Menu {
  std::vector<MenuItem> items;
};

// The standard commands AppKit sends to the first responder (the focused text field, the key
// window), by their action names.
enum class ResponderAction { undo, redo, cut, copy, paste, selectAll, performClose };

std::string_view selectorName(ResponderAction action);  // "undo:", ..., "performClose:"

struct MainMenuItem {
  std::string title;
  std::string keyEquivalent;  // "" for none; typed with ⌘ (and ⇧ where `shift`)
  bool shift = false;
  bool isSeparator = false;
  // Exactly one of these for an item that is not a separator.
  std::optional<ResponderAction> responderAction;
  std::function<void()> perform;
};

struct MainMenuSection {
  std::string title;
  std::vector<MainMenuItem> items;
};

// The application's main menu. An app without a menu bar of its own still needs one: its key
// equivalents are the only way ⌘C, ⌘V, ⌘A and ⌘Z reach a text field and ⌘W a window.
struct MainMenu {
  std::vector<MainMenuSection> sections;
  // The item typed with ⌘ and `keyEquivalent` (⇧ too where `shift`); null when there is none.
  const MainMenuItem* itemFor(std::string_view keyEquivalent, bool shift = false) const;
};

// The main menu every backend installs: the app's commands (`appCommands`, under the app's
// name), then the standard Edit and Window menus. The titles are never shown.
MainMenu mainMenuWith(const Menu& appCommands);

constexpr double kVariableStatusItemLength = -1;

class StatusItem {
 public:
  virtual ~StatusItem() = default;
  virtual const std::string& autosaveName() const = 0;
  virtual void setLength(double length) = 0;
  virtual double length() const = 0;
  virtual void setVisible(bool visible) = 0;
  virtual bool isVisible() const = 0;
  virtual bool hasButton() const = 0;
  // Frames as the window server reports them: absent while unknown, possibly stale.
  virtual std::optional<Rect> buttonFrameOnScreen() const = 0;
  virtual std::optional<Rect> windowFrame() const = 0;
  virtual void setTitle(const std::string& title) = 0;
  // A template system symbol; false when the system cannot make it. An empty name clears it.
  virtual bool setSymbolImage(const std::string& symbolName, double pointSize) = 0;
  virtual void setToolTip(const std::string& text) = 0;
  virtual void setAccessibilityLabel(const std::string& text) = 0;
  // The button sends `action` on the events in `sendOn`, with the event that sent it: one of the
  // button's window whose type is in `sendOn`. Pressed any other way (through Accessibility, by
  // VoiceOver) it comes without one, whatever event the application handled last.
  virtual void setAction(EventMask sendOn, std::function<void(std::optional<Event>)> action) = 0;
  // Shows `menu` under the item; the chosen item's `perform` runs on the main thread.
  virtual void popUpMenu(const Menu& menu) = 0;
};

class StatusBar {
 public:
  virtual ~StatusBar() = default;
  // The item takes its stored preferred position from its autosave name.
  virtual std::unique_ptr<StatusItem> createStatusItem(double length, const std::string& autosaveName) = 0;
  // Removing deletes the item's stored preferred position, as the system does.
  virtual void removeStatusItem(std::unique_ptr<StatusItem> item) = 0;
  virtual double thickness() const = 0;
};

// ---------------------------------------------------------------------------------------------
// Screens

struct ScreenInfo {
  Rect frame;
  Rect visibleFrame;
  // The strips left and right of a notch; both absent without one.
  std::optional<Rect> auxiliaryTopLeftArea;
  std::optional<Rect> auxiliaryTopRightArea;
  double safeAreaTop = 0;
  double menuBarHeight = 24;
  // The display as the system names it ("Built-in Retina Display"), and an identity that stays
  // with the display across arrangements and restarts; both empty where the system gives none.
  std::string name;
  std::string displayID;

  // The notch's width, 0 without one.
  double notchWidth() const;
  std::optional<Rect> notchRect() const;
};

class Screens {
 public:
  virtual ~Screens() = default;
  // Primary (menu-bar) screen first.
  virtual std::vector<ScreenInfo> screens() const = 0;
};

// ---------------------------------------------------------------------------------------------
// Workspace

enum class ActivationPolicy { regular, accessory, prohibited };

std::string_view activationPolicyName(ActivationPolicy policy);

struct RunningApplication {
  int pid = 0;
  std::optional<std::string> bundleIdentifier;
  std::string localizedName;
  std::optional<std::string> bundlePath;
  std::optional<std::string> executablePath;
  ActivationPolicy activationPolicy = ActivationPolicy::regular;
  std::optional<double> launchDate;  // Clock::currentDate() seconds
  bool isTerminated = false;
  // False from the process's start until it has set itself up; it may not answer Accessibility
  // before then.
  bool finishedLaunching = true;
};

class Workspace {
 public:
  virtual ~Workspace() = default;
  virtual std::vector<RunningApplication> runningApplications() const = 0;
  virtual std::optional<RunningApplication> frontmostApplication() const = 0;
  // The application whose menus the menu bar shows (usually the frontmost).
  virtual std::optional<RunningApplication> menuBarOwningApplication() const = 0;
  // Right end of that application's menu titles on the primary screen's bar, where the system
  // can tell (Accessibility); absent otherwise, and while the application does not answer.
  // Answers at once: the backend reads the titles off the main thread (with
  // kAccessibilityReadTimeout per element) whenever the owning application or its menus change,
  // and returns the last reading, which may be one refresh old.
  virtual std::optional<double> applicationMenusMaxX() const = 0;
  // Opens a URL with its default handler (a System Settings page, for instance); false when
  // nothing could open it.
  virtual bool openURL(const std::string& url) = 0;
};

// ---------------------------------------------------------------------------------------------
// Window server

enum class DesktopElements { include, exclude };

// One on-screen window as the window server describes it. Owners and titles are as the system
// reports them: localized, and on some systems not the process that drew the window.
struct WindowInfo {
  std::string ownerName;  // empty when the server gives none
  int ownerPid = 0;
  // Global space with the origin at the primary screen's top-left and y growing downwards;
  // absent when the description carries no usable bounds.
  std::optional<Rect> bounds;
  int layer = 0;
  std::optional<std::string> title;  // needs the screen-recording permission
  friend bool operator==(const WindowInfo&, const WindowInfo&) = default;
};

class WindowList {
 public:
  virtual ~WindowList() = default;
  // Front to back. Absent when the window server cannot be asked.
  virtual std::optional<std::vector<WindowInfo>> onScreenWindows(DesktopElements desktopElements) const = 0;
};

// ---------------------------------------------------------------------------------------------
// Accessibility

// How long one Accessibility read of another application's menu bar may wait for an answer. An
// application that is alive answers an attribute in milliseconds, even under the load of a
// login; one that has not answered in 0.2 s is hung or swamped, and a read stops at its first
// time-out, so a hung application costs a refresh about this much background time and never
// the user a stalled bar.
inline constexpr double kAccessibilityReadTimeout = 0.2;

// One item of an application's extras menu bar (its status items).
struct AccessibilityMenuBarItem {
  // Position and size in the window list's top-left global space; absent when unreadable.
  std::optional<Rect> frame;
  std::optional<std::string> title;
  std::optional<std::string> identifier;
  friend bool operator==(const AccessibilityMenuBarItem&, const AccessibilityMenuBarItem&) = default;
};

class Accessibility {
 public:
  virtual ~Accessibility() = default;
  // Nothing notifies when this changes; ask again when the app becomes active.
  virtual bool isProcessTrusted() const = 0;
  // Asks with the system's prompt, which also lists the app in System Settings, and answers the
  // trust as it stands now (the user decides later). Only in answer to a user action.
  virtual bool requestTrustWithPrompt() = 0;
  // The status items the application exposes. Absent when the tree cannot be read (not trusted,
  // no such process, or the application does not answer within kAccessibilityReadTimeout);
  // empty when it has none. It waits on the application: call it from a serial background
  // queue, never the main thread.
  virtual std::optional<std::vector<AccessibilityMenuBarItem>> extrasMenuBarItems(int pid) const = 0;

  // Elements, callable from any thread. Every call waits at most the element's messaging
  // time-out (the system's default until one is set; it is not inherited).
  virtual AXElement systemWideElement() = 0;
  virtual AXElement applicationElement(int pid) = 0;
  virtual std::optional<int> processID(const AXElement& element) = 0;
  virtual void setMessagingTimeout(const AXElement& element, double seconds) = 0;
  virtual AXResult<AXValue> attribute(const AXElement& element, const std::string& name) = 0;
  virtual AXResult<std::vector<std::string>> actionNames(const AXElement& element) = 0;
  virtual AXError performAction(const AXElement& element, const std::string& action) = 0;
  // The element at a point in top-left global space, asked of `root` (the system-wide element
  // or an application).
  virtual AXResult<AXElement> elementAtPosition(const AXElement& root, Point topLeft) = 0;
  // Notifications from one process, on the main thread; null when the system refuses one.
  virtual std::unique_ptr<AXObserver> makeObserver(int pid, AXNotificationHandler handler) = 0;
};

// ---------------------------------------------------------------------------------------------
// Defaults store (the application's own domain)

class DefaultsStore {
 public:
  virtual ~DefaultsStore() = default;
  virtual std::optional<DefaultsValue> object(const std::string& key) const = 0;
  virtual void set(const std::string& key, DefaultsValue value) = 0;
  virtual void remove(const std::string& key) = 0;
  virtual std::vector<std::string> keys() const = 0;

  // Typed reads: absent when the key is missing or holds a value of another type.
  std::optional<bool> getBool(const std::string& key) const;
  std::optional<double> getDouble(const std::string& key) const;
  std::optional<std::int64_t> getInteger(const std::string& key) const;
  std::optional<std::string> getString(const std::string& key) const;
  std::optional<std::vector<std::string>> getStringArray(const std::string& key) const;
  std::optional<std::map<std::string, std::string>> getStringDictionary(const std::string& key) const;
  bool contains(const std::string& key) const { return object(key).has_value(); }
};

// ---------------------------------------------------------------------------------------------
// System facts and the application

class SystemInfo {
 public:
  virtual ~SystemInfo() = default;
  virtual int osMajorVersion() const = 0;
  // The system's build ("23C64"), which changes with every update; absent when unreadable.
  virtual std::optional<std::string> osBuildVersion() const = 0;
  // BCP 47 tags, most preferred first ("zh-Hans-CN", "en-GB", ...).
  virtual std::vector<std::string> preferredLanguages() const = 0;
  // argv without the executable path.
  virtual std::vector<std::string> processArguments() const = 0;
  virtual std::string ownBundleIdentifier() const = 0;
  // The user's home folder as the user database names it ("/Users/ada").
  virtual std::string homeDirectory() const = 0;
};

class Application {
 public:
  virtual ~Application() = default;
  virtual void setActivationPolicy(ActivationPolicy policy) = 0;
  virtual ActivationPolicy activationPolicy() const = 0;
  // Asks the application to terminate; the delegate's applicationWillTerminate runs first.
  virtual void terminate() = 0;
  // The app's commands in its main menu (⌘, and ⌘Q while one of its windows is key); the
  // backend installs them with the standard Edit and Window menus (`mainMenuWith`), so text
  // fields keep copy, paste and undo and windows close with ⌘W.
  virtual void setMainMenu(const Menu& appCommands) = 0;
  // Puts `text` on the general pasteboard, replacing what it held.
  virtual void copyToPasteboard(const std::string& text) = 0;
  // Opens a web address or a System Settings link in the system's handler.
  virtual void openURL(const std::string& address) = 0;
};

// ---------------------------------------------------------------------------------------------
// What the backend reports to the core

class SystemEventSink {
 public:
  virtual ~SystemEventSink() = default;
  virtual void screenParametersDidChange() = 0;
  virtual void workspaceDidWake() = 0;
  virtual void activeSpaceDidChange() = 0;
  virtual void applicationDidLaunch(const RunningApplication& app) = 0;
  virtual void applicationDidTerminate(const RunningApplication& app) = 0;
  virtual void applicationDidActivate(const RunningApplication& app) = 0;
  virtual void menuDidBeginTracking() = 0;
  virtual void menuDidEndTracking() = 0;
  virtual void preferredLanguagesDidChange() = 0;
  // Tarvolo itself became the active app (the user came back to it, from System Settings say).
  virtual void applicationDidBecomeActive() = 0;
};

class ApplicationDelegate {
 public:
  virtual ~ApplicationDelegate() = default;
  virtual void applicationDidFinishLaunching() = 0;
  virtual bool applicationShouldHandleReopen(bool hasVisibleWindows) = 0;
  virtual void applicationWillTerminate() = 0;
  // URLs of the app's own scheme opened by the user or another app; they may arrive before
  // launching has finished when one of them launched the app.
  virtual void applicationOpenURLs(const std::vector<std::string>& urls) = 0;
  // An AppleScript command of the app's scripting definition, by its name ("collapse all");
  // false when the app does not know it.
  virtual bool applicationPerformScriptCommand(std::string_view command) = 0;
};

// Everything a backend provides, handed to the core at start-up.
class Platform {
 public:
  virtual ~Platform() = default;
  virtual Clock& clock() = 0;
  virtual MainQueue& mainQueue() = 0;
  virtual LogSink& logSink() = 0;
  virtual Events& events() = 0;
  virtual StatusBar& statusBar() = 0;
  virtual Screens& screens() = 0;
  virtual Workspace& workspace() = 0;
  virtual WindowList& windowList() = 0;
  virtual Accessibility& accessibility() = 0;
  virtual DefaultsStore& defaults() = 0;
  virtual SystemInfo& system() = 0;
  virtual Application& application() = 0;
  virtual UserInterface& userInterface() = 0;
  virtual AssessmentMode& assessmentMode() = 0;
  // The update framework, which may be absent (Updater::loadFramework).
  virtual Updater& updater() = 0;
  // A new serial background queue; destroying it cancels what has not started.
  virtual std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) = 0;
  virtual HotkeyService& hotkeys() = 0;
  virtual LoginItemService& loginItems() = 0;
  // The backend reports system events to `sink` until it is replaced or cleared (nullptr).
  virtual void setSystemEventSink(SystemEventSink* sink) = 0;
};

}  // namespace tarvolo::platform
