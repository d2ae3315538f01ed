#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimMainQueue.h"
#include "platform/sim/SimSerialQueue.h"
#include "platform/sim/SimWaitLedger.h"

namespace tarvolo::sim {
namespace {

SimAppSetup iconApp(const std::string& bundle, double width, std::optional<double> position) {
  return SimAppSetup{.bundleId = bundle, .name = bundle, .activation = platform::ActivationPolicy::accessory,
                    .menusWidth = 0, .items = {SimItemSetup{.width = width, .position = position}}};
}

const SimItemState& firstItemOf(SimDesktop& desktop, const std::string& bundle) {
  for (const auto* item : desktop.bar().allItems()) {
    if (desktop.processes().bundleIdOfPid(item->ownerPid) == bundle) return *item;
  }
  throw std::logic_error("no item of " + bundle);
}

// The simulated bar: positions, lengths, the notch and the menus (the platform contract covers
// what every backend shares).
TEST(SimMenuBar, LaysItemsOutRightToLeftByStoredPositionWithUnpositionedLeftmost) {
  SimDesktop desktop({SimScreenSetup{.width = 1920, .height = 1080}},
                     {iconApp("near", 30, 10), iconApp("far", 40, 50), iconApp("new", 20, std::nullopt)}, {});
  const auto& near = firstItemOf(desktop, "near");
  const auto& far = firstItemOf(desktop, "far");
  const auto& fresh = firstItemOf(desktop, "new");
  double right = 1920 - desktop.settings().systemItemsWidth;
  EXPECT_EQ(near.frame->maxX(), right);
  EXPECT_EQ(far.frame->maxX(), near.frame->minX());
  EXPECT_EQ(fresh.frame->maxX(), far.frame->minX());
  EXPECT_EQ(far.frame->width, 40);
}

TEST(SimMenuBar, NotchAndAppMenusHideItemsThatReachThem) {
  SimAppSetup app{.bundleId = "com.example.app", .name = "App", .menusWidth = 700};
  std::vector<SimAppSetup> apps = {app};
  for (int i = 0; i < 25; ++i) apps.push_back(iconApp("icon" + std::to_string(i), 30, 10.0 * (i + 1)));
  SimDesktop desktop({SimScreenSetup{.width = 1512, .height = 982, .notchWidth = 185}}, apps, {});
  desktop.setFrontmost("com.example.app");
  auto notch = desktop.screens().infos().front().notchRect();
  ASSERT_TRUE(notch);
  EXPECT_EQ(notch->width, 185);
  EXPECT_EQ(desktop.screens().infos().front().menuBarHeight, 37);
  // Menus too wide for the left of the notch continue right of it.
  EXPECT_DOUBLE_EQ(desktop.bar().menusRightEdge(), notch->maxX() + (700 - notch->minX()));
  for (const auto* item : desktop.bar().allItems()) {
    bool clear = item->frame->minX() >= desktop.bar().statusAreaMinX();
    EXPECT_EQ(item->onScreen, clear) << item->frame->minX();
  }
  EXPECT_FALSE(firstItemOf(desktop, "icon24").onScreen);
  EXPECT_TRUE(firstItemOf(desktop, "icon0").onScreen);
}

TEST(SimMenuBar, LongItemPushesEverythingLeftOfItOffScreen) {
  SimDesktop desktop({SimScreenSetup{.width = 1512, .height = 982, .notchWidth = 185}},
                     {iconApp("right", 30, 10), iconApp("left", 30, 30)}, {});
  desktop.defaults().set("NSStatusItem Preferred Position sep", DefaultsValue(20.0));
  auto item = desktop.statusBar().createStatusItem(16, "sep");
  EXPECT_TRUE(firstItemOf(desktop, "left").onScreen);
  item->setLength(600);
  EXPECT_FALSE(firstItemOf(desktop, "left").onScreen);
  EXPECT_TRUE(firstItemOf(desktop, "right").onScreen);
  EXPECT_TRUE(desktop.bar().ownItem("sep")->onScreen);  // its right end still shows
  item->setLength(16);
  EXPECT_TRUE(firstItemOf(desktop, "left").onScreen);
}

TEST(SimMenuBar, FramesArriveOnlyAfterTheLatencyAndCanBeStale) {
  SimSettings settings;
  settings.frameLatency = 0.1;
  SimDesktop desktop({SimScreenSetup{}}, {}, settings);
  auto item = desktop.statusBar().createStatusItem(16, "sep");
  EXPECT_FALSE(item->buttonFrameOnScreen().has_value());
  desktop.queue().runFor(0.1);
  ASSERT_TRUE(item->buttonFrameOnScreen());
  EXPECT_EQ(item->buttonFrameOnScreen()->width, 16);
  item->setLength(300);
  EXPECT_EQ(item->buttonFrameOnScreen()->width, 16);  // stale
  desktop.queue().runFor(0.099);
  EXPECT_EQ(item->buttonFrameOnScreen()->width, 16);
  desktop.queue().runFor(0.002);
  EXPECT_EQ(item->buttonFrameOnScreen()->width, 300);
}

TEST(SimMenuBar, CommandDragPastANeighbourReordersAndStoresThePosition) {
  SimDesktop desktop({SimScreenSetup{.width = 1920, .height = 1080}}, {iconApp("x", 30, 10), iconApp("y", 30, 20)}, {});
  desktop.defaults().set("NSStatusItem Preferred Position mine", DefaultsValue(5.0));
  auto mine = desktop.statusBar().createStatusItem(20, "mine");
  double yMid = firstItemOf(desktop, "y").frame->midX();
  ASSERT_TRUE(desktop.events().commandDragItem("mine", yMid - 5));
  auto stored = desktop.defaults().getDouble("NSStatusItem Preferred Position mine");
  ASSERT_TRUE(stored);
  EXPECT_GT(*stored, 20);
  EXPECT_LT(desktop.bar().ownItem("mine")->frame->maxX(), firstItemOf(desktop, "y").frame->minX() + 1e-9);
}

TEST(SimWorkspace, LaunchAndTerminateChangeRunningAppsAndItems) {
  SimAppSetup later = iconApp("later", 30, 10);
  later.running = false;
  SimDesktop desktop({SimScreenSetup{}}, {later}, {});
  EXPECT_TRUE(desktop.bar().allItems().empty());
  desktop.launchApp("later");
  EXPECT_EQ(desktop.bar().allItems().size(), 1u);
  auto running = desktop.workspace().runningApplications();
  EXPECT_EQ(running.size(), 1u);  // the app's own process is not running yet
  desktop.terminateApp("LATER");
  EXPECT_TRUE(desktop.bar().allItems().empty());
}

// What the desktop reports to the app, in order.
class RecordingSink final : public platform::SystemEventSink {
 public:
  std::vector<std::string> events;
  void screenParametersDidChange() override { events.push_back("screens"); }
  void workspaceDidWake() override { events.push_back("wake"); }
  void activeSpaceDidChange() override { events.push_back("space"); }
  void applicationDidLaunch(const platform::RunningApplication& app) override {
    events.push_back("launch " + app.bundleIdentifier.value_or(""));
  }
  void applicationDidTerminate(const platform::RunningApplication& app) override {
    events.push_back("terminate " + app.bundleIdentifier.value_or(""));
  }
  void applicationDidActivate(const platform::RunningApplication& app) override {
    events.push_back("activate " + app.bundleIdentifier.value_or(""));
  }
  void menuDidBeginTracking() override { events.push_back("menu begin"); }
  void menuDidEndTracking() override { events.push_back("menu end"); }
  void preferredLanguagesDidChange() override { events.push_back("languages"); }
  void applicationDidBecomeActive() override { events.push_back("became active"); }
};

// Background-only processes come and go without the workspace's launch and terminate notices.
TEST(SimWorkspace, LaunchAndTerminateAreReportedForRegularAndAccessoryAppsOnly) {
  std::vector<SimAppSetup> apps;
  for (auto [bundle, policy] : {std::pair{"regular", platform::ActivationPolicy::regular},
                                std::pair{"accessory", platform::ActivationPolicy::accessory},
                                std::pair{"daemon", platform::ActivationPolicy::prohibited}}) {
    apps.push_back(SimAppSetup{.bundleId = bundle, .name = bundle, .activation = policy, .running = false});
  }
  SimDesktop desktop({SimScreenSetup{}}, apps, {});
  RecordingSink sink;
  desktop.setSystemEventSink(&sink);
  for (const char* bundle : {"regular", "accessory", "daemon"}) desktop.launchApp(bundle);
  for (const char* bundle : {"daemon", "accessory", "regular"}) desktop.terminateApp(bundle);
  EXPECT_EQ(sink.events, (std::vector<std::string>{"launch regular", "launch accessory", "terminate accessory",
                                                   "terminate regular"}));
  desktop.setSystemEventSink(nullptr);
}
// The app's windows keep what they last drew; a scenario reads them and presses their controls.
TEST(SimWindows, ARecordCountsEveryShowAndEachOpeningAndKeepsTheLastState) {
  SimDesktop desktop({SimScreenSetup{}}, {}, {});
  auto& prompt = desktop.userInterface().reviewPrompt();
  int later = 0;
  prompt.show({.message = "first"}, {.later = [&] { ++later; }});
  desktop.queue().runFor(2);
  prompt.show({.message = "again"}, {.later = [&] { ++later; }});
  prompt.close();
  prompt.update({.message = "while closed"});
  EXPECT_FALSE(prompt.shown());
  EXPECT_EQ(prompt.showing(), nullptr);
  EXPECT_EQ(prompt.lastState()->message, "again");
  EXPECT_EQ(prompt.showCount(), 2);
  EXPECT_EQ(prompt.openedAt(), std::vector<double>{0});
  prompt.show({.message = "third"}, {});
  EXPECT_EQ(prompt.openedAt(), (std::vector<double>{0, 2}));
  EXPECT_EQ(later, 0);
}

// The windows that belong to the process go when it ends; a click can no longer reach them.
TEST(SimWindows, TheAppsProcessEndingClosesItsWindowsAndDropsTheirControls) {
  SimDesktop desktop({SimScreenSetup{}}, {}, {});
  desktop.launchOwnApp();
  auto& shelf = desktop.userInterface().iconShelfPanel();
  auto& settings = desktop.userInterface().preferences();
  shelf.show({.title = "Shelf"}, {.escape = [] {}});
  settings.show({.windowTitle = "Settings"}, {.closed = [] {}});
  settings.keepFront();
  ASSERT_TRUE(settings.keptFront());
  desktop.ownProcessExited();
  EXPECT_FALSE(shelf.shown());
  EXPECT_FALSE(shelf.controls().escape);
  EXPECT_FALSE(settings.shown());
  EXPECT_FALSE(settings.keptFront());
  EXPECT_FALSE(settings.controls().closed);
  EXPECT_EQ(settings.lastState()->windowTitle, "Settings");
}

// The settings window's close button tells the app; closing it from the app does not.
TEST(SimWindows, OnlyTheUsersCloseButtonCallsTheSettingsBack) {
  SimDesktop desktop({SimScreenSetup{}}, {}, {});
  auto& settings = desktop.userInterface().preferences();
  int closed = 0;
  settings.show({}, {.closed = [&] { ++closed; }});
  settings.close();
  settings.closeByUser();
  EXPECT_EQ(closed, 0);
  settings.show({}, {.closed = [&] { ++closed; }});
  settings.closeByUser();
  EXPECT_EQ(closed, 1);
  EXPECT_FALSE(settings.shown());
}

// A queued task can hold the last reference to a background queue, which cancels its own tasks on
// the main queue when released: at the main queue's end that must find it whole.
TEST(SimMainQueueTeardown, ReleasingATaskThatCancelsOnTheQueueIsSafeWhenTheQueueGoes) {
  SimWaitLedger waits;
  auto queue = std::make_unique<SimMainQueue>();
  auto background = std::make_shared<SimSerialQueue>(*queue, waits, "test");
  background->post(5, [] {});
  queue->post(1, [held = std::move(background)] {});
  ASSERT_EQ(queue->pendingCount(), 2u);
  queue.reset();
}

TEST(SimMainQueueTeardown, DiscardingDropsWhatReleasedTasksPostOrCancel) {
  SimMainQueue queue;
  struct PostsWhenReleased {
    SimMainQueue* queue = nullptr;
    ~PostsWhenReleased() {
      if (queue) queue->post(0, [] {});
    }
  };
  auto poster = std::make_shared<PostsWhenReleased>();
  poster->queue = &queue;
  queue.post(1, [poster = std::move(poster)] {});
  queue.discardPending();
  EXPECT_EQ(queue.pendingCount(), 0u);
  queue.runFor(2);
  EXPECT_EQ(queue.executedCount(), 0u);
}

class SimDefaultsFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() /
           ("tarvolo-defaults-" + std::to_string(::getpid()) + "-" +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_);
    file_ = dir_ / "defaults.json";
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::filesystem::path dir_;
  std::filesystem::path file_;
};

TEST_F(SimDefaultsFileTest, ValuesSurviveAReloadWithTheirTypes) {
  {
    auto store = SimDefaultsStore::backedBy(file_, nullptr);
    store.set("flag", DefaultsValue(true));
    store.set("length", DefaultsValue(612.5));
    store.set("count", DefaultsValue(3));
    store.set("ids", DefaultsValue::fromStrings({"a", "b"}));
    store.set("map", DefaultsValue::fromStringMap({{"k", "v"}}));
  }
  EXPECT_FALSE(std::filesystem::exists(dir_ / "defaults.json.tmp"));
  auto store = SimDefaultsStore::backedBy(file_, nullptr);
  EXPECT_EQ(store.getBool("flag"), true);
  EXPECT_EQ(store.getDouble("length"), 612.5);
  EXPECT_TRUE(std::holds_alternative<std::int64_t>(store.object("count")->storage()));
  EXPECT_EQ(store.getStringArray("ids"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(store.getStringDictionary("map")->at("k"), "v");
}

// The real store keeps what it does not understand; the app's first write must not rewrite it.
TEST_F(SimDefaultsFileTest, KeysTheAppDoesNotTouchComeBackAsTheFileHeldThem) {
  const auto foreign = nlohmann::json::parse(R"({
    "other.null": null,
    "other.nested": {"a": null, "b": [1, null, 18446744073709551615], "c": 2.5},
    "other.huge": 18446744073709551615,
    "mine": 1
  })");
  { std::ofstream(file_) << foreign.dump(2); }
  auto store = SimDefaultsStore::backedBy(file_, nullptr);
  EXPECT_FALSE(store.object("other.null").has_value());
  EXPECT_EQ(store.getDouble("other.huge"), 18446744073709551615.0) << "read as the number it is, not -1";
  store.set("mine", DefaultsValue(2));
  const auto written = nlohmann::json::parse(std::ifstream(file_));
  for (const char* key : {"other.null", "other.nested", "other.huge"}) {
    ASSERT_TRUE(written.contains(key)) << key;
    EXPECT_EQ(written[key].dump(), foreign[key].dump()) << key;
  }
  EXPECT_EQ(written["mine"], 2);
  store.remove("other.null");
  EXPECT_FALSE(nlohmann::json::parse(std::ifstream(file_)).contains("other.null")) << "a removal still removes";
}

TEST_F(SimDefaultsFileTest, CorruptFilesAreMovedAsideUnderFreshNamesAndReportedOnce) {
  std::vector<std::string> reports;
  auto report = [&](const std::string& r) { reports.push_back(r); };
  for (const char* garbage : {"{\"a\": ", "[1, 2]"}) {
    { std::ofstream(file_) << garbage; }
    auto store = SimDefaultsStore::backedBy(file_, report);
    EXPECT_TRUE(store.keys().empty());
    ASSERT_TRUE(store.quarantined());
  }
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_TRUE(std::filesystem::exists(dir_ / "defaults.json.corrupt-1"));
  EXPECT_TRUE(std::filesystem::exists(dir_ / "defaults.json.corrupt-2"));
  std::ifstream kept(dir_ / "defaults.json.corrupt-1");
  std::string content((std::istreambuf_iterator<char>(kept)), {});
  EXPECT_EQ(content, "{\"a\": ");  // nothing lost
}

}  // namespace
}  // namespace tarvolo::sim
