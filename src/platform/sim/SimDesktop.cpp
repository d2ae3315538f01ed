#include "platform/sim/SimDesktop.h"

#include "base/Text.h"
#include "platform/sim/SimAccessibility.h"
#include "platform/sim/SimWindowList.h"
#include "platform/sim/SimLayoutRules.h"
#include "platform/sim/SimSerialQueue.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace tarvolo::sim {

using platform::Event;
using platform::EventType;

namespace {

constexpr double kNotchBarHeight = 37;
constexpr double kPlainBarHeight = 24;
constexpr double kDefaultMenusWidth = 250;  // a Finder-like app when nothing is frontmost
constexpr const char* kDefaultMenusOwner = "com.apple.finder";
constexpr const char* kOwnBundleId = "com.ostrand.tarvolo";
constexpr std::uint16_t kReturnKeyCode = 36;
constexpr std::uint16_t kEscapeKeyCode = 53;
constexpr std::uint16_t kEnterKeyCode = 76;

std::size_t utf8Length(const std::string& text) {
  std::size_t count = 0;
  for (unsigned char c : text) {
    if ((c & 0xC0) != 0x80) ++count;
  }
  return count;
}

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

// ---------------------------------------------------------------------------------------------
// Platform adapters: thin views of the desktop for the app's process.

class SimStatusItem final : public platform::StatusItem {
 public:
  SimStatusItem(SimDesktop& desktop, int id, std::string name) : desktop_(desktop), id_(id), name_(std::move(name)) {}
  ~SimStatusItem() override {
    if (auto* state = desktop_.item(id_); state && !state->removed) desktop_.removeItem(id_, false);
  }
  int id() const { return id_; }
  const std::string& autosaveName() const override { return name_; }
  void setLength(double length) override {
    if (auto* s = desktop_.item(id_)) {
      s->length = length;
      desktop_.relayout();
    }
  }
  double length() const override {
    auto* s = desktop_.item(id_);
    return s ? s->length : 0;
  }
  void setVisible(bool visible) override {
    auto* s = desktop_.item(id_);
    if (!s || s->visible == visible) return;
    s->visible = visible;
    if (!visible) desktop_.defaults().remove(desktop_.preferredPositionKey(name_));
    desktop_.relayout();
  }
  bool isVisible() const override {
    auto* s = desktop_.item(id_);
    return s && s->visible && !s->removed;
  }
  bool hasButton() const override { return desktop_.item(id_) != nullptr; }
  std::optional<Rect> buttonFrameOnScreen() const override {
    auto* s = desktop_.item(id_);
    return s ? desktop_.reportedFrame(*s) : std::nullopt;
  }
  std::optional<Rect> windowFrame() const override {
    auto* s = desktop_.item(id_);
    return s ? desktop_.reportedWindowFrame(*s) : std::nullopt;
  }
  void setTitle(const std::string& title) override {
    if (auto* s = desktop_.item(id_)) {
      s->title = title;
      updateContentWidth(*s);
    }
  }
  bool setSymbolImage(const std::string& symbolName, double) override {
    auto* s = desktop_.item(id_);
    if (!s) return false;
    s->symbol = symbolName;
    updateContentWidth(*s);
    return true;
  }
  void setToolTip(const std::string& text) override {
    if (auto* s = desktop_.item(id_)) s->toolTip = text;
  }
  void setAccessibilityLabel(const std::string& text) override {
    if (auto* s = desktop_.item(id_)) s->accessibilityLabel = text;
  }
  void setAction(platform::EventMask sendOn, std::function<void(std::optional<Event>)> action) override {
    if (auto* s = desktop_.item(id_)) {
      s->actionMask = sendOn;
      s->action = std::move(action);
    }
  }
  void popUpMenu(const platform::Menu& menu) override;

 private:
  void updateContentWidth(SimItemState& s) {
    const auto& settings = desktop_.settings();
    double width = !s.symbol.empty() ? settings.symbolItemWidth
                   : !s.title.empty()
                       ? settings.textItemPadding + settings.textCharWidth * static_cast<double>(utf8Length(s.title))
                       : s.contentWidth;
    if (width != s.contentWidth) {
      s.contentWidth = width;
      desktop_.relayout();
    }
  }

  SimDesktop& desktop_;
  int id_;
  std::string name_;
};

class SimRegistration final : public platform::Registration {
 public:
  explicit SimRegistration(std::function<void()> remove) : remove_(std::move(remove)) {}
  ~SimRegistration() override { remove_(); }

 private:
  std::function<void()> remove_;
};

struct SimDesktop::Adapters {
  struct Log final : platform::LogSink {
    SimDesktop& d;
    explicit Log(SimDesktop& desktop) : d(desktop) {}
    void write(platform::LogCategory category, std::string_view message) override {
      d.recordLog(category == platform::LogCategory::menubar ? "menubar" : "state", std::string(message));
    }
    void writeStandardOutput(std::string_view line) override { d.recordLog("stdout", std::string(line)); }
    void writeSystemLog(std::string_view line) override { d.recordLog("system", std::string(line)); }
  };

  struct EventsImpl final : platform::Events {
    SimDesktop& d;
    explicit EventsImpl(SimDesktop& desktop) : d(desktop) {}
    Point mouseLocation() const override { return d.pointer_; }
    std::uint32_t pressedMouseButtons() const override { return d.pressedButtons_; }
    platform::ModifierFlags modifierFlags() const override { return d.modifiers_; }
    std::optional<Event> currentEvent() const override { return d.currentEvent_; }
    std::unique_ptr<platform::Registration> addGlobalMonitor(platform::EventMask mask,
                                                             std::function<void(const Event&)> handler) override {
      int id = ++d.nextMonitorId_;
      d.monitors_[id] = Monitor{.mask = mask, .global = true, .globalHandler = std::move(handler)};
      return std::make_unique<SimRegistration>([&desktop = d, id] { desktop.monitors_.erase(id); });
    }
    std::unique_ptr<platform::Registration> addLocalMonitor(
        platform::EventMask mask, std::function<std::optional<Event>(const Event&)> handler) override {
      int id = ++d.nextMonitorId_;
      d.monitors_[id] = Monitor{.mask = mask, .global = false, .localHandler = std::move(handler)};
      return std::make_unique<SimRegistration>([&desktop = d, id] { desktop.monitors_.erase(id); });
    }
    bool mayPostEvents() const override { return d.settings_.postEventAccess; }
    bool mouseButtonHeld() const override { return (d.pressedButtons_ & 0x3) != 0; }
    Point cursorPosition() const override { return d.cursorTopLeft(); }
    void postMouseEvent(const platform::SyntheticMouseEvent& event) override { d.postMouseEvent(event); }
    void warpCursor(Point topLeft) override { d.warpCursor(topLeft); }
  };

  struct Bar final : platform::StatusBar {
    SimDesktop& d;
    explicit Bar(SimDesktop& desktop) : d(desktop) {}
    std::unique_ptr<platform::StatusItem> createStatusItem(double length, const std::string& autosaveName) override {
      int id = d.createItem(length, autosaveName);
      return std::make_unique<SimStatusItem>(d, id, autosaveName);
    }
    void removeStatusItem(std::unique_ptr<platform::StatusItem> item) override {
      if (!item) return;
      if (auto* simItem = dynamic_cast<SimStatusItem*>(item.get())) d.removeItem(simItem->id(), true);
    }
    double thickness() const override { return 22; }
  };

  struct ScreensImpl final : platform::Screens {
    SimDesktop& d;
    explicit ScreensImpl(SimDesktop& desktop) : d(desktop) {}
    std::vector<platform::ScreenInfo> screens() const override { return d.screenInfos(); }
  };

  struct WorkspaceImpl final : platform::Workspace {
    SimDesktop& d;
    explicit WorkspaceImpl(SimDesktop& desktop) : d(desktop) {}
    std::vector<platform::RunningApplication> runningApplications() const override {
      std::vector<platform::RunningApplication> out;
      if (d.ownAppRunning_) out.push_back(d.ownRunningApp());
      for (const auto& app : d.apps_) {
        if (app.running) out.push_back(d.runningApp(app));
      }
      return out;
    }
    std::optional<platform::RunningApplication> frontmostApplication() const override {
      if (!d.frontmost_) return std::nullopt;
      for (const auto& app : d.apps_) {
        if (app.running && app.bundleId == *d.frontmost_) return d.runningApp(app);
      }
      return std::nullopt;
    }
    std::optional<platform::RunningApplication> menuBarOwningApplication() const override {
      return frontmostApplication();
    }
    // As read through Accessibility: nothing while the application owning the menus does not
    // answer (the read timed out off the main thread).
    std::optional<double> applicationMenusMaxX() const override {
      if (d.frontmost_) {
        if (auto pid = d.pidOf(*d.frontmost_); pid && !d.answersAccessibility(*pid)) return std::nullopt;
      }
      return d.menusRightEdge();
    }
    bool openURL(const std::string& url) override {
      d.openedURLs_.push_back(url);
      return true;
    }
  };

  struct System final : platform::SystemInfo {
    SimDesktop& d;
    explicit System(SimDesktop& desktop) : d(desktop) {}
    int osMajorVersion() const override { return d.settings_.osMajor; }
    std::vector<std::string> preferredLanguages() const override { return d.settings_.preferredLanguages; }
    std::vector<std::string> processArguments() const override { return d.settings_.arguments; }
    std::string ownBundleIdentifier() const override { return kOwnBundleId; }
    std::string homeDirectory() const override { return "/Users/user"; }
  };

  struct App final : platform::Application {
    SimDesktop& d;
    explicit App(SimDesktop& desktop) : d(desktop) {}
    void setActivationPolicy(platform::ActivationPolicy policy) override { d.ownPolicy_ = policy; }
    platform::ActivationPolicy activationPolicy() const override { return d.ownPolicy_; }
    void terminate() override {
      // Termination unwinds after the current event, as the real run loop does.
      d.queue_.post(0, [&desktop = d] {
        if (!desktop.ownAppRunning_) return;
        if (desktop.delegate_) desktop.delegate_->applicationWillTerminate();
        desktop.ownProcessExited();
      });
    }
    void setMainMenu(const platform::Menu& menu) override { d.ui_.mainMenu = menu; }
    void openURL(const std::string& address) override { d.ui_.openedURLs.push_back(address); }
  };

  // The windows keep what they were last asked to draw; scenario steps call their callbacks as
  // a click would.
  struct Preferences final : platform::PreferencesWindow {
    SimDesktop& d;
    explicit Preferences(SimDesktop& desktop) : d(desktop) {}
    void show(const platform::PreferencesViewState& state, platform::PreferencesCallbacks callbacks) override {
      if (!d.ui_.preferencesVisible) d.ui_.preferencesOpenedAt.push_back(d.queue_.now());
      ++d.ui_.preferencesShowCount;
      d.ui_.preferencesVisible = true;
      d.ui_.preferences = state;
      d.ui_.preferencesCallbacks = std::move(callbacks);
    }
    void update(const platform::PreferencesViewState& state) override {
      if (d.ui_.preferencesVisible) d.ui_.preferences = state;
    }
    void close() override {
      d.ui_.preferencesVisible = false;
      d.ui_.preferencesKeptFront = false;
    }
    bool isShown() const override { return d.ui_.preferencesVisible; }
    void keepFront() override {
      if (d.ui_.preferencesVisible) d.ui_.preferencesKeptFront = true;
    }
  };

  struct Notice final : platform::NewAppNoticeWindow {
    SimDesktop& d;
    explicit Notice(SimDesktop& desktop) : d(desktop) {}
    void show(const platform::NewAppNoticeViewState& state, platform::NewAppNoticeCallbacks callbacks) override {
      ++d.ui_.newAppNoticeCount;
      d.ui_.newAppNoticeShown = true;
      d.ui_.newAppNotice = state;
      d.ui_.newAppNoticeCallbacks = std::move(callbacks);
    }
    void close() override { d.ui_.newAppNoticeShown = false; }
    bool isShown() const override { return d.ui_.newAppNoticeShown; }
  };

  struct ReviewPrompt final : platform::ReviewPromptWindow {
    SimDesktop& d;
    explicit ReviewPrompt(SimDesktop& desktop) : d(desktop) {}
    void show(const platform::ReviewPromptViewState& state, platform::ReviewPromptCallbacks callbacks) override {
      ++d.ui_.reviewPromptCount;
      d.ui_.reviewPromptShown = true;
      d.ui_.reviewPrompt = state;
      d.ui_.reviewPromptCallbacks = std::move(callbacks);
    }
    void update(const platform::ReviewPromptViewState& state) override {
      if (d.ui_.reviewPromptShown) d.ui_.reviewPrompt = state;
    }
    void close() override { d.ui_.reviewPromptShown = false; }
    bool isShown() const override { return d.ui_.reviewPromptShown; }
  };

  struct Guide final : platform::PlacementGuideWindow {
    SimDesktop& d;
    explicit Guide(SimDesktop& desktop) : d(desktop) {}
    void show(const platform::PlacementGuideViewState& state, platform::PlacementGuideCallbacks callbacks) override {
      d.ui_.placementGuideShown = true;
      d.ui_.placementGuide = state;
      d.ui_.placementGuideCallbacks = std::move(callbacks);
    }
    void update(const platform::PlacementGuideViewState& state) override {
      if (d.ui_.placementGuideShown) d.ui_.placementGuide = state;
    }
    void close() override { d.ui_.placementGuideShown = false; }
    bool isShown() const override { return d.ui_.placementGuideShown; }
    // The panel hangs below the bar at the screen's right; the ring is the target itself.
    std::vector<Rect> chromeFrames() const override {
      if (!d.ui_.placementGuideShown || !d.ui_.placementGuide) return {};
      std::vector<Rect> frames;
      if (auto target = d.ui_.placementGuide->target) frames.push_back(*target);
      auto infos = d.screenInfos();
      if (!infos.empty()) {
        const Rect& screen = infos.front().frame;
        const double top = screen.maxY() - infos.front().menuBarHeight;
        frames.push_back(Rect{screen.maxX() - 368, top - 228, 360, 220});
      }
      return frames;
    }
  };

  struct ShelfPanel final : platform::IconShelfPanel {
    SimDesktop& d;
    explicit ShelfPanel(SimDesktop& desktop) : d(desktop) {}
    void show(const platform::IconShelfViewState& state, platform::IconShelfActions actions) override {
      if (!d.ui_.shelfShown) ++d.ui_.shelfShowCount;
      d.ui_.shelfShown = true;
      d.ui_.shelfState = state;
      d.ui_.shelfActions = std::move(actions);
    }
    void update(const platform::IconShelfViewState& state) override {
      if (d.ui_.shelfShown) d.ui_.shelfState = state;
    }
    void close() override {
      d.ui_.shelfShown = false;
      d.ui_.shelfActions = {};
    }
    bool isShown() const override { return d.ui_.shelfShown; }
  };

  struct Ui final : platform::UserInterface {
    SimDesktop& d;
    ShelfPanel shelf;
    Preferences preferencesWindow;
    Notice noticeWindow;
    Guide guideWindow;
    ReviewPrompt reviewWindow;
    explicit Ui(SimDesktop& desktop)
        : d(desktop),
          shelf(desktop),
          preferencesWindow(desktop),
          noticeWindow(desktop),
          guideWindow(desktop),
          reviewWindow(desktop) {}
    platform::FirstLaunchCoachWindow& firstLaunchCoach() override { return d.coachWindow_; }
    platform::PreferencesWindow& preferences() override { return preferencesWindow; }
    platform::NewAppNoticeWindow& newAppNotice() override { return noticeWindow; }
    platform::PlacementGuideWindow& placementGuide() override { return guideWindow; }
    platform::IconShelfPanel& iconShelfPanel() override { return shelf; }
    void presentNotice(platform::NoticeRequest notice) override {
      for (auto& shown : d.ui_.notices) {
        if (shown.request.kind == notice.kind) shown.dismissed = true;
      }
      d.ui_.notices.push_back(SimNoticeRecord{std::move(notice), d.queue_.now(), false});
    }
    void dismissNotice(const std::string& kind) override {
      for (auto& shown : d.ui_.notices) {
        if (shown.request.kind == kind) shown.dismissed = true;
      }
    }
    platform::ReviewPromptWindow& reviewPrompt() override { return reviewWindow; }
  };

  struct Hotkeys final : platform::HotkeyService {
    SimDesktop& d;
    explicit Hotkeys(SimDesktop& desktop) : d(desktop) {}
    std::optional<platform::HotkeyFailure> registerHotkey(std::uint32_t id, platform::KeyChord chord,
                                                          std::function<void(std::uint32_t)> handler) override {
      unregisterHotkey(id);
      chord.modifiers.raw &= platform::kChordModifierMask;
      bool taken = std::find(d.settings_.takenHotkeys.begin(), d.settings_.takenHotkeys.end(), chord) !=
                       d.settings_.takenHotkeys.end() ||
                   std::any_of(d.hotkeys_.begin(), d.hotkeys_.end(),
                               [&](const SimHotkeyRecord& held) { return held.chord == chord; });
      if (taken) return platform::HotkeyFailure{.stage = platform::HotkeyFailureStage::registration, .status = -9878};
      d.hotkeys_.push_back(SimHotkeyRecord{id, chord, std::move(handler)});
      return std::nullopt;
    }
    void unregisterHotkey(std::uint32_t id) override {
      std::erase_if(d.hotkeys_, [id](const SimHotkeyRecord& held) { return held.id == id; });
    }
  };

  struct LoginItems final : platform::LoginItemService {
    SimDesktop& d;
    explicit LoginItems(SimDesktop& desktop) : d(desktop) {}
    platform::LoginItemStatus status() const override { return d.settings_.loginItemStatus; }
    std::optional<std::string> registerMainApp() override {
      ++d.loginItemRecord_.registrations;
      if (d.settings_.loginItemError) return d.settings_.loginItemError;
      d.settings_.loginItemStatus = d.settings_.loginItemNeedsApproval ? platform::LoginItemStatus::requiresApproval
                                                                       : platform::LoginItemStatus::enabled;
      return std::nullopt;
    }
    std::optional<std::string> unregisterMainApp() override {
      ++d.loginItemRecord_.unregistrations;
      if (d.settings_.loginItemError) return d.settings_.loginItemError;
      d.settings_.loginItemStatus = platform::LoginItemStatus::notRegistered;
      return std::nullopt;
    }
    void openSystemSettingsLoginItems() override { ++d.ui_.loginItemSettingsOpened; }
  };

  explicit Adapters(SimDesktop& d)
      : log(d), events(d), bar(d), screens(d), workspace(d), system(d), app(d), ui(d), hotkeys(d), loginItems(d) {}
  Log log;
  EventsImpl events;
  Bar bar;
  ScreensImpl screens;
  WorkspaceImpl workspace;
  System system;
  App app;
  Ui ui;
  Hotkeys hotkeys;
  LoginItems loginItems;
};

void SimStatusItem::popUpMenu(const platform::Menu& menu) {
  desktop_.openMenuFor(name_, menu);
}

// ---------------------------------------------------------------------------------------------

SimDesktop::SimDesktop(std::vector<SimScreenSpec> screens, std::vector<SimAppSpec> apps, SimSettings settings)
    : settings_(std::move(settings)),
      screenSpecs_(std::move(screens)),
      defaults_(std::make_unique<SimDefaultsStore>()),
      adapters_(std::make_unique<Adapters>(*this)),
      windowList_(std::make_unique<SimWindowList>(*this)),
      accessibility_(std::make_unique<SimAccessibility>(*this)),
      assessmentMode_(std::make_unique<SimAssessmentMode>(*this)) {
  if (screenSpecs_.empty()) screenSpecs_.push_back(SimScreenSpec{});
  for (auto& app : apps) addApp(std::move(app));
}

SimDesktop::~SimDesktop() = default;

platform::LogSink& SimDesktop::logSink() { return adapters_->log; }
platform::Events& SimDesktop::events() { return adapters_->events; }
platform::StatusBar& SimDesktop::statusBar() { return adapters_->bar; }
platform::Screens& SimDesktop::screens() { return adapters_->screens; }
platform::Workspace& SimDesktop::workspace() { return adapters_->workspace; }
platform::WindowList& SimDesktop::windowList() { return *windowList_; }
platform::Accessibility& SimDesktop::accessibility() { return *accessibility_; }
platform::SystemInfo& SimDesktop::system() { return adapters_->system; }
platform::Application& SimDesktop::application() { return adapters_->app; }
platform::UserInterface& SimDesktop::userInterface() { return adapters_->ui; }
std::unique_ptr<platform::SerialQueue> SimDesktop::makeSerialQueue(const std::string& label) {
  return std::make_unique<SimSerialQueue>(*this, label);
}
platform::HotkeyService& SimDesktop::hotkeys() { return adapters_->hotkeys; }
platform::LoginItemService& SimDesktop::loginItems() { return adapters_->loginItems; }

void SimDesktop::replaceDefaults(SimDefaultsStore store) {
  defaults_ = std::make_unique<SimDefaultsStore>(std::move(store));
}

// --- apps ------------------------------------------------------------------------------------

int SimDesktop::pidFor(const std::string& bundleId) {
  auto it = pids_.find(bundleId);
  if (it != pids_.end()) return it->second;
  int pid = nextPid_++;
  pids_[bundleId] = pid;
  return pid;
}

void SimDesktop::addApp(SimAppSpec app) {
  apps_.push_back(std::move(app));
  SimAppSpec& config = apps_.back();
  int index = 0;
  for (auto& item : config.items) {
    if (item.autosaveName.empty()) item.autosaveName = "Item-" + std::to_string(index);
    ++index;
  }
  if (config.running) {
    launchDates_[config.bundleId] = queue_.currentDate();
    spawnItems(config);
  }
}

SimAppSpec* SimDesktop::appSpec(const std::string& bundleId) {
  for (auto& app : apps_) {
    if (text::equalsIgnoringCase(app.bundleId, bundleId)) return &app;
  }
  return nullptr;
}

platform::RunningApplication SimDesktop::runningApp(const SimAppSpec& config) const {
  platform::RunningApplication app;
  auto pid = pids_.find(config.bundleId);
  app.pid = pid == pids_.end() ? 0 : pid->second;
  if (!config.bundleId.empty()) app.bundleIdentifier = config.bundleId;
  app.localizedName = config.name;
  if (!config.path.empty()) {
    app.bundlePath = config.path;
    app.executablePath = config.path + "/Contents/MacOS/" + config.name;
  }
  app.activationPolicy = config.activation;
  if (auto date = launchDates_.find(config.bundleId); date != launchDates_.end()) app.launchDate = date->second;
  app.isTerminated = !config.running;
  app.finishedLaunching = hasFinishedLaunching(config);
  return app;
}

bool SimDesktop::hasFinishedLaunching(const SimAppSpec& app) const {
  if (!app.running) return false;
  auto launched = launchDates_.find(app.bundleId);
  return launched == launchDates_.end() || queue_.currentDate() >= launched->second + app.launchDuration;
}

bool SimDesktop::answersAccessibility(int pid) const {
  if (pid == kOwnPid) return ownAppRunning();
  const SimAppSpec* app = appOfPid(pid);
  return app && app->running && !app->accessibilityUnresponsive && !accessibility_->isUnresponsive(pid) &&
         hasFinishedLaunching(*app);
}

void SimDesktop::chargeBackgroundTime(double seconds) {
  if (inBackgroundTask_) {
    backgroundCharge_ += seconds;
  } else {
    mainThreadWaited_ += seconds;
  }
}

platform::RunningApplication SimDesktop::ownRunningApp() const {
  return platform::RunningApplication{.pid = kOwnPid,
                                      .bundleIdentifier = kOwnBundleId,
                                      .localizedName = "Tarvolo",
                                      .bundlePath = "/Applications/Tarvolo.app",
                                      .executablePath = "/Applications/Tarvolo.app/Contents/MacOS/Tarvolo",
                                      .activationPolicy = ownPolicy_};
}

void SimDesktop::spawnItems(SimAppSpec& config) {
  int pid = pidFor(config.bundleId);
  for (const auto& itemSpec : config.items) {
    auto state = std::make_unique<SimItemState>();
    state->id = ++nextItemId_;
    state->ownerPid = pid;
    state->autosaveName = itemSpec.autosaveName;
    state->length = itemSpec.width;
    state->contentWidth = itemSpec.width;
    state->preferredPosition = itemSpec.position;
    state->title = itemSpec.title;
    state->description = itemSpec.description;
    state->creationOrder = ++creationCounter_;
    items_.push_back(std::move(state));
  }
  relayout();
}

std::optional<std::string> SimDesktop::bundleIdOfPid(int pid) const {
  if (pid == kOwnPid) return std::string(kOwnBundleId);
  for (const auto& [bundle, p] : pids_) {
    if (p == pid) return bundle;
  }
  return std::nullopt;
}

std::optional<int> SimDesktop::pidOf(const std::string& bundleId) const {
  if (text::lowercased(bundleId) == kOwnBundleId) return kOwnPid;
  for (const auto& [bundle, pid] : pids_) {
    if (text::equalsIgnoringCase(bundle, bundleId)) return pid;
  }
  return std::nullopt;
}

void SimDesktop::launchApp(const std::string& bundleId) {
  SimAppSpec* config = appSpec(bundleId);
  if (!config || config->running) return;
  config->running = true;
  launchDates_[config->bundleId] = queue_.currentDate();
  spawnItems(*config);
  if (sink_ && reportsLaunchAndTermination(config->activation)) sink_->applicationDidLaunch(runningApp(*config));
}

void SimDesktop::terminateApp(const std::string& bundleId) {
  SimAppSpec* config = appSpec(bundleId);
  if (!config || !config->running) return;
  config->running = false;
  int pid = pidFor(config->bundleId);
  // The process exits: its items vanish, the positions it stored stay.
  if (const auto* menu = foreignMenu(); menu && menu->ownerBundleId == config->bundleId) closeForeignMenu("quit");
  for (const SimItemState* gone : itemsOf(pid)) accessibility_->notify(pid, gone->id, "AXUIElementDestroyed");
  std::erase_if(items_, [pid](const auto& item) { return item->ownerPid == pid; });
  if (frontmost_ && text::equalsIgnoringCase(*frontmost_, config->bundleId)) frontmost_.reset();
  relayout();
  if (sink_ && reportsLaunchAndTermination(config->activation)) sink_->applicationDidTerminate(runningApp(*config));
}

void SimDesktop::setFrontmost(const std::string& bundleId) {
  SimAppSpec* config = appSpec(bundleId);
  if (!config || !config->running) return;
  frontmost_ = config->bundleId;
  relayout();
  if (sink_) sink_->applicationDidActivate(runningApp(*config));
}

void SimDesktop::setScreens(std::vector<SimScreenSpec> screens) {
  if (screens.empty()) return;
  screenSpecs_ = std::move(screens);
  relayout();
  if (sink_) sink_->screenParametersDidChange();
}

void SimDesktop::setPreferredLanguages(std::vector<std::string> languages) {
  settings_.preferredLanguages = std::move(languages);
  if (sink_) sink_->preferredLanguagesDidChange();
}

void SimDesktop::wake() {
  if (sink_) sink_->workspaceDidWake();
}

void SimDesktop::changeSpace() {
  if (sink_) sink_->activeSpaceDidChange();
}

// --- the app's process -------------------------------------------------------------------------

void SimDesktop::launchOwnApp() {
  if (ownAppRunning_) return;
  ownAppRunning_ = true;
  ownPolicy_ = platform::ActivationPolicy::regular;
  if (delegate_) delegate_->applicationDidFinishLaunching();
}

void SimDesktop::reopenOwnApp() {
  if (ownAppRunning_ && delegate_) delegate_->applicationShouldHandleReopen(ui_.preferencesVisible);
  activateOwnApp();
}

void SimDesktop::activateOwnApp() {
  if (ownAppRunning_ && sink_) sink_->applicationDidBecomeActive();
}

void SimDesktop::ownProcessExited() {
  ownAppRunning_ = false;
  for (auto& item : items_) {
    if (item->ownerPid == kOwnPid) item->removed = true;
  }
  std::erase_if(items_, [](const auto& item) { return item->ownerPid == kOwnPid && !item->visible; });
  monitors_.clear();
  // The system drops a process's hot keys with it.
  hotkeys_.clear();
  menuTrackingDepth_ = 0;
  sink_ = nullptr;
  openMenu_.reset();
  ui_.shelfShown = false;
  ui_.shelfActions = {};
  ui_.preferencesVisible = false;
  ui_.preferencesKeptFront = false;
  ui_.newAppNoticeShown = false;
  ui_.placementGuideShown = false;
  ui_.preferencesCallbacks = {};
  ui_.newAppNoticeCallbacks = {};
  ui_.placementGuideCallbacks = {};
  ui_.mainMenu = {};
  relayout();
  if (onOwnExit_) onOwnExit_();
}

// --- the status bar --------------------------------------------------------------------------

int SimDesktop::createItem(double length, const std::string& autosaveName) {
  auto state = std::make_unique<SimItemState>();
  state->id = ++nextItemId_;
  state->ownerPid = kOwnPid;
  state->autosaveName = autosaveName;
  state->length = length;
  state->contentWidth = length >= 0 ? std::min(length, 16.0) : settings_.symbolItemWidth;
  const auto& ignored = settings_.ignorePreferredPositionsOf;
  if (std::find(ignored.begin(), ignored.end(), autosaveName) == ignored.end()) {
    state->preferredPosition = defaults_->getDouble(preferredPositionKey(autosaveName));
  }
  state->creationOrder = ++creationCounter_;
  int id = state->id;
  items_.push_back(std::move(state));
  relayout();
  return id;
}

SimItemState* SimDesktop::item(int id) {
  for (auto& item : items_) {
    if (item->id == id) return item.get();
  }
  return nullptr;
}

void SimDesktop::removeItem(int id, bool deletePosition) {
  auto it = std::find_if(items_.begin(), items_.end(), [id](const auto& item) { return item->id == id; });
  if (it == items_.end()) return;
  if (deletePosition && (*it)->ownerPid == kOwnPid) {
    // The item is released when the turn ends and deletes its position again then: a position
    // written for a new item in the same turn is lost, as on a Mac.
    auto key = preferredPositionKey((*it)->autosaveName);
    defaults_->remove(key);
    queue_.post(0, [this, key] { defaults_->remove(key); });
  }
  items_.erase(it);
  relayout();
}

const SimItemState* SimDesktop::ownItem(const std::string& autosaveName) const {
  for (const auto& item : items_) {
    if (item->ownerPid == kOwnPid && !item->removed && item->autosaveName == autosaveName) return item.get();
  }
  return nullptr;
}

std::vector<const SimItemState*> SimDesktop::itemsOf(int pid) const {
  std::vector<const SimItemState*> out;
  for (const auto& item : items_) {
    if (item->ownerPid == pid && !item->removed) out.push_back(item.get());
  }
  return out;
}

std::vector<const SimItemState*> SimDesktop::allItems() const {
  std::vector<const SimItemState*> out;
  for (const auto& item : items_) {
    if (!item->removed) out.push_back(item.get());
  }
  return out;
}

std::vector<platform::ScreenInfo> SimDesktop::screenInfos() const {
  std::vector<platform::ScreenInfo> out;
  for (const auto& config : screenSpecs_) {
    platform::ScreenInfo info;
    info.frame = Rect{config.x, config.y, config.width, config.height};
    bool notched = config.notchWidth && *config.notchWidth > 0;
    info.menuBarHeight = notched ? kNotchBarHeight : kPlainBarHeight;
    info.visibleFrame = Rect{config.x, config.y, config.width, config.height - info.menuBarHeight - 1};
    if (notched) {
      double notchMinX = config.x + std::floor((config.width - *config.notchWidth) / 2);
      double top = config.y + config.height - info.menuBarHeight;
      info.auxiliaryTopLeftArea = Rect{config.x, top, notchMinX - config.x, info.menuBarHeight};
      double rightMinX = notchMinX + *config.notchWidth;
      info.auxiliaryTopRightArea = Rect{rightMinX, top, config.x + config.width - rightMinX, info.menuBarHeight};
      info.safeAreaTop = 32;
    }
    out.push_back(info);
  }
  return out;
}

double SimDesktop::frontmostMenusWidth() const {
  auto titles = frontmostMenuTitles();
  return std::accumulate(titles.begin(), titles.end(), 0.0);
}

std::vector<double> SimDesktop::frontmostMenuTitles() const {
  if (frontmost_) {
    for (const auto& app : apps_) {
      if (app.running && app.bundleId == *frontmost_) return menuTitleWidths(app);
    }
  }
  return menuTitleWidths(kDefaultMenusOwner, kDefaultMenusWidth);
}

double SimDesktop::menusRightEdge() const {
  const SimScreenSpec& screen = screenSpecs_.front();
  auto notch = screenInfos().front().notchRect();
  return menusRightFor(Rect{screen.x, screen.y, screen.width, screen.height}, notch,
                       frontmostMenusWidth() - droppedTitlesWidth_);
}

double SimDesktop::statusAreaMinX() const {
  double minX = std::max(screenSpecs_.front().x, menusRightEdge());
  auto infos = screenInfos();
  if (auto notch = infos.front().notchRect()) minX = std::max(minX, notch->maxX());
  return minX + (chevronShown_ ? overflowChevronWidth(settings_) : 0);
}

double SimDesktop::statusAreaMaxX() const {
  const SimScreenSpec& screen = screenSpecs_.front();
  return screen.x + screen.width - settings_.systemItemsWidth;
}

double SimDesktop::itemWidth(const SimItemState& item) const {
  return item.length >= 0 ? item.length : item.contentWidth;
}

void SimDesktop::relayout() {
  std::vector<SimItemState*> order;
  for (auto& item : items_) {
    if (!item->removed && item->visible && !withheldByAssertion(*item)) order.push_back(item.get());
  }
  // Right to left: stored positions ascending; items without one stand leftmost, newest last.
  std::stable_sort(order.begin(), order.end(), [](const SimItemState* a, const SimItemState* b) {
    if (a->preferredPosition.has_value() != b->preferredPosition.has_value()) return a->preferredPosition.has_value();
    if (a->preferredPosition && *a->preferredPosition != *b->preferredPosition) {
      return *a->preferredPosition < *b->preferredPosition;
    }
    return a->creationOrder < b->creationOrder;
  });

  const SimScreenSpec& screen = screenSpecs_.front();
  const auto info = screenInfos().front();
  StatusLayoutInput input{.screen = Rect{screen.x, screen.y, screen.width, screen.height},
                          .barY = screen.y + screen.height - info.menuBarHeight,
                          .barHeight = info.menuBarHeight,
                          .notch = info.notchRect(),
                          .regionMaxX = statusAreaMaxX(),
                          .titleWidths = frontmostMenuTitles()};
  for (const SimItemState* item : order) {
    input.items.push_back(StatusLayoutItem{.width = itemWidth(*item), .contentWidth = item->contentWidth});
  }
  StatusLayoutResult layout = layoutStatusItems(input, settings_);
  titlesDropped_ = layout.titlesDropped;
  droppedTitlesWidth_ = layout.droppedTitlesWidth;
  chevronShown_ = layout.chevronShown;

  for (auto& item : items_) {
    if (item->removed || !item->visible || withheldByAssertion(*item)) {
      item->frame.reset();
      item->reported.reset();
      item->onScreen = false;
      item->displaced = false;
      item->rejected = false;
      item->windowPartnerId.reset();
    }
  }
  const auto& shared = settings_.sharedWindowItems;
  for (std::size_t i = 0; i < order.size(); ++i) {
    SimItemState* item = order[i];
    const PlacedStatusItem& placed = layout.items[i];
    item->frame = placed.frame;
    item->reported = placed.reported;
    item->onScreen = placed.onScreen;
    item->displaced = placed.displaced;
    item->rejected = placed.rejected;
    item->windowPartnerId.reset();
    bool sharesWindow = item->ownerPid == kOwnPid &&
                        std::find(shared.begin(), shared.end(), item->autosaveName) != shared.end();
    if (sharesWindow && i > 0 && placed.onScreen) item->windowPartnerId = order[i - 1]->id;
  }
  double now = queue_.now();
  for (auto& item : items_) {
    auto& history = item->history;
    if (history.empty() || history.back().second != item->reported) history.emplace_back(now, item->reported);
    // Only the newest entry older than the latency window matters to readers.
    while (history.size() > 2 && history[1].first <= now - settings_.frameLatency) history.erase(history.begin());
  }
}

bool SimDesktop::withheldByAssertion(const SimItemState& item) const {
  const auto& allowed = assessmentMode_->restriction();
  if (!allowed) return false;
  auto bundle = bundleIdOfPid(item.ownerPid);
  return !bundle || !allowed->contains(text::lowercased(*bundle));
}

std::optional<Rect> SimDesktop::reportedWindowFrame(const SimItemState& item) const {
  auto frame = reportedFrame(item);
  if (!frame || !item.windowPartnerId) return frame;
  const SimItemState* partner = nullptr;
  for (const auto& other : items_) {
    if (other->id == *item.windowPartnerId) partner = other.get();
  }
  auto partnerFrame = partner ? reportedFrame(*partner) : std::nullopt;
  if (!partnerFrame) return frame;
  double minX = std::min(frame->minX(), partnerFrame->minX());
  double maxX = std::max(frame->maxX(), partnerFrame->maxX());
  return Rect{minX, frame->y, maxX - minX, frame->height};
}

std::optional<Rect> SimDesktop::reportedFrame(const SimItemState& item) const {
  if (!settings_.framesReadable) return std::nullopt;
  double cutoff = queue_.now() - settings_.frameLatency;
  std::optional<Rect> frame;
  bool any = false;
  for (const auto& [time, entry] : item.history) {
    if (time > cutoff + 1e-12) break;
    frame = entry;
    any = true;
  }
  return any ? frame : std::nullopt;
}

// --- events ----------------------------------------------------------------------------------

void SimDesktop::recordLog(std::string channel, std::string message) {
  log_.push_back(SimLogLine{queue_.now(), std::move(channel), std::move(message)});
}

std::vector<std::string> SimDesktop::logMessages(const std::string& channel) const {
  std::vector<std::string> out;
  for (const auto& line : log_) {
    if (channel.empty() || line.channel == channel) out.push_back(line.message);
  }
  return out;
}

Point SimDesktop::itemCenter(const SimItemState& item) const {
  if (!item.frame) return pointer_;
  return {item.frame->maxX() - std::min(item.frame->width, item.contentWidth) / 2, item.frame->y + item.frame->height / 2};
}

void SimDesktop::dispatchEvent(const Event& event, const SimItemState* target) {
  bool ownTarget = target && target->ownerPid == kOwnPid && ownAppRunning_;
  // A status button tracks the mouse inside its mouse-down, which consumes the mouse-up: the
  // app's local monitors never see it; only the button's action does.
  const bool consumedByTracking = ownTarget && (event.type == EventType::leftMouseUp ||
                                                event.type == EventType::rightMouseUp);
  // Copy: a handler may install or remove monitors.
  auto monitors = monitors_;
  std::optional<Event> delivered = event;
  for (auto& [id, monitor] : monitors) {
    if (!(monitor.mask & platform::eventMask(event.type))) continue;
    if (!monitors_.count(id)) continue;
    if (monitor.global && !ownTarget) monitor.globalHandler(event);
    if (!monitor.global && ownTarget && delivered && !consumedByTracking) delivered = monitor.localHandler(*delivered);
  }
  if (!ownTarget || !delivered) return;
  SimItemState* state = item(target->id);
  if (!state || !(state->actionMask & platform::eventMask(event.type)) || !state->action) return;
  currentEvent_ = *delivered;
  lastEvent_ = *delivered;
  auto action = state->action;
  action(*delivered);
  currentEvent_.reset();
}

bool SimDesktop::pressOwnItemThroughAccessibility(const std::string& autosaveName) {
  const SimItemState* target = ownItem(autosaveName);
  if (!target || !ownAppRunning_ || !target->action) return false;
  // The application's current event is whatever it handled last, which says nothing of this press.
  currentEvent_ = lastEvent_;
  auto action = target->action;
  action(std::nullopt);
  currentEvent_.reset();
  return true;
}

bool SimDesktop::clickOwnItem(const std::string& autosaveName, MouseButton button, platform::ModifierFlags modifiers) {
  const SimItemState* target = ownItem(autosaveName);
  if (!target || !target->onScreen) return false;
  if (openMenu_) dismissMenu();
  pointer_ = itemCenter(*target);
  modifiers_ = modifiers;
  bool left = button == MouseButton::left;
  pressedButtons_ = left ? 1 : 2;
  int id = target->id;
  dispatchEvent(Event{left ? EventType::leftMouseDown : EventType::rightMouseDown, modifiers, pointer_, queue_.now()},
                target);
  queue_.post(settings_.clickDuration, [this, id, left, modifiers] {
    pressedButtons_ = 0;
    const SimItemState* again = item(id);
    dispatchEvent(Event{left ? EventType::leftMouseUp : EventType::rightMouseUp, modifiers, pointer_, queue_.now()},
                  again);
    modifiers_ = {};
  });
  return true;
}

bool SimDesktop::pressMainMenuShortcut(const std::string& keyEquivalent) {
  if (!ownAppRunning_) return false;
  for (const auto& entry : ui_.mainMenu.items) {
    if (entry.isSeparator || entry.keyEquivalent != keyEquivalent || !entry.perform) continue;
    // The menu runs its action after the key event, as AppKit does.
    queue_.post(0, entry.perform);
    return true;
  }
  return false;
}

void SimDesktop::closePreferencesWindow() {
  if (!ui_.preferencesVisible) return;
  ui_.preferencesVisible = false;
  ui_.preferencesKeptFront = false;
  if (auto closed = ui_.preferencesCallbacks.closed) closed();
}

bool SimDesktop::commandDragItem(const std::string& name, double toX) {
  SimItemState* dragged = nullptr;
  for (auto& item : items_) {
    if (item->removed || !item->frame || !item->onScreen) continue;
    bool ownMatch = item->ownerPid == kOwnPid && item->autosaveName == name;
    auto bundle = bundleIdOfPid(item->ownerPid);
    bool foreignMatch = item->ownerPid != kOwnPid && bundle && text::equalsIgnoringCase(*bundle, name);
    if (ownMatch || foreignMatch) {
      dragged = item.get();
      break;
    }
  }
  if (!dragged) return false;
  platform::ModifierFlags command = platform::ModifierFlags{}.with(platform::Modifier::command);
  modifiers_ = command;
  pointer_ = itemCenter(*dragged);
  pressedButtons_ = 1;
  int id = dragged->id;
  dispatchEvent(Event{EventType::leftMouseDown, command, pointer_, queue_.now()}, dragged);

  // Where the drop lands among the other laid-out items.
  std::vector<SimItemState*> others;
  for (auto& item : items_) {
    if (item.get() != dragged && !item->removed && item->frame) others.push_back(item.get());
  }
  std::sort(others.begin(), others.end(),
            [](const SimItemState* a, const SimItemState* b) { return a->frame->midX() > b->frame->midX(); });
  const SimItemState* rightNeighbour = nullptr;
  const SimItemState* leftNeighbour = nullptr;
  for (const SimItemState* other : others) {
    if (other->frame->midX() > toX) {
      rightNeighbour = other;
    } else {
      leftNeighbour = other;
      break;
    }
  }
  auto effective = [this](const SimItemState* item) {
    return item->preferredPosition.value_or(statusAreaMaxX() - item->frame->maxX());
  };
  // The system reorders only when the drop passes a neighbour's middle.
  bool crossed = (rightNeighbour && dragged->frame->midX() > rightNeighbour->frame->midX()) ||
                 (leftNeighbour && dragged->frame->midX() < leftNeighbour->frame->midX());
  if (crossed) {
    double right = rightNeighbour ? effective(rightNeighbour) : -1;
    double left = leftNeighbour ? effective(leftNeighbour) : right + 2;
    double position = (right + left) / 2;
    dragged->preferredPosition = position;
    if (dragged->ownerPid == kOwnPid) {
      defaults_->set(preferredPositionKey(dragged->autosaveName), DefaultsValue(position));
    } else if (auto bundle = bundleIdOfPid(dragged->ownerPid)) {
      if (SimAppSpec* config = appSpec(*bundle)) {
        for (auto& itemSpec : config->items) {
          if (itemSpec.autosaveName == dragged->autosaveName) itemSpec.position = position;
        }
      }
    }
    relayout();
  }
  pointer_.x = toX;
  queue_.post(0.3, [this, id, command] {
    pressedButtons_ = 0;
    dispatchEvent(Event{EventType::leftMouseUp, command, pointer_, queue_.now()}, item(id));
    modifiers_ = {};
  });
  return true;
}

void SimDesktop::clickElsewhere(Point location) {
  if (openMenu_) dismissMenu();
  closeForeignMenu("click-elsewhere");
  pointer_ = location;
  dispatchEvent(Event{EventType::leftMouseDown, {}, location, queue_.now()}, nullptr);
  queue_.post(settings_.clickDuration, [this, location] {
    dispatchEvent(Event{EventType::leftMouseUp, {}, location, queue_.now()}, nullptr);
  });
}

void SimDesktop::movePointer(Point location) {
  pointer_ = location;
  dispatchEvent(Event{EventType::mouseMoved, modifiers_, location, queue_.now()}, nullptr);
}

void SimDesktop::pressMouseButton(MouseButton button) {
  bool left = button == MouseButton::left;
  pressedButtons_ |= left ? 1u : 2u;
  dispatchEvent(Event{left ? EventType::leftMouseDown : EventType::rightMouseDown, modifiers_, pointer_, queue_.now()},
                nullptr);
}

void SimDesktop::releaseMouseButton(MouseButton button) {
  bool left = button == MouseButton::left;
  pressedButtons_ &= ~(left ? 1u : 2u);
  dispatchEvent(Event{left ? EventType::leftMouseUp : EventType::rightMouseUp, modifiers_, pointer_, queue_.now()},
                nullptr);
}

void SimDesktop::pressModifiers(platform::ModifierFlags flags) {
  modifiers_.raw |= flags.raw;
  dispatchEvent(Event{EventType::flagsChanged, modifiers_, pointer_, queue_.now()}, nullptr);
}

void SimDesktop::releaseModifiers(platform::ModifierFlags flags) {
  modifiers_.raw &= ~flags.raw;
  dispatchEvent(Event{EventType::flagsChanged, modifiers_, pointer_, queue_.now()}, nullptr);
}

void SimDesktop::typeKey(std::uint16_t keyCode, platform::ModifierFlags modifiers) {
  platform::KeyChord chord{keyCode, {modifiers.raw & platform::kChordModifierMask}};
  // Another app's hot key swallows the key before anyone sees it.
  if (std::find(settings_.takenHotkeys.begin(), settings_.takenHotkeys.end(), chord) != settings_.takenHotkeys.end()) {
    return;
  }
  for (const auto& held : hotkeys_) {
    if (held.chord != chord) continue;
    // The system reports the press on the app's event thread; the handler runs on the main queue.
    queue_.post(0, [handler = held.handler, id = held.id] { handler(id); });
    return;
  }
  // An open menu of another app takes the keys that close it.
  if (keyCode == kEscapeKeyCode) closeForeignMenu("escape");
  if (keyCode == kReturnKeyCode || keyCode == kEnterKeyCode) closeForeignMenu("return");
  const bool toOwnApp = ownAppRunning_ && ui_.preferencesVisible;
  const bool globalSees = accessibility_->isProcessTrusted();
  for (EventType type : {EventType::keyDown, EventType::keyUp}) {
    Event event{type, modifiers, pointer_, queue_.now(), keyCode};
    auto monitors = monitors_;
    std::optional<Event> delivered = event;
    for (auto& [id, monitor] : monitors) {
      if (!(monitor.mask & platform::eventMask(type)) || !monitors_.count(id)) continue;
      if (monitor.global && !toOwnApp && globalSees) monitor.globalHandler(event);
      if (!monitor.global && toOwnApp && delivered) delivered = monitor.localHandler(*delivered);
    }
  }
}

void SimDesktop::beginMenuTracking() {
  ++menuTrackingDepth_;
  if (sink_) sink_->menuDidBeginTracking();
}

void SimDesktop::endMenuTracking() {
  if (menuTrackingDepth_ == 0) return;
  --menuTrackingDepth_;
  if (sink_) sink_->menuDidEndTracking();
}

bool SimDesktop::openURL(const std::string& url) {
  if (!ownAppRunning_ || !delegate_) return false;
  delegate_->applicationOpenURLs({url});
  return true;
}

std::optional<bool> SimDesktop::runAppleScriptCommand(const std::string& command) {
  if (!ownAppRunning_ || !delegate_) return std::nullopt;
  return delegate_->applicationPerformScriptCommand(command);
}

void SimDesktop::openMenuFor(const std::string& autosaveName, const platform::Menu& menu) {
  if (openMenu_) dismissMenu();
  openMenu_ = SimMenuRecord{autosaveName, menu, queue_.now()};
  ++menuOpenCount_;
  if (sink_) sink_->menuDidBeginTracking();
}

bool SimDesktop::chooseMenuAction(const std::string& action) {
  if (!openMenu_) return false;
  std::function<void()> perform;
  bool found = false;
  for (const auto& item : openMenu_->menu.items) {
    if (!item.isSeparator && item.action == action) {
      perform = item.perform;
      found = true;
      break;
    }
  }
  if (!found) return false;
  openMenu_.reset();
  if (sink_) sink_->menuDidEndTracking();
  if (perform) perform();
  return true;
}

void SimDesktop::dismissMenu() {
  if (!openMenu_) return;
  openMenu_.reset();
  if (sink_) sink_->menuDidEndTracking();
}

}  // namespace tarvolo::sim

namespace tarvolo::sim {

// --- other applications' menus and posted events ---------------------------------------------------


const SimAppSpec* SimDesktop::appOfPid(int pid) const {
  auto bundle = bundleIdOfPid(pid);
  if (!bundle) return nullptr;
  for (const auto& app : apps_) {
    if (app.bundleId == *bundle) return &app;
  }
  return nullptr;
}

const SimForeignMenuRecord* SimDesktop::foreignMenu() const {
  if (foreignMenus_.empty() || foreignMenus_.back().closedBy) return nullptr;
  return &foreignMenus_.back();
}

bool SimDesktop::openForeignMenu(int itemId, const std::string& openedBy) {
  const SimItemState* target = item(itemId);
  if (!target || target->ownerPid == kOwnPid) return false;
  if (const auto* open = foreignMenu(); open && open->itemId == itemId) return true;
  // Opening a menu ends any other menu's tracking, the app's own included.
  closeForeignMenu("click-elsewhere");
  if (openMenu_) dismissMenu();
  foreignMenus_.push_back(SimForeignMenuRecord{.itemId = itemId,
                                               .ownerBundleId = bundleIdOfPid(target->ownerPid).value_or(""),
                                               .itemName = target->autosaveName,
                                               .openedBy = openedBy,
                                               .openedAt = queue_.now()});
  return true;
}

void SimDesktop::closeForeignMenu(const std::string& closedBy) {
  if (foreignMenus_.empty() || foreignMenus_.back().closedBy) return;
  foreignMenus_.back().closedBy = closedBy;
  foreignMenus_.back().closedAt = queue_.now();
  if (auto pid = pidOf(foreignMenus_.back().ownerBundleId)) {
    accessibility_->notify(*pid, foreignMenus_.back().itemId, "AXMenuClosed");
  }
}

bool SimDesktop::chooseForeignMenuEntry() {
  if (!foreignMenu()) return false;
  closeForeignMenu("choice");
  dispatchEvent(Event{EventType::leftMouseUp, {}, pointer_, queue_.now()}, nullptr);
  return true;
}

void SimDesktop::pressKey(std::uint16_t keyCode) { typeKey(keyCode, modifiers_); }

const SimItemState* SimDesktop::foreignItemAt(Point topLeft) const {
  auto notch = screenInfos().front().notchRect();
  for (const auto& candidate : items_) {
    if (candidate->removed || !candidate->visible || !candidate->onScreen || !candidate->frame) continue;
    if (candidate->ownerPid == kOwnPid) continue;
    const Rect frame = windowList_->topLeftFrame(*candidate->frame);
    const bool inside = topLeft.x >= frame.minX() && topLeft.x < frame.maxX() && topLeft.y >= frame.minY() &&
                        topLeft.y < frame.maxY();
    if (!inside) continue;
    // Nothing is drawn, and nothing can be hit, under the camera housing.
    if (notch && candidate->frame->intersects(*notch)) {
      const Rect housing = windowList_->topLeftFrame(*notch);
      if (topLeft.x >= housing.minX() && topLeft.x < housing.maxX()) return nullptr;
    }
    return candidate.get();
  }
  return nullptr;
}

Point SimDesktop::cursorTopLeft() const {
  const double primaryHeight = screenInfos().front().frame.height;
  return {pointer_.x, primaryHeight - pointer_.y};
}

void SimDesktop::warpCursor(Point topLeft) {
  const double primaryHeight = screenInfos().front().frame.height;
  pointer_ = {topLeft.x, primaryHeight - topLeft.y};
}

void SimDesktop::postMouseEvent(const platform::SyntheticMouseEvent& event) {
  posted_.push_back(SimPostedEvent{event, queue_.now()});
  warpCursor(event.location);
  const bool down = event.kind == platform::SyntheticMouseEvent::Kind::leftMouseDown;
  dispatchEvent(Event{down ? EventType::leftMouseDown : EventType::leftMouseUp, event.modifierFlags, pointer_,
                      queue_.now()},
                nullptr);
  if (down) {
    pendingPostedDown_ = event;
    return;
  }
  // The window server makes a click of a down and an up at one place, both with click state 1.
  const auto pressed = std::exchange(pendingPostedDown_, std::nullopt);
  if (!pressed || pressed->location != event.location || pressed->clickState != 1 || event.clickState != 1) return;
  const SimItemState* target = foreignItemAt(event.location);
  if (!target) {
    closeForeignMenu("click-elsewhere");
    return;
  }
  if (const auto* open = foreignMenu(); open && open->itemId == target->id) {
    closeForeignMenu("click");
    return;
  }
  openForeignMenu(target->id, "click");
}

}  // namespace tarvolo::sim
