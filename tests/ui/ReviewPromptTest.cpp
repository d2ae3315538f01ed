#include <gtest/gtest.h>

#include <algorithm>

#include "app/AppEnvironment.h"
#include "localization/LocalizationManager.h"
#include "shelf/owners/MenuBarAccessController.h"
#include "support/SimFixture.h"
#include "ui/ReviewPrompt.h"
#include "ui/ReviewPromptController.h"

namespace tarvolo::testing {
namespace {

constexpr double kDay = 86400;

class ReviewPromptTest : public SimAppTest {
 protected:
  // A user of `age` days who used the app on `days` of them.
  void bootUser(double age, int days) {
    boot();
    auto& defaults = desktop().defaults();
    const double now = desktop().clock().currentDate();
    defaults.set(ReviewPrompt::installDateKey, DefaultsValue(now - age * kDay));
    for (int day = 1; day <= days; ++day) ReviewPrompt::noteUse(defaults, now - day * kDay);
    launch();
    run(3);
  }
  AppEnvironment& env() { return *session().delegate()->environment(); }
  const sim::SimUiRecord& ui() { return desktop().ui(); }
  // Opens the settings and closes them the way the user does, then lets the moment settle.
  void closeSettings() {
    controller().openPreferences(std::nullopt);
    run(1);
    desktop().closePreferencesWindow();
    run(ReviewPromptPolicy::settleDelay + 0.5);
  }
  std::optional<std::string> storedAnswer() {
    return desktop().defaults().getString(ReviewPromptController::answerKey);
  }
};

TEST_F(ReviewPromptTest, ASeasonedUserIsAskedOnceAfterClosingSettingsAndNeverAgainAfterNever) {
  bootUser(20, 9);
  EXPECT_EQ(ui().reviewPromptCount, 0) << "never at launch";
  closeSettings();
  ASSERT_TRUE(ui().reviewPromptShown);
  EXPECT_EQ(ui().reviewPrompt->message, env().tr("review_message"));
  EXPECT_EQ(ui().reviewPrompt->rateTitle, env().tr("menu_rate_tarvolo"));
  EXPECT_TRUE(ui().reviewPrompt->anchor.has_value());
  EXPECT_EQ(desktop().defaults().getString(ReviewPromptController::askedVersionKey), PreferencesController::versionText);
  ui().reviewPromptCallbacks.never();
  EXPECT_FALSE(ui().reviewPromptShown);
  EXPECT_EQ(storedAnswer(), "declined");
  session().relaunch();
  run(3);
  closeSettings();
  EXPECT_EQ(ui().reviewPromptCount, 1);
}

TEST_F(ReviewPromptTest, RatingOpensTheRatingPageAndLaterWaitsForAnotherVersion) {
  bootUser(30, 12);
  closeSettings();
  ASSERT_TRUE(ui().reviewPromptShown);
  ui().reviewPromptCallbacks.rate();
  EXPECT_EQ(storedAnswer(), "rated");
  EXPECT_TRUE(std::count(ui().openedURLs.begin(), ui().openedURLs.end(), ReviewPromptController::ratingURL));

  desktop().defaults().remove(ReviewPromptController::answerKey);
  desktop().defaults().remove(ReviewPromptController::askedVersionKey);
  desktop().defaults().remove(ReviewPromptController::askedDateKey);
  closeSettings();
  ASSERT_TRUE(ui().reviewPromptShown);
  ui().reviewPromptCallbacks.later();
  EXPECT_EQ(storedAnswer(), "later");
  closeSettings();
  EXPECT_EQ(ui().reviewPromptCount, 2) << "once per version";
}

TEST_F(ReviewPromptTest, NewUsersAndBusyMomentsAreLeftAlone) {
  bootUser(5, 5);
  closeSettings();
  EXPECT_EQ(ui().reviewPromptCount, 0);
  // The day of the moment counts as a day of use.
  EXPECT_EQ(ReviewPrompt::daysOfUse(desktop().defaults()), 6u);

  session_.reset();
  bootUser(20, 9);
  controller().openPreferences(std::nullopt);
  run(1);
  desktop().closePreferencesWindow();
  // The shelf comes up before the prompt would: the prompt stays away.
  env().iconShelf()->showShelf(std::nullopt);
  run(ReviewPromptPolicy::settleDelay + 0.5);
  EXPECT_EQ(ui().reviewPromptCount, 0);
  EXPECT_TRUE(logged("review prompt withheld moment=preferences-closed reason=busy"));
}

// On the Mac the window that makes the moment is still on screen when it reports closing.
TEST_F(ReviewPromptTest, WhatIsUpAtTheMomentItselfDoesNotCountOnlyWhenThePromptWouldShow) {
  bootUser(20, 9);
  env().iconShelf()->showShelf(std::nullopt);
  env().reviewPrompt()->noteEngagement("test");
  env().iconShelf()->closeShelf();
  run(ReviewPromptPolicy::settleDelay + 0.5);
  EXPECT_TRUE(ui().reviewPromptShown);
}

TEST_F(ReviewPromptTest, AnUnreadableAnswerIsTakenAsNoAndKept) {
  boot();
  auto& defaults = desktop().defaults();
  const double now = desktop().clock().currentDate();
  defaults.set(ReviewPrompt::installDateKey, DefaultsValue(now - 40 * kDay));
  for (int day = 1; day <= 10; ++day) ReviewPrompt::noteUse(defaults, now - day * kDay);
  defaults.set(ReviewPromptController::answerKey, DefaultsValue(7));
  launch();
  run(3);
  closeSettings();
  EXPECT_EQ(ui().reviewPromptCount, 0);
  EXPECT_EQ(defaults.getInteger(ReviewPromptController::answerKey), 7);
}

}  // namespace
}  // namespace tarvolo::testing
