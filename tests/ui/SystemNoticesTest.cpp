#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/AppEnvironment.h"
#include "support/SimFixture.h"
#include "ui/SystemNoticePolicy.h"
#include "ui/SystemNotices.h"

namespace tarvolo::testing {
namespace {

namespace Policy = SystemNoticePolicy;

ForeignMenuBarWindow window(double minX, double width) {
  return ForeignMenuBarWindow{.ownerName = "Other", .minX = minX, .maxX = minX + width, .width = width, .height = 24};
}

// --- the policy --------------------------------------------------------------------------------

TEST(SystemNoticePolicy, OnlyAReadableFrameOffEveryScreenCountsAsGivenNoPlace) {
  const std::vector<Rect> screens = {Rect{0, 0, 1512, 982}, Rect{1512, 0, 2560, 1440}};
  EXPECT_EQ(Policy::placement(Rect{1400, 958, 30, 24}, screens), Policy::Placement::onScreen);
  EXPECT_EQ(Policy::placement(Rect{2000, 1416, 30, 24}, screens), Policy::Placement::onScreen);
  EXPECT_EQ(Policy::placement(Rect{0, 1006, 30, 24}, screens), Policy::Placement::offEveryScreen);
  EXPECT_EQ(Policy::placement(std::nullopt, screens), Policy::Placement::unknown);
}

TEST(SystemNoticePolicy, ALongSpacerIsAnotherToolButALongTextItemIsNot) {
  EXPECT_EQ(Policy::anotherHider(std::nullopt, {.windows = {window(100, 499), window(700, 30)}}), std::nullopt);
  EXPECT_EQ(Policy::anotherHider(std::nullopt, {.windows = {window(100, 500), window(700, 30)}}),
            Policy::HiderSign::longItem);
}

TEST(SystemNoticePolicy, AJumpCountsOnlyWhileEverythingRightOfItStandsStill) {
  const Policy::BarReading before{.windows = {window(600, 30), window(800, 30), window(900, 70)}};
  // The item at 800–830 grows leftwards by 300: same right edge, the items right of it unmoved.
  const Policy::BarReading jumped{.windows = {window(300, 30), window(530, 300), window(900, 70)}};
  EXPECT_EQ(Policy::anotherHider(before, jumped), Policy::HiderSign::lengthJump);
  // Less than the jump is a text item changing its title.
  const Policy::BarReading grew{.windows = {window(401, 30), window(631, 199), window(900, 70)}};
  EXPECT_EQ(Policy::anotherHider(before, grew), std::nullopt);
  // The item right of it changed as well: the bar moved, not one tool.
  const Policy::BarReading moved{.windows = {window(300, 30), window(530, 300), window(880, 90)}};
  EXPECT_EQ(Policy::anotherHider(before, moved), std::nullopt);
  // An item came or went in between.
  const Policy::BarReading more{.windows = {window(250, 30), window(300, 30), window(530, 300), window(900, 70)}};
  EXPECT_EQ(Policy::anotherHider(before, more), std::nullopt);
  EXPECT_EQ(Policy::anotherHider(std::nullopt, jumped), std::nullopt) << "nothing to compare with";
}

TEST(SystemNoticePolicy, TheOwnItemsAreNeverTakenForAnotherTool) {
  const std::vector<ForeignMenuBarWindow> windows = {window(-3000, 3600), window(620, 30), window(700, 30)};
  // The own separator, collapsed, stands over the first window; the toggle is the last one.
  const std::vector<Rect> own = {Rect{-3000, 958, 3600, 24}, Rect{700, 958, 30, 24}};
  const auto foreign = Policy::withoutOwnItems(windows, own);
  ASSERT_EQ(foreign.size(), 1u);
  EXPECT_EQ(foreign.front().minX, 620);
}

// --- on the simulated desktop ------------------------------------------------------------------

class SystemNoticesTest : public SimAppTest {
 protected:
  AppEnvironment& environment() { return *session().delegate()->environment(); }
  std::vector<const sim::SimNoticeRecord*> notices(const std::string& kind) {
    std::vector<const sim::SimNoticeRecord*> found;
    for (const auto& notice : desktop().userInterface().notices()) {
      if (notice.request.kind == kind) found.push_back(&notice);
    }
    return found;
  }
};

DesktopOptions withSpacerApp(double width, int os = 15) {
  DesktopOptions options;
  options.screens = {plainDisplay()};
  options.settings.osMajor = os;
  options.apps.push_back(sim::SimAppSetup{.bundleId = "com.example.bartool",
                                         .name = "BarTool",
                                         .activation = platform::ActivationPolicy::accessory,
                                         .menusWidth = 0,
                                         // Right of the toggle: nothing Tarvolo does moves it.
                                         .items = {sim::SimItemSetup{.width = width, .position = 1}}});
  return options;
}

TEST_F(SystemNoticesTest, ItemsTheSystemNeverPlacesAreToldAfterTwoReReadsWithTheSettingsButton) {
  DesktopOptions options;
  options.settings.osMajor = 26;
  options.settings.allowedInMenuBar = false;
  boot(options);
  launch();
  run(Policy::placementReadInterval * (Policy::placementReads - 1) + 1);
  EXPECT_TRUE(notices(SystemNotices::menuBarNotAllowedKind).empty()) << "said before the last re-read";
  run(Policy::placementReadInterval);
  auto told = notices(SystemNotices::menuBarNotAllowedKind);
  ASSERT_EQ(told.size(), 1u);
  EXPECT_EQ(told.front()->request.message, environment().tr("notice_menu_bar_not_allowed"));
  EXPECT_EQ(told.front()->request.actionTitle, environment().tr("notice_open_menu_bar_settings"));
  auto action = told.front()->request.onAction;
  ASSERT_TRUE(action);
  action();
  const auto& opened = desktop().workspace().openedURLs();
  EXPECT_EQ(std::count(opened.begin(), opened.end(), std::string(SystemNotices::menuBarSettingsURL)), 1);
  run(60);
  EXPECT_EQ(notices(SystemNotices::menuBarNotAllowedKind).size(), 1u) << "said once";
}

// A bar whose frames cannot be read is no sign of the switch: nothing is known of the toggle.
TEST_F(SystemNoticesTest, UnreadableFramesOrPlacedItemsAreNeverToldAsKeptOut) {
  DesktopOptions unreadable;
  unreadable.settings.osMajor = 26;
  unreadable.settings.framesReadable = false;
  boot(unreadable);
  launch();
  run(20);
  EXPECT_TRUE(notices(SystemNotices::menuBarNotAllowedKind).empty());

  DesktopOptions placed;
  placed.settings.osMajor = 26;
  boot(placed);
  launch();
  run(20);
  EXPECT_TRUE(notices(SystemNotices::menuBarNotAllowedKind).empty());
}

TEST_F(SystemNoticesTest, AnotherToolsLongSpacerIsToldOnceForGood) {
  boot(withSpacerApp(900));
  launch();
  run(SystemNotices::startupReadingDelay + 1);
  auto told = notices(SystemNotices::otherHidingToolKind);
  ASSERT_EQ(told.size(), 1u);
  EXPECT_EQ(told.front()->request.message, environment().tr("notice_other_hiding_tool"));
  EXPECT_FALSE(told.front()->request.actionTitle.has_value());
  EXPECT_EQ(desktop().defaults().object(SystemNotices::otherHidingToolToldKey), DefaultsValue(true));
  EXPECT_EQ(loggedCount("system notice kind=otherHidingTool sign=longItem"), 1);

  session().relaunch();
  run(SystemNotices::startupReadingDelay + 1);
  desktop().setFrontmost("com.example.editor");
  run(5);
  EXPECT_EQ(loggedCount("system notice kind=otherHidingTool"), 1) << "told again after a relaunch";
}

TEST_F(SystemNoticesTest, ALengthJumpWhileTheBarStandsStillIsToldButATitleChangeIsNot) {
  boot(withSpacerApp(30));
  launch();
  run(SystemNotices::startupReadingDelay + 1);
  ASSERT_TRUE(notices(SystemNotices::otherHidingToolKind).empty());

  // A text item changing its title by tens of points.
  ASSERT_TRUE(desktop().resizeFirstItem("com.example.bartool", 90));
  desktop().setFrontmost("com.example.editor");
  run(SystemNotices::readingDelay + 1);
  EXPECT_TRUE(notices(SystemNotices::otherHidingToolKind).empty());

  ASSERT_TRUE(desktop().resizeFirstItem("com.example.bartool", 90 + Policy::lengthJump + 10));
  desktop().setFrontmost("com.example.editor");
  run(SystemNotices::readingDelay + 1);
  EXPECT_EQ(notices(SystemNotices::otherHidingToolKind).size(), 1u);
  EXPECT_TRUE(logged("system notice kind=otherHidingTool sign=lengthJump"));
}

// From the single bar surface on there are no item windows: a bar-wide window is the system's.
TEST_F(SystemNoticesTest, NothingIsReadForOtherToolsOnTheSingleBarSurface) {
  boot(withSpacerApp(900, Policy::singleBarSurfaceFromOSMajor));
  launch();
  run(20);
  EXPECT_TRUE(notices(SystemNotices::otherHidingToolKind).empty());
}

}  // namespace
}  // namespace tarvolo::testing
