// Random desktops and random sessions on them, with hostile stored values, quits, kills and
// relaunches at any moment. Each run is seeded and bounded; the seed is printed so that a
// failure can be replayed:
//
//   TARVOLO_FUZZ_SEED=<seed> TARVOLO_FUZZ_CASES=<n> build/tests/tarvolo_tests_fuzz
//
// Run under the sanitizer build, a memory error or undefined behaviour ends the process with a
// report; the properties below catch what would pass silently.

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "app/AppEnvironment.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "discovery/owners/NewAppNoticeLedger.h"
#include "harness/SimSession.h"
#include "hotkeys/HotkeyManager.h"
#include "platform/sim/SimDefaultsStore.h"
#include "platform/sim/SimDesktop.h"
#include "shelf/owners/MenuBarAccessController.h"
#include "statusbar/AutoCollapse.h"
#include "statusbar/StatusBarController.h"
#include "ui/PlacementGuideController.h"
#include "ui/PreferencesController.h"

namespace tarvolo {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using rc::gen::inRange;

// --- what the run is given ----------------------------------------------------------------------

std::optional<std::uint64_t> environmentNumber(const char* name) {
  const char* text = std::getenv(name);
  if (!text || !*text) return std::nullopt;
  char* end = nullptr;
  const auto value = std::strtoull(text, &end, 10);
  if (*end != '\0') return std::nullopt;
  return value;
}

// --- generated text -------------------------------------------------------------------------------

// Pieces of names and queries: scripts, marks, joiners, every kind of space, and (for typed text
// only) bytes that are no UTF-8 at all.
const std::vector<std::string>& validPieces() {
  static const std::vector<std::string> pieces = {
      "a", "Z", "7", ".", "-", " ", "Caf\u00E9", "\u00C4rger", "Stra\u00DFe", "\u5FAE\u4FE1", "\u65E5\u672C",
      "\u041C\u043E\u0441", "\u039F\u0394\u039F\u03A3", "\u0627\u0644\u0639", "\u05E9\u05DC", "e\u0301",
      "\U0001F600", "\U0001F468\u200D\U0001F469", "\u200B", "\u200D", "\u3000", "\u00A0", "\u2003", "\u2028",
      "\uFF21", "\uFEFF", "\t", "wx", "dr", "\u0130", "\u0178",
  };
  return pieces;
}

const std::vector<std::string>& invalidPieces() {
  static const std::vector<std::string> pieces = {"\xFF", "\xC0\xA0", "\xE3\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                                                   "\x80", std::string("\0", 1)};
  return pieces;
}

std::string genText(bool allowInvalid, int maxPieces) {
  const int count = *inRange(0, maxPieces + 1);
  std::string out;
  for (int i = 0; i < count; ++i) {
    const bool invalid = allowInvalid && *inRange(0, 8) == 0;
    out += invalid ? *rc::gen::elementOf(invalidPieces()) : *rc::gen::elementOf(validPieces());
  }
  return out;
}

// --- hostile stored values ----------------------------------------------------------------------

DefaultsValue hostileScalar() {
  switch (*inRange(0, 9)) {
    case 0: return DefaultsValue(*rc::gen::arbitrary<bool>());
    case 1: return DefaultsValue(*rc::gen::arbitrary<std::int64_t>());
    case 2:
      return DefaultsValue(*rc::gen::elementOf(std::vector<std::int64_t>{
          0, -1, 1, std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(), 0xFFFF, 0x100000}));
    case 3:
      return DefaultsValue(*rc::gen::elementOf(std::vector<double>{
          1e300, -1e300, 9.3e18, -9.3e18, 1e-300, -0.0, 0.5, 3600.0 * 24 * 365 * 1000,
          std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::max(),
          std::numeric_limits<double>::lowest(), std::numeric_limits<double>::denorm_min()}));
    case 4: return DefaultsValue(static_cast<double>(*rc::gen::arbitrary<std::int32_t>()) / 7.0);
    case 5: return DefaultsValue(genText(false, 6));
    case 6: return DefaultsValue(std::string(*rc::gen::elementOf(std::vector<std::string>{
        "always_visible", "hidden", "always_hidden", "all", "YES", "NO", "", "system", "en", "zz", "1e999", "-1"})));
    case 7: return DefaultsValue(DefaultsValue::Array{});
    default: return DefaultsValue(DefaultsValue::Dictionary{});
  }
}

DefaultsValue hostileValue(int depth) {
  const int shape = *inRange(0, depth > 0 ? 5 : 3);
  if (shape < 3) return hostileScalar();
  const int count = *inRange(0, 5);
  if (shape == 3) {
    DefaultsValue::Array array;
    for (int i = 0; i < count; ++i) array.push_back(hostileValue(depth - 1));
    return DefaultsValue(std::move(array));
  }
  DefaultsValue::Dictionary dictionary;
  for (int i = 0; i < count; ++i) {
    const std::string key = *rc::gen::elementOf(std::vector<std::string>{
        "keyCode", "modifiers", "com.fuzz.app0", "com.fuzz.app1", "COM.FUZZ.APP2", "", "\u5FAE\u4FE1", "x"});
    dictionary[key] = hostileValue(depth - 1);
  }
  return DefaultsValue(std::move(dictionary));
}

// Keys the app owns. A wrongly typed value there must be survived; the settings the user makes
// must outlive it unless the user changes them.
struct OwnedKey {
  std::string key;
  // The container type the app keeps there, when a wrong type must leave a line in the log.
  enum class Shape { any, dictionary, array } shape = Shape::any;
  // Whether only the user changes it (the app never rewrites it on its own).
  bool userSetting = false;
};

const std::vector<OwnedKey>& ownedKeys() {
  using Shape = OwnedKey::Shape;
  static const std::vector<OwnedKey> keys = {
      {std::string(CategoryStore::categoriesKey), Shape::dictionary},
      {std::string(CategoryStore::pinsKey), Shape::array},
      {std::string(MenuBarPlacementLedger::seatedKey), Shape::dictionary},
      {std::string(MenuBarPlacementLedger::attentionKey), Shape::array},
      {std::string(NewAppNoticeLedger::knownBundleIDsKey), Shape::array},
      {std::string(NewAppNoticeLedger::noticedBundleIDsKey), Shape::array},
      {HotkeyManager::deepChordKey, Shape::dictionary, true},
      {AutoCollapse::delayKey, Shape::any, true},
      {AutoCollapse::revealOnHoverKey, Shape::any, true},
      {"com.ostrand.tarvolo.language", Shape::any, true},
      {"com.ostrand.tarvolo.onboarding.v1"},
      {"com.ostrand.tarvolo.new_app_notices", Shape::any, true},
      {"iconShelfSelectedTier", Shape::any, true},
      {"com.ostrand.tarvolo.review.answer", Shape::any, true},
      {"com.ostrand.tarvolo.review.askedVersion"},
      {"com.ostrand.tarvolo.review.askedDate"},
      {"com.ostrand.tarvolo.review.installDate"},
      {"com.ostrand.tarvolo.review.usageDays"},
      {"tarvolo_first_launch_date"},
      {"com.ostrand.tarvolo.cliff.screen"},
      {"com.ostrand.tarvolo.cliff.length"},
      {"com.ostrand.tarvolo.cliff.gap"},
      {"com.ostrand.tarvolo.cliff.perApp"},
      {"com.ostrand.tarvolo.cliff.minGood"},
      {"com.ostrand.tarvolo.cliff.maxGood"},
      {"com.ostrand.tarvolo.cliff.goodGap"},
      {"com.ostrand.tarvolo.cliff.menuLimited"},
      {"com.ostrand.tarvolo.cliff.searchGap"},
      {"com.ostrand.tarvolo.cliff.foldTail"},
      {"com.ostrand.tarvolo.cliff.foldTailBase"},
      {"foldPlaceholderEnabled"},
      {"foldPlaceholderCollapsedLength"},
      {"NSStatusItem Preferred Position tarvolo_toggle"},
      {"NSStatusItem Preferred Position tarvolo_separator"},
      {"NSStatusItem Preferred Position tarvolo_always_hidden_separator"},
  };
  return keys;
}

bool hasShape(const DefaultsValue& value, OwnedKey::Shape shape) {
  switch (shape) {
    case OwnedKey::Shape::any: return true;
    case OwnedKey::Shape::dictionary: return value.isDictionary();
    case OwnedKey::Shape::array: return value.isArray();
  }
  return true;
}

// Values of other programs in the same file, of every JSON kind; they must come back unchanged.
json foreignValue(int depth) {
  switch (*inRange(0, depth > 0 ? 8 : 6)) {
    case 0: return nullptr;
    case 1: return json(std::numeric_limits<std::uint64_t>::max());
    case 2: return json(*rc::gen::arbitrary<std::int64_t>());
    case 3: return json(2.5);
    case 4: return json(genText(false, 4));
    case 5: return json(*rc::gen::arbitrary<bool>());
    case 6: {
      json array = json::array();
      for (int i = *inRange(0, 4); i > 0; --i) array.push_back(foreignValue(depth - 1));
      return array;
    }
    default: {
      json object = json::object();
      for (int i = *inRange(0, 4); i > 0; --i) object["k" + std::to_string(i)] = foreignValue(depth - 1);
      return object;
    }
  }
}

// --- the desktop ----------------------------------------------------------------------------------

std::vector<sim::SimScreenSetup> genScreens() {
  static const std::vector<sim::SimScreenSetup> kinds = {
      {.width = 1512, .height = 982, .notchWidth = 185}, {.width = 1728, .height = 1117, .notchWidth = 185},
      {.width = 1920, .height = 1080},                   {.width = 2560, .height = 1440},
      {.width = 1280, .height = 800},                    {.width = 1024, .height = 640, .notchWidth = 185},
  };
  std::vector<sim::SimScreenSetup> screens;
  double x = 0;
  for (int i = *inRange(1, 4); i > 0; --i) {
    sim::SimScreenSetup screen = *rc::gen::elementOf(kinds);
    screen.x = x;
    screen.y = static_cast<double>(*inRange(-300, 301));
    x += screen.width;
    screens.push_back(screen);
  }
  return screens;
}

std::vector<sim::SimAppSetup> genApps() {
  std::vector<sim::SimAppSetup> apps;
  apps.push_back({.bundleId = "com.fuzz.editor", .name = "Editor", .menusWidth = static_cast<double>(*inRange(0, 900))});
  const int count = *inRange(0, 61);
  for (int i = 0; i < count; ++i) {
    sim::SimAppSetup app;
    app.bundleId = (*inRange(0, 4) == 0 ? "COM.Fuzz.App" : "com.fuzz.app") + std::to_string(i);
    app.name = genText(false, 5);
    app.activation = *inRange(0, 3) == 0 ? platform::ActivationPolicy::regular : platform::ActivationPolicy::accessory;
    app.menusWidth = static_cast<double>(*inRange(0, 900));
    for (int item = *inRange(0, 4); item > 0; --item) {
      sim::SimItemSetup setup;
      setup.width = *inRange(0, 40) == 0 ? 6000.0 : static_cast<double>(*inRange(1, 200));
      if (*inRange(0, 5) != 0) setup.position = static_cast<double>(*inRange(1, 3000));
      setup.title = genText(false, 2);
      app.items.push_back(setup);
    }
    app.running = *inRange(0, 10) != 0;
    app.accessibilityUnresponsive = *inRange(0, 10) == 0;
    app.refusesActions = *inRange(0, 10) == 0;
    app.pressBlocks = *inRange(0, 20) == 0;
    if (*inRange(0, 10) == 0) app.launchDuration = static_cast<double>(*inRange(1, 20));
    if (*inRange(0, 10) == 0) app.accessibilityActions = std::vector<std::string>{};
    apps.push_back(std::move(app));
  }
  return apps;
}

// --- one session ----------------------------------------------------------------------------------

class FuzzSession {
 public:
  FuzzSession(fs::path file, std::vector<sim::SimAppSetup> apps) : file_(std::move(file)), apps_(std::move(apps)) {}

  void start(std::unique_ptr<sim::SimDesktop> desktop) {
    session_ = std::make_unique<sim::SimSession>(std::move(desktop));
    session_->launch();
  }
  sim::SimSession& session() { return *session_; }
  sim::SimDesktop& desktop() { return session_->desktop(); }
  AppEnvironment* environment() {
    auto* delegate = session_->delegate();
    return delegate ? delegate->environment() : nullptr;
  }
  const std::string& trace() const { return trace_; }
  std::set<int> kindsPerformed() const { return performed_; }

  // One random step; returns a short description for the trace.
  void step() {
    const int kind = *inRange(0, kKinds);
    if (!session_->running() && kind != kWait) {
      note("launch");
      session_->launch();
      return;
    }
    performed_.insert(kind);
    perform(kind);
  }

  // Ends the run: the app quits, and everything queued runs out.
  void finish() {
    session_->runFor(1);
    if (session_->running()) session_->quit();
    session_->runFor(5);
  }

  // Whether the file holds what the store holds: every write went through before a kill.
  bool fileMatchesStore() {
    const auto reloaded = sim::SimDefaultsStore::backedBy(file_, nullptr);
    // As text: a number the file cannot hold (NaN) is written as null either way.
    return reloaded.toJson().dump() == desktop().defaults().toJson().dump();
  }

  static constexpr int kWait = 0;
  static constexpr int kClickToggle = 1;
  static constexpr int kHotkey = 9;
  static constexpr int kShelfTier = 6;
  static constexpr int kKinds = 22;

 private:
  void note(const std::string& text) {
    std::ostringstream line;
    line << session_->now() << " " << text << "\n";
    trace_ += line.str();
  }

  std::string randomApp() {
    if (apps_.empty()) return "com.fuzz.editor";
    return apps_[static_cast<std::size_t>(*inRange(0, static_cast<int>(apps_.size())))].bundleId;
  }

  bool appRunning(const std::string& bundleId) {
    const auto& apps = desktop().processes().apps();
    return std::any_of(apps.begin(), apps.end(),
                       [&](const sim::SimAppSetup& app) { return app.bundleId == bundleId && app.running; });
  }

  platform::ModifierFlags randomModifiers() {
    platform::ModifierFlags flags;
    for (auto modifier : {platform::Modifier::command, platform::Modifier::option, platform::Modifier::shift,
                          platform::Modifier::control}) {
      if (*inRange(0, 3) == 0) flags = flags.with(modifier);
    }
    return flags;
  }

  void perform(int kind) {
    AppEnvironment* env = environment();
    MenuBarAccessController* shelf = env ? env->iconShelf() : nullptr;
    PreferencesController* preferences = env ? env->preferences() : nullptr;
    StatusBarController* bar = env ? env->statusBarController() : nullptr;
    auto& events = desktop().events();
    switch (kind) {
      case kWait: {
        const double seconds = static_cast<double>(*inRange(0, 60)) / 10.0;
        note("wait " + std::to_string(seconds));
        session_->runFor(seconds);
        return;
      }
      case kClickToggle: {
        const auto button = *inRange(0, 3) == 0 ? sim::MouseButton::right : sim::MouseButton::left;
        note("click toggle");
        events.clickOwnItem(OwnStatusItems::toggleAutosaveName, button, randomModifiers());
        return;
      }
      case 2:
        if (!shelf) return;
        if (shelf->isShelfShown()) {
          note("shelf close");
          shelf->closeShelf();
        } else {
          note("shelf show");
          shelf->showShelf(std::nullopt);
        }
        return;
      case 3:
        if (!shelf) return;
        note("shelf query");
        shelf->setQuery(genText(true, 6));
        return;
      case 4:
        if (!shelf) return;
        note("shelf discover");
        shelf->startDiscovery();
        return;
      case 5: {
        if (!shelf || !shelf->isShelfShown()) return;
        const auto& state = desktop().userInterface().iconShelfPanel().lastState();
        if (!state || state->rows.empty()) return;
        const auto index = static_cast<std::size_t>(*inRange(0, static_cast<int>(state->rows.size())));
        note("shelf choose " + std::to_string(index));
        shelf->choose(state->rows[index].id);
        return;
      }
      case kShelfTier:
        if (!shelf) return;
        switch (*inRange(0, 5)) {
          case 0: note("shelf down"); shelf->moveSelection(1); return;
          case 1: note("shelf up"); shelf->moveSelection(-1); return;
          case 2: note("shelf escape"); shelf->escape(); return;
          case 3: note("shelf return"); shelf->activateSelection(); return;
          default:
            note("shelf tier");
            shelf->selectTier(*rc::gen::elementOf(std::vector<MenuBarAccessTier>{
                MenuBarAccessTier::all, MenuBarAccessTier::alwaysVisible, MenuBarAccessTier::hidden,
                MenuBarAccessTier::alwaysHidden}));
            return;
        }
      case 7:
        if (!preferences) return;
        if (preferences->isShown()) {
          note("preferences close");
          desktop().userInterface().preferences().closeByUser();
        } else {
          note("preferences open");
          preferences->open(std::nullopt);
        }
        return;
      case 8: {
        if (!preferences) return;
        const std::string app = randomApp();
        const std::string zone = *rc::gen::elementOf(std::vector<std::string>{"always_visible", "hidden", "always_hidden", "bogus"});
        note("pick zone " + app + " " + zone);
        preferences->pickZone(app, zone);
        return;
      }
      case kHotkey: {
        if (!env) return;
        note("record chord");
        env->hotkeys().beginRecording();
        events.typeKey(static_cast<std::uint16_t>(*inRange(0, 128)), randomModifiers());
        return;
      }
      case 10: {
        const auto& notices = desktop().userInterface().notices();
        for (const auto& notice : notices) {
          if (notice.dismissed || !notice.request.onAction) continue;
          note("notice action " + notice.request.kind);
          auto action = notice.request.onAction;
          action();
          return;
        }
        return;
      }
      case 11:
        note("screens change");
        desktop().setScreens(genScreens());
        return;
      case 12:
        note("sleep and wake");
        session_->runFor(static_cast<double>(*inRange(0, 120)));
        desktop().wake();
        return;
      case 13: {
        const std::string app = randomApp();
        if (appRunning(app)) {
          note("terminate " + app);
          desktop().terminateApp(app);
        } else {
          note("launch " + app);
          desktop().launchApp(app);
        }
        return;
      }
      case 14:
        note("relaunch");
        session_->relaunch();
        return;
      case 15:
        note("kill");
        desktop().ownProcessExited();
        RC_ASSERT(fileMatchesStore());
        return;
      case 16:
        note("quit");
        session_->quit();
        return;
      case 17:
        if (!bar) return;
        if (*inRange(0, 2) == 0) {
          note("toggle bar");
          bar->toggleBar(*inRange(0, 2) == 0 ? ExpandDepth::deep : ExpandDepth::normal);
        } else {
          note("collapse bar");
          bar->collapseBar(CollapseReason::menu);
        }
        return;
      case 18:
        if (!env || !env->placementGuide()) return;
        note("tour");
        env->placementGuide()->startTour();
        return;
      case 19: {
        const bool trusted = *inRange(0, 3) != 0;
        note(trusted ? "grant accessibility" : "revoke accessibility");
        desktop().accessibility().setTrusted(trusted);
        desktop().activateOwnApp();
        return;
      }
      case 20: {
        const std::string app = randomApp();
        if (!appRunning(app)) return;
        note("frontmost " + app);
        desktop().setFrontmost(app);
        return;
      }
      default: {
        note("key");
        events.typeKey(static_cast<std::uint16_t>(*inRange(0, 128)), randomModifiers());
        if (*inRange(0, 10) == 0) events.pressMainMenuShortcut(*rc::gen::elementOf(std::vector<std::string>{"q", ","}));
        return;
      }
    }
  }

  fs::path file_;
  std::vector<sim::SimAppSetup> apps_;
  std::unique_ptr<sim::SimSession> session_;
  std::string trace_;
  std::set<int> performed_;
};

// --- the property -------------------------------------------------------------------------------

bool loggedFor(const sim::SimDesktop& desktop, const std::string& key) {
  for (const auto& line : desktop.logSink().lines()) {
    const bool complaint = line.message.find("ignored") != std::string::npos ||
                           line.message.find("unreadable") != std::string::npos;
    if (complaint && line.message.find(key) != std::string::npos) return true;
  }
  return false;
}

// Whether a step the session played is the user changing the setting under `key`: recording a
// chord, or choosing a tier of the shelf (a toggle click on a notched screen opens it on one).
bool userChanged(const std::string& key, const std::set<int>& performed) {
  const auto any = [&](std::initializer_list<int> kinds) {
    return std::any_of(kinds.begin(), kinds.end(), [&](int kind) { return performed.contains(kind); });
  };
  if (key == HotkeyManager::deepChordKey) return any({FuzzSession::kHotkey});
  if (key == "iconShelfSelectedTier") return any({FuzzSession::kShelfTier, FuzzSession::kClickToggle});
  return false;
}

void randomSession(const fs::path& directory) {
  const fs::path file = directory / ("defaults-" + std::to_string(::getpid()) + ".json");
  fs::remove(file);

  // Values of other programs, in the file as they wrote it.
  json initial = json::object();
  std::map<std::string, json> foreign;
  for (int i = *inRange(0, 4); i > 0; --i) foreign["com.other.key" + std::to_string(i)] = foreignValue(2);
  for (const auto& [key, value] : foreign) initial[key] = value;
  { std::ofstream(file) << initial.dump(2); }

  auto store = sim::SimDefaultsStore::backedBy(file, nullptr);
  std::map<std::string, DefaultsValue> hostile;
  for (const auto& owned : ownedKeys()) {
    if (*inRange(0, 3) != 0) continue;
    hostile[owned.key] = hostileValue(2);
  }
  for (const auto& [key, value] : hostile) store.set(key, value);
  if (*inRange(0, 2) == 0) store.set("com.ostrand.tarvolo.onboarding.v1", DefaultsValue(true));

  sim::SimSettings settings;
  settings.osMajor = *inRange(13, 28);
  settings.postEventAccess = *inRange(0, 5) != 0;
  settings.framesReadable = *inRange(0, 20) != 0;
  settings.assessmentMode.offered = settings.osMajor >= 27 && *inRange(0, 2) == 0;
  settings.preferredLanguages = {*rc::gen::elementOf(std::vector<std::string>{"en-US", "de-DE", "zh-Hans-CN", "ja-JP", "ar"})};
  auto apps = genApps();
  auto desktop = std::make_unique<sim::SimDesktop>(genScreens(), apps, settings);
  desktop->setFrontmost("com.fuzz.editor");
  desktop->accessibility().setTrusted(*inRange(0, 4) != 0);
  desktop->replaceDefaults(std::move(store));

  FuzzSession run(file, apps);
  run.start(std::move(desktop));
  // Every wrongly typed value of a key the app reads at start says so, once, in the log.
  for (const auto& owned : ownedKeys()) {
    auto found = hostile.find(owned.key);
    if (found == hostile.end() || hasShape(found->second, owned.shape)) continue;
    RC_ASSERT(loggedFor(run.desktop(), owned.key));
  }
  for (int steps = *inRange(1, 40); steps > 0; --steps) run.step();
  run.finish();
  RC_LOG() << run.trace();

  const auto& defaults = run.desktop().defaults();
  for (const auto& [key, value] : foreign) {
    auto stored = defaults.toJson();
    RC_ASSERT(stored.contains(key));
    RC_ASSERT(stored[key].dump() == value.dump());
  }
  const auto performed = run.kindsPerformed();
  for (const auto& owned : ownedKeys()) {
    auto found = hostile.find(owned.key);
    if (!owned.userSetting || found == hostile.end()) continue;
    if (userChanged(owned.key, performed)) continue;
    const auto stored = defaults.object(owned.key);
    RC_ASSERT(stored.has_value());
    // NaN is never equal to itself; compare what a file would hold.
    const std::string now = sim::toJson(*stored).dump();
    const std::string planted = sim::toJson(found->second).dump();
    if (now != planted) RC_FAIL(owned.key + " was " + planted + ", is " + now);
  }
  RC_ASSERT(run.fileMatchesStore());
  fs::remove(file);
}

TEST(RandomSessionsFuzzTest, NothingBreaksAndNoStoredSettingIsLost) {
  const auto seed = environmentNumber("TARVOLO_FUZZ_SEED").value_or(static_cast<std::uint64_t>(
      std::chrono::system_clock::now().time_since_epoch().count()));
  const auto cases = environmentNumber("TARVOLO_FUZZ_CASES").value_or(100);
  std::cout << "fuzz seed=" << seed << " cases=" << cases << " (replay: TARVOLO_FUZZ_SEED=" << seed
            << " TARVOLO_FUZZ_CASES=" << cases << ")" << std::endl;

  const fs::path directory = fs::temp_directory_path() / ("tarvolo-fuzz-" + std::to_string(::getpid()));
  fs::create_directories(directory);
  rc::detail::TestParams params;
  params.seed = seed;
  params.maxSuccess = static_cast<int>(cases);
  params.maxSize = 100;
  // A failing case is replayed from its seed; shrinking it would take unbounded time here.
  params.disableShrinking = true;
  rc::detail::TestMetadata metadata{.id = "RandomSessionsFuzzTest", .description = "random sessions"};
  const auto result =
      rc::detail::checkProperty(rc::detail::toProperty([&directory] { randomSession(directory); }), metadata, params);
  fs::remove_all(directory);
  if (!result.is<rc::detail::SuccessResult>()) {
    std::ostringstream message;
    rc::detail::printResultMessage(result, message);
    FAIL() << "seed=" << seed << "\n" << message.str();
  }
}

}  // namespace
}  // namespace tarvolo
