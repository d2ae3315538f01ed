#include <gtest/gtest.h>

#include "base/NotificationCenter.h"
#include "native/NativeVisibilityRequestState.h"
#include "native/SystemStatusPresentation.h"
#include "native/owners/NativeVisibilityEngine.h"
#include "platform/sim/SimDesktop.h"
#include "support/SimFixture.h"

namespace tarvolo {
namespace {

using sim::SimActivation;

TEST(NativeVisibilityRequestState, SameListInAnyOrderIsOneRequest) {
  NativeVisibilityRequestState state;
  auto first = state.request({"b", "a"});
  ASSERT_TRUE(first);
  EXPECT_FALSE(state.request({"a", "b"}));
  EXPECT_EQ(state.allowList(), (std::vector<std::string>{"a", "b"}));
  auto second = state.request({"a"});
  ASSERT_TRUE(second);
  EXPECT_GT(*second, *first);
}

TEST(NativeVisibilityRequestState, ExpandMakesEarlierCompletionsStale) {
  NativeVisibilityRequestState state;
  auto generation = *state.request({"a"});
  EXPECT_TRUE(state.accepts(generation, true));
  EXPECT_FALSE(state.accepts(generation, false));
  state.expand();
  EXPECT_FALSE(state.accepts(generation, true));
  EXPECT_FALSE(state.allowList());
  // After an expand the same list is a new request.
  EXPECT_TRUE(state.request({"a"}));
}

TEST(SystemStatusPresentation, EveryStateHasItsOwnLook) {
  const NativeEngineState states[] = {NativeEngineState::unsupported, NativeEngineState::ready,
                                      NativeEngineState::activating, NativeEngineState::active,
                                      NativeEngineState::failed};
  for (auto a : states) {
    EXPECT_FALSE(SystemStatusPresentations::forState(a).symbol.empty());
    for (auto b : states) {
      if (a != b) {
        EXPECT_NE(SystemStatusPresentations::forState(a), SystemStatusPresentations::forState(b));
      }
    }
  }
  EXPECT_TRUE(SystemStatusPresentations::forState(NativeEngineState::failed).badge);
}

TEST(SystemStatusPresentation, SymbolsOnlyForSystemItemsItKnows) {
  using SystemStatusPresentations::symbol;
  EXPECT_EQ(symbol("com.apple.Spotlight", "", std::nullopt), "magnifyingglass");
  EXPECT_EQ(symbol("com.apple.controlcenter", "", std::string("com.apple.menuextra.vpn")), "network");
  // The identifier decides before the title does.
  EXPECT_EQ(symbol("com.apple.controlcenter", "Battery", std::string("com.apple.menuextra.wifi")), "wifi");
  EXPECT_EQ(symbol("com.apple.controlcenter", "Battery", std::nullopt), "battery.100");
  // From macOS 26 Control Center reports other apps' items as its own: unknown ones get nothing.
  EXPECT_EQ(symbol("com.apple.controlcenter", "Dropbox", std::string("Item-0")), std::nullopt);
  EXPECT_EQ(symbol("com.example.vpn", "VPN", std::string("vpn")), std::nullopt);
}

// The engine alone on a desktop, without the app around it.
class NativeEngineTest : public ::testing::Test {
 protected:
  void make(int osMajor, bool offered, SimActivation activation, double accessibilityRoundTrip = 0,
            std::optional<DefaultsValue> timedOutRecord = std::nullopt) {
    sim::SimSettings settings;
    settings.accessibilityRoundTrip = accessibilityRoundTrip;
    settings.osMajor = osMajor;
    settings.osBuild = "26A100";
    settings.assessmentMode = {.offered = offered, .activation = activation, .activationDelay = 0.1};
    desktop_ = std::make_unique<sim::SimDesktop>(std::vector<sim::SimScreenSetup>{testing::plainDisplay()},
                                                 testing::sampleApps(), settings);
    if (timedOutRecord) desktop_->defaults().set(NativeVisibilityEngine::timedOutKey, *timedOutRecord);
    relaunch();
  }
  // A new engine on the same desktop and store, as the next launch makes.
  void relaunch() {
    engine_.reset();
    engine_ = std::make_unique<NativeVisibilityEngine>(
        NativeVisibilityEngine::Dependencies{.platform = *desktop_, .defaultCenter = center_});
    subscription_ = center_.addObserver(Notifications::nativeVisibilityAvailabilityDidChange,
                                        [this](const Notification&) { ++availabilityChanges_; });
  }
  void run(double seconds) { desktop_->queue().runFor(seconds); }
  const sim::SimAssessmentMode& mode() const { return desktop_->assessmentMode(); }
  std::optional<DefaultsValue> timedOutRecord() const {
    return desktop_->defaults().object(NativeVisibilityEngine::timedOutKey);
  }
  DefaultsValue record(std::string build, double daysAgo) const {
    return DefaultsValue::Dictionary{{"build", std::move(build)},
                                     {"date", desktop_->clock().currentDate() - daysAgo * 24 * 3600}};
  }

  NotificationCenter center_;
  std::unique_ptr<sim::SimDesktop> desktop_;
  std::unique_ptr<NativeVisibilityEngine> engine_;
  Subscription subscription_;
  int availabilityChanges_ = 0;
};

TEST_F(NativeEngineTest, UnavailableBeforeMacOS27EvenWhenOffered) {
  make(15, true, SimActivation::succeeds);
  EXPECT_FALSE(engine_->isAvailable());
  std::optional<bool> answer;
  engine_->collapse({"com.example.a"}, [&](bool ok) { answer = ok; });
  EXPECT_EQ(answer, false);
  EXPECT_TRUE(mode().assertions().empty());
}

TEST_F(NativeEngineTest, AllowListCarriesOwnAppAndSystemItems) {
  make(27, true, SimActivation::succeeds);
  std::optional<bool> answer;
  engine_->collapse({"com.example.a"}, [&](bool ok) { answer = ok; });
  EXPECT_EQ(engine_->state(), NativeEngineState::activating);
  run(0.2);
  EXPECT_EQ(answer, true);
  EXPECT_EQ(engine_->state(), NativeEngineState::active);
  ASSERT_EQ(mode().assertions().size(), 1u);
  const auto& record = mode().assertions().front();
  EXPECT_EQ(record.allowedSystemItems.size(), 64u);
  EXPECT_EQ(record.allowedSystemItems.back(), 63);
  EXPECT_EQ(*engine_->allowList(), (std::vector<std::string>{"com.apple.Spotlight", "com.apple.controlcenter",
                                                            "com.example.a", "com.ostrand.tarvolo"}));
}

TEST_F(NativeEngineTest, SameListTwiceInAnyOrderActivatesOnce) {
  make(27, true, SimActivation::succeeds);
  int answers = 0;
  engine_->collapse({"com.example.a", "com.example.b"}, [&](bool ok) { answers += ok; });
  engine_->collapse({"com.example.b", "com.example.a"}, [&](bool ok) { answers += ok; });
  run(0.5);
  engine_->collapse({"com.example.b", "com.example.a"}, [&](bool ok) { answers += ok; });
  EXPECT_EQ(answers, 3);
  EXPECT_EQ(mode().assertions().size(), 1u);
  EXPECT_EQ(mode().activations(), 1);
}

TEST_F(NativeEngineTest, CompletionAfterExpandIsIgnored) {
  make(27, true, SimActivation::succeeds);
  std::optional<bool> answer;
  engine_->collapse({"com.example.a"}, [&](bool ok) { answer = ok; });
  engine_->expand();
  EXPECT_EQ(answer, false);
  run(0.5);
  EXPECT_EQ(answer, false);
  EXPECT_EQ(mode().activations(), 0);
  EXPECT_FALSE(mode().restriction());
  EXPECT_TRUE(mode().assertions().front().invalidated);
  EXPECT_TRUE(engine_->isAvailable());
}

TEST_F(NativeEngineTest, TimeOutFailsForTheRestOfTheRun) {
  make(27, true, SimActivation::neverCompletes);
  std::optional<bool> answer;
  engine_->collapse({"com.example.a"}, [&](bool ok) { answer = ok; });
  run(VisibilityAssertionSession::activationTimeout - 0.1);
  EXPECT_FALSE(answer);
  EXPECT_TRUE(engine_->isAvailable());
  run(0.2);
  EXPECT_EQ(answer, false);
  EXPECT_FALSE(engine_->isAvailable());
  EXPECT_EQ(engine_->state(), NativeEngineState::failed);
  EXPECT_EQ(availabilityChanges_, 1);
  EXPECT_TRUE(mode().assertions().front().invalidated);
  // The framework is still there; the engine stays off.
  engine_->collapse({"com.example.a"}, [&](bool ok) { answer = ok; });
  EXPECT_EQ(mode().assertions().size(), 1u);
}

// The next launch on the same system hides with separators at once instead of waiting again;
// a system update, a week, or the engine answering again ends that.
TEST_F(NativeEngineTest, ATimeOutIsRememberedForTheSystemBuild) {
  make(27, true, SimActivation::neverCompletes);
  engine_->collapse({"com.example.a"}, nullptr);
  run(VisibilityAssertionSession::activationTimeout + 0.1);
  auto stored = timedOutRecord();
  ASSERT_TRUE(stored && stored->asDictionary());
  EXPECT_EQ(*stored->asDictionary()->at("build").asString(), "26A100");

  relaunch();
  EXPECT_FALSE(engine_->isAvailable());
  EXPECT_EQ(engine_->state(), NativeEngineState::failed);
  std::optional<bool> answer;
  engine_->collapse({"com.example.a"}, [&](bool ok) { answer = ok; });
  EXPECT_EQ(answer, false);
  EXPECT_EQ(mode().assertions().size(), 1u) << "the remembered time-out activates nothing";
}

TEST_F(NativeEngineTest, ARememberedTimeOutIsTriedAgainAfterAnUpdateOrAWeek) {
  make(27, true, SimActivation::succeeds);
  const DefaultsValue recent = record("26A100", 1);
  desktop_->defaults().set(NativeVisibilityEngine::timedOutKey, recent);
  relaunch();
  EXPECT_FALSE(engine_->isAvailable());

  desktop_->defaults().set(NativeVisibilityEngine::timedOutKey, record("25F71", 1));
  relaunch();
  EXPECT_TRUE(engine_->isAvailable()) << "another build: the update may have fixed it";

  desktop_->defaults().set(NativeVisibilityEngine::timedOutKey, record("26A100", 8));
  relaunch();
  EXPECT_TRUE(engine_->isAvailable()) << "a week on, the same build is tried again";

  desktop_->defaults().set(NativeVisibilityEngine::timedOutKey, record("26A100", -8));
  relaunch();
  EXPECT_TRUE(engine_->isAvailable()) << "a date far in the future means the clock moved";

  // An answer forgets the time-out.
  engine_->collapse({"com.example.a"}, nullptr);
  run(0.2);
  EXPECT_EQ(engine_->state(), NativeEngineState::active);
  EXPECT_FALSE(timedOutRecord());
}

TEST_F(NativeEngineTest, AnUnreadableTimeOutRecordIsKeptAndIgnored) {
  for (const DefaultsValue& stored : {DefaultsValue("26A100"), DefaultsValue(DefaultsValue::Dictionary{{"build", 5}}),
                                      DefaultsValue(DefaultsValue::Dictionary{{"date", 1.0}})}) {
    make(27, true, SimActivation::fails, 0, stored);
    EXPECT_TRUE(engine_->isAvailable());
    EXPECT_EQ(timedOutRecord(), stored);
    // A refusal is quick: only a time-out is worth remembering.
    engine_->collapse({"com.example.a"}, nullptr);
    run(0.2);
    EXPECT_FALSE(engine_->isAvailable());
    EXPECT_EQ(timedOutRecord(), stored);
  }
}

TEST_F(NativeEngineTest, RefusedActivationFailsAtOnce) {
  make(27, true, SimActivation::fails);
  engine_->collapse({"com.example.a"}, nullptr);
  run(0.2);
  EXPECT_FALSE(engine_->isAvailable());
  EXPECT_EQ(availabilityChanges_, 1);
}

TEST_F(NativeEngineTest, SuccessWithoutEffectIsNoticedOnTheBar) {
  make(27, true, SimActivation::succeedsWithoutEffect);
  engine_->collapse({"com.example.icon1"}, nullptr);
  run(0.2);
  EXPECT_EQ(engine_->state(), NativeEngineState::active);
  run(NativeVisibilityEngine::effectCheckDelay + 0.1);
  EXPECT_EQ(engine_->state(), NativeEngineState::failed);
  EXPECT_EQ(availabilityChanges_, 1);
}

// Reading every running app's items waits on each app: the check reads them on a background
// queue, and the main thread sends no Accessibility message at all, even past a hung app.
TEST_F(NativeEngineTest, TheEffectCheckReadsTheBarOffTheMainThread) {
  make(27, true, SimActivation::succeedsWithoutEffect, 0.01);
  desktop_->processes().setUnresponsive(*desktop_->processes().pidOf("com.example.icon2"), true);
  engine_->collapse({"com.example.icon1"}, nullptr);
  run(0.2);
  run(NativeVisibilityEngine::effectCheckDelay + 2);
  EXPECT_EQ(engine_->state(), NativeEngineState::failed);
  EXPECT_TRUE(desktop_->waits().mainThreadAccessibilityCalls().empty());
  EXPECT_EQ(desktop_->waits().mainThreadWaited(), 0.0);
}

// An expand while the read runs makes its answer stale: the engine stays usable.
TEST_F(NativeEngineTest, AnEffectReadThatOutlivesItsCollapseIsDropped) {
  make(27, true, SimActivation::succeedsWithoutEffect, 0.05);
  engine_->collapse({"com.example.icon1"}, nullptr);
  run(0.2);
  run(NativeVisibilityEngine::effectCheckDelay + 0.01);  // started, not yet back
  engine_->expand();
  run(2);
  EXPECT_NE(engine_->state(), NativeEngineState::failed);
  EXPECT_EQ(availabilityChanges_, 0);
}

}  // namespace
}  // namespace tarvolo
