#include "ui/FirstLaunchCoach.h"

#include "discovery/owners/StatusItemManager.h"
#include "localization/LocalizationManager.h"
#include "permissions/AccessibilityPermission.h"
#include "platform/sim/SimAccessibility.h"
#include "support/SimFixture.h"
#include "ui/FirstLaunchCoachController.h"

namespace tarvolo::testing {
namespace {

using Control = sim::SimFirstLaunchCoachWindow::Control;
constexpr const char* kHiddenIcon = "com.example.icon3";

class CoachTest : public SimAppTest {
 protected:
  enum class Trust { granted, missing };
  void firstLaunch(DesktopOptions options = {}, Trust trust = Trust::granted) {
    options.onboardingComplete = false;
    boot(options);
    desktop().accessibility().setTrusted(trust == Trust::granted);
    launch();
  }
  AppEnvironment& env() { return *session().delegate()->environment(); }
  sim::SimFirstLaunchCoachWindow& coach() { return desktop().userInterface().firstLaunchCoach(); }
  const platform::FirstLaunchCoachViewState& shown() { return *coach().lastState(); }
  std::string tr(const char* key) { return env().localization().tr(key); }
  bool onboardingStored() { return desktop().defaults().getBool(StatusBarController::onboardingKey).value_or(false); }
};

// The new toggle stands at the bar's left edge until it is laid out; a coach placed at launch
// would point at nothing.
TEST_F(CoachTest, AppearsUnderTheToggleOnlyOnceItsFrameHoldsStill) {
  firstLaunch();
  EXPECT_FALSE(coach().isShown());
  run(1);
  ASSERT_TRUE(coach().isShown());
  EXPECT_EQ(coach().showCount(), 1);
  auto toggle = desktop().bar().ownItem(OwnStatusItems::toggleAutosaveName);
  ASSERT_TRUE(toggle && toggle->frame && shown().anchor);
  EXPECT_DOUBLE_EQ(shown().anchor->minX(), toggle->frame->minX());
  EXPECT_GT(shown().anchor->minX(), 1000);
  EXPECT_TRUE(controller().state().isExpanded);
  EXPECT_TRUE(controller().state().isDeepExpanded);
}

TEST_F(CoachTest, WalkingEveryStepAndFinishingStoresOnboardingAndCollapsesAtOnce) {
  firstLaunch();
  run(1);
  EXPECT_EQ(shown().title, tr("coach_step_1_title"));
  EXPECT_EQ(shown().nextTitle, tr("coach_next"));
  EXPECT_FALSE(coach().press(Control::done));  // no Done before the last step
  for (int step = 2; step <= FirstLaunchCoach::stepCount; ++step) {
    ASSERT_TRUE(coach().press(Control::next));
    EXPECT_EQ(shown().stepNumber, step);
    EXPECT_EQ(shown().title, tr(("coach_step_" + std::to_string(step) + "_title").c_str()));
  }
  EXPECT_FALSE(shown().nextTitle);
  EXPECT_EQ(shown().doneTitle, tr("coach_done"));
  EXPECT_FALSE(onboardingStored());

  // A collapse onboarding still blocks leaves the coach where it is.
  controller().collapseBar(CollapseReason::menu);
  run(1);
  EXPECT_EQ(shown().stepNumber, FirstLaunchCoach::stepCount);
  EXPECT_EQ(coach().showCount(), 1);

  ASSERT_TRUE(coach().press(Control::done));
  EXPECT_FALSE(coach().isShown());
  EXPECT_TRUE(onboardingStored());
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_TRUE(logged("collapse reason=startup"));
  run(2);
  EXPECT_FALSE(iconOnScreen(kHiddenIcon));

  session().relaunch();
  run(3);
  EXPECT_FALSE(coach().isShown());
  EXPECT_EQ(coach().showCount(), 1);
  EXPECT_FALSE(controller().state().isExpanded);
}

TEST_F(CoachTest, DismissingFromAnyStepFinishesOnboardingToo) {
  firstLaunch();
  run(1);
  ASSERT_TRUE(coach().press(Control::next));
  ASSERT_TRUE(coach().press(Control::dismiss));
  EXPECT_FALSE(coach().isShown());
  EXPECT_TRUE(onboardingStored());
  EXPECT_FALSE(controller().state().isExpanded);
  EXPECT_TRUE(logged("coach finished action=dismiss step=2"));
  EXPECT_FALSE(coach().press(Control::dismiss));
}

TEST_F(CoachTest, FollowsTheInterfaceLanguage) {
  firstLaunch();
  run(1);
  desktop().setPreferredLanguages({"de-DE"});
  run(1);
  EXPECT_EQ(shown().dismissTitle, tr("coach_dismiss"));
  EXPECT_NE(shown().dismissTitle, "Skip");
}

// --- the Accessibility permission --------------------------------------------------------------------

TEST_F(CoachTest, PermissionIsAskedOnlyWhenTheUserClicksThenTheSettingsPageOpens) {
  firstLaunch({}, Trust::missing);
  run(1);
  EXPECT_EQ(desktop().accessibility().promptsShown(), 0);
  EXPECT_FALSE(coach().press(Control::permission));  // not offered before its step
  for (int i = 1; i < FirstLaunchCoach::permissionStep; ++i) coach().press(Control::next);
  EXPECT_EQ(shown().permissionButtonTitle, tr("iconbar.permission"));
  EXPECT_EQ(shown().permissionNote, tr("iconbar.permission_note"));

  ASSERT_TRUE(coach().press(Control::permission));
  EXPECT_EQ(desktop().accessibility().promptsShown(), 1);
  EXPECT_TRUE(desktop().workspace().openedURLs().empty());
  ASSERT_TRUE(coach().press(Control::permission));
  EXPECT_EQ(desktop().accessibility().promptsShown(), 1);
  EXPECT_EQ(desktop().workspace().openedURLs(), std::vector<std::string>{AccessibilityPermission::settingsURL});
}

// Nothing announces a changed permission, and an accessory app is rarely made active: while the
// coach asks for it, the permission is read again every few seconds.
TEST_F(CoachTest, AGrantMidRunReachesTheCoachAndTheCatalogueWhileTheCoachAsks) {
  DesktopOptions options;
  options.settings.osMajor = 26;
  firstLaunch(options, Trust::missing);
  run(1);
  for (int i = 1; i < FirstLaunchCoach::permissionStep; ++i) coach().press(Control::next);
  coach().press(Control::permission);
  run(1);
  auto& catalog = env().statusItemManager();
  EXPECT_TRUE(catalog.attributedBundleIDs.get().empty());
  EXPECT_TRUE(shown().permissionButtonTitle.has_value());

  desktop().accessibility().setTrusted(true);  // granted in System Settings; Tarvolo stays inactive
  run(AccessibilityPermission::askingPollInterval + 0.5);
  EXPECT_TRUE(env().accessibilityPermission().isTrusted.get());
  EXPECT_FALSE(shown().permissionButtonTitle.has_value());
  EXPECT_FALSE(shown().permissionNote.has_value());
  EXPECT_EQ(catalog.attributedBundleIDs.get().size(), 6u);
  EXPECT_EQ(catalog.observedZone(kHiddenIcon), "hidden");
}

}  // namespace
}  // namespace tarvolo::testing
