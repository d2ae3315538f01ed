#include <gtest/gtest.h>

#include <algorithm>

#include "app/AppEnvironment.h"
#include "localization/LocalizationManager.h"
#include "support/SimFixture.h"
#include "ui/PreferencesController.h"
#include "ui/UpdateController.h"
#include "ui/UpdatePolicy.h"

namespace tarvolo::testing {
namespace {

using platform::UpdateAction;
using platform::UpdatePhase;

sim::SimUpdateSettings feedWith(std::vector<sim::SimRelease> releases) {
  sim::SimUpdateSettings updates;
  updates.installedVersion = "1.0";
  updates.feed = std::move(releases);
  return updates;
}

sim::SimRelease release(std::string version, std::uint64_t size = 6'000'000) {
  sim::SimRelease release;
  release.version = std::move(version);
  release.size = size;
  return release;
}

class UpdateControllerTest : public SimAppTest {
 protected:
  void start(std::optional<sim::SimUpdateSettings> updates, bool onboardingComplete = true) {
    DesktopOptions options;
    options.settings.updates = std::move(updates);
    options.onboardingComplete = onboardingComplete;
    boot(options);
    launch();
    run(1);
  }
  AppEnvironment& env() { return *session().delegate()->environment(); }
  UpdateController& updates() { return env().updates(); }
  const sim::SimUpdateWindow& window() { return desktop().userInterface().updateWindow(); }
  const sim::SimUpdater& framework() { return desktop().updater(); }
  const platform::UpdateViewState& shown() {
    const auto* state = window().showing();
    if (!state) throw std::logic_error("the update window is not shown");
    return *state;
  }
  std::vector<UpdateAction> buttons() {
    std::vector<UpdateAction> actions;
    for (const auto& button : shown().buttons) actions.push_back(button.action);
    return actions;
  }
  void press(UpdateAction action) {
    auto run = window().controls().press;
    run(action);
  }
  bool menuOffersCheck() {
    const auto menu = controller().buildContextMenu();
    return std::any_of(menu.items.begin(), menu.items.end(),
                       [](const platform::MenuItem& item) { return item.action == "checkForUpdates"; });
  }
};

TEST_F(UpdateControllerTest, AUserCheckShowsCheckingThenUpToDateAndReturnCloses) {
  start(feedWith({release("1.0")}));
  ASSERT_TRUE(menuOffersCheck());
  updates().checkNow();
  EXPECT_EQ(shown().phase, UpdatePhase::checking);
  EXPECT_EQ(shown().message, env().tr("update.checking"));
  EXPECT_EQ(buttons(), std::vector<UpdateAction>{UpdateAction::cancel});
  EXPECT_EQ(shown().cancelAction, UpdateAction::cancel);
  ASSERT_TRUE(shown().progress.has_value());
  EXPECT_FALSE(shown().progress->fraction.has_value()) << "a check has no measure: the bar spins";
  run(1);
  EXPECT_EQ(shown().phase, UpdatePhase::upToDate);
  EXPECT_EQ(shown().message, env().tr("update.current"));
  EXPECT_EQ(shown().detail, "You have Tarvolo 1.0.");
  EXPECT_EQ(shown().defaultAction, UpdateAction::close);
  press(*shown().defaultAction);
  EXPECT_FALSE(window().shown());
  EXPECT_FALSE(updates().phase().has_value());
  EXPECT_EQ(framework().checks().size(), 1u);
}

TEST_F(UpdateControllerTest, AnOfferNamesBothVersionsTheSizeAndShowsHtmlNotesAsText) {
  auto offered = release("1.1");
  offered.notes = "<p>Faster &amp; lighter.</p><ul><li>One</li><li>Two</li></ul>";
  start(feedWith({offered}));
  updates().checkNow();
  run(1);
  EXPECT_EQ(shown().phase, UpdatePhase::available);
  EXPECT_EQ(shown().detail, "Tarvolo 1.1 is available; you have 1.0. · 6.0 MB");
  EXPECT_EQ(shown().notesTitle, env().tr("update.notes"));
  EXPECT_EQ(shown().notes, "Faster & lighter.\n\n• One\n• Two");
  EXPECT_EQ(buttons(), (std::vector<UpdateAction>{UpdateAction::skip, UpdateAction::later, UpdateAction::install}));
  EXPECT_EQ(shown().defaultAction, UpdateAction::install);
  EXPECT_EQ(shown().cancelAction, UpdateAction::later);
}

TEST_F(UpdateControllerTest, TheDownloadCountsBytesOfTheTotalAndCancelStopsIt) {
  start(feedWith({release("1.1", 8'000'000)}));
  updates().checkNow();
  run(1);
  press(UpdateAction::install);
  run(0.6);  // two pieces of a million bytes
  EXPECT_EQ(shown().phase, UpdatePhase::downloading);
  EXPECT_EQ(shown().detail, "2.0 of 8.0 MB");
  ASSERT_TRUE(shown().progress && shown().progress->fraction);
  EXPECT_DOUBLE_EQ(*shown().progress->fraction, 0.25);
  EXPECT_EQ(shown().progress->label, env().tr("update.download"));
  EXPECT_EQ(shown().cancelAction, UpdateAction::cancel);
  press(UpdateAction::cancel);
  run(5);
  EXPECT_FALSE(window().shown());
  EXPECT_EQ(framework().bytesDownloaded(), 2'000'000u) << "nothing more arrives after Cancel";
  EXPECT_TRUE(framework().installs().empty());
}

TEST_F(UpdateControllerTest, ASkippedVersionIsNotOfferedAgainButAUserCheckNamesIt) {
  start(feedWith({release("1.1")}));
  run(UpdatePolicy::launchDelay);
  ASSERT_EQ(shown().phase, UpdatePhase::available) << "the background check found 1.1";
  EXPECT_EQ(window().timeline().front().focused, false) << "a background find does not take focus";
  press(UpdateAction::skip);
  EXPECT_EQ(desktop().defaults().getString(UpdateController::skippedVersionKey), "1.1");
  run(UpdatePolicy::checkInterval + 1);
  EXPECT_EQ(framework().checks().size(), 2u);
  EXPECT_FALSE(window().shown()) << "the next day's background check stays quiet";
  updates().checkNow();
  run(1);
  EXPECT_EQ(shown().phase, UpdatePhase::upToDate);
  EXPECT_EQ(shown().detail, "Version 1.1 is available, but you chose to skip it.");
}

TEST_F(UpdateControllerTest, ABackgroundCheckThatFindsNothingShowsNoWindowAndComesBackADayLater) {
  start(feedWith({release("1.0")}));
  run(UpdatePolicy::launchDelay + 1);
  ASSERT_EQ(framework().checks().size(), 1u);
  EXPECT_EQ(framework().checks()[0].kind, platform::UpdateCheckKind::background);
  EXPECT_EQ(window().showCount(), 0);
  run(UpdatePolicy::checkInterval - 4);
  EXPECT_EQ(framework().checks().size(), 1u) << "not before a day has passed";
  run(4);
  EXPECT_EQ(framework().checks().size(), 2u);
  EXPECT_EQ(window().showCount(), 0);
}

TEST_F(UpdateControllerTest, ChecksSwitchedOffMakeNoCheckUntilSwitchedOnAgain) {
  start(feedWith({release("1.1")}));
  updates().setAutomaticChecks(false);
  run(UpdatePolicy::checkInterval * 2);
  EXPECT_TRUE(framework().checks().empty());
  session().relaunch();
  run(UpdatePolicy::checkInterval);
  EXPECT_TRUE(framework().checks().empty()) << "the choice is kept across launches";
  env().updates().setAutomaticChecks(true);
  run(UpdatePolicy::launchDelay + 1);
  EXPECT_EQ(framework().checks().size(), 1u);
}

TEST_F(UpdateControllerTest, NoBackgroundCheckWhileTheFirstLaunchCoachRuns) {
  start(feedWith({release("1.1")}), /*onboardingComplete=*/false);
  run(UpdatePolicy::launchDelay + UpdatePolicy::coachRetryDelay * 2);
  EXPECT_TRUE(framework().checks().empty());
  EXPECT_TRUE(logged("update check postponed reason=coach"));
  controller().completeOnboarding();
  run(UpdatePolicy::coachRetryDelay + 1);
  EXPECT_EQ(framework().checks().size(), 1u);
}

TEST_F(UpdateControllerTest, ABadSignatureEndsInTheFailureWindowWithTheReasonAndInstallsNothing) {
  auto bad = release("1.1");
  bad.badSignature = true;
  start(feedWith({bad}));
  updates().checkNow();
  run(1);
  press(UpdateAction::install);
  run(5);
  EXPECT_EQ(shown().phase, UpdatePhase::failed);
  EXPECT_EQ(shown().message, env().tr("update.failed"));
  EXPECT_EQ(shown().detail, env().tr("update.error.signature"));
  EXPECT_EQ(buttons(), std::vector<UpdateAction>{UpdateAction::close});
  EXPECT_FALSE(desktop().defaults().contains(UpdateController::pendingVersionKey));
  session().relaunch();
  run(2);
  EXPECT_EQ(framework().installedVersion(), "1.0");
  EXPECT_TRUE(framework().installs().empty());
}

TEST_F(UpdateControllerTest, InstallAndRelaunchPutsTheNewVersionInPlaceAndItSaysSo) {
  start(feedWith({release("1.1")}));
  updates().checkNow();
  run(1);
  press(UpdateAction::install);
  run(3);
  ASSERT_EQ(shown().phase, UpdatePhase::readyToInstall);
  EXPECT_EQ(shown().defaultAction, UpdateAction::installAndRelaunch);
  press(UpdateAction::installAndRelaunch);
  EXPECT_EQ(shown().phase, UpdatePhase::installing);
  run(3);
  ASSERT_TRUE(session().running()) << "the installer starts the new version";
  EXPECT_EQ(framework().installedVersion(), "1.1");
  EXPECT_EQ(shown().phase, UpdatePhase::complete);
  EXPECT_EQ(shown().detail, "You now have Tarvolo 1.1.");
  EXPECT_FALSE(desktop().defaults().contains(UpdateController::pendingVersionKey));
}

TEST_F(UpdateControllerTest, LaterAtReadyInstallsWhenTheAppQuitsAndTheNextLaunchSaysSo) {
  start(feedWith({release("1.1")}));
  updates().checkNow();
  run(1);
  press(UpdateAction::install);
  run(3);
  press(UpdateAction::later);
  EXPECT_FALSE(window().shown());
  session().quit();
  run(2);
  EXPECT_EQ(framework().installedVersion(), "1.1");
  ASSERT_FALSE(framework().installs().empty());
  EXPECT_FALSE(framework().installs().back().relaunched);
  session().launch();
  run(1);
  EXPECT_EQ(shown().phase, UpdatePhase::complete);
}

TEST_F(UpdateControllerTest, AnInstallationThatFailsIsReportedByTheOldVersionAfterItsRelaunch) {
  auto broken = release("1.1");
  broken.installFails = true;
  start(feedWith({broken}));
  updates().checkNow();
  run(1);
  press(UpdateAction::install);
  run(3);
  press(UpdateAction::installAndRelaunch);
  run(3);
  ASSERT_TRUE(session().running());
  EXPECT_EQ(framework().installedVersion(), "1.0");
  EXPECT_EQ(shown().phase, UpdatePhase::failed);
  EXPECT_EQ(shown().detail, env().tr("update.error.install"));
}

TEST_F(UpdateControllerTest, TheCloseBoxCancelsACheckButOnlyHidesPreparation) {
  start(feedWith({release("1.1")}));
  updates().checkNow();
  desktop().userInterface().updateWindow().closeByUser();
  run(2);
  EXPECT_FALSE(window().shown());
  EXPECT_FALSE(updates().phase().has_value()) << "closing a check cancels it";
  updates().checkNow();
  run(1);
  press(UpdateAction::install);
  run(1.6);  // six pieces: the download is complete, extraction runs
  ASSERT_EQ(shown().phase, UpdatePhase::preparing);
  desktop().userInterface().updateWindow().closeByUser();
  EXPECT_EQ(updates().phase(), UpdatePhase::preparing);
  run(2);
  EXPECT_EQ(shown().phase, UpdatePhase::readyToInstall) << "it comes back when it needs the user";
}

TEST_F(UpdateControllerTest, WithoutTheFrameworkThereIsNoMenuItemSwitchButtonOrCheck) {
  start(std::nullopt);
  EXPECT_FALSE(updates().available());
  EXPECT_FALSE(menuOffersCheck());
  env().preferences()->open(std::string("about"));
  const auto state = env().preferences()->viewState();
  EXPECT_FALSE(state.general.automaticUpdates.has_value());
  EXPECT_FALSE(state.about.checkForUpdatesTitle.has_value());
  EXPECT_EQ(state.about.privacyDetail.find(env().tr("update.network_desc")), std::string::npos);
  updates().checkNow();
  run(UpdatePolicy::checkInterval);
  EXPECT_EQ(window().showCount(), 0);
  EXPECT_FALSE(logged("updater"));
}

TEST_F(UpdateControllerTest, AFrameworkWithoutFeedOrKeyDoesNotStart) {
  auto settings = feedWith({release("1.1")});
  settings.configured = false;
  start(settings);
  EXPECT_FALSE(updates().available());
  EXPECT_FALSE(menuOffersCheck());
  EXPECT_TRUE(logged("updater unavailable"));
}

TEST_F(UpdateControllerTest, SettingsShowTheSwitchAndTheAboutButtonWhichChecks) {
  start(feedWith({release("1.0")}));
  env().preferences()->open(std::string("about"));
  auto state = env().preferences()->viewState();
  ASSERT_TRUE(state.general.automaticUpdates.has_value());
  EXPECT_TRUE(state.general.automaticUpdates->on);
  ASSERT_TRUE(state.about.checkForUpdatesTitle.has_value());
  env().preferences()->setAutomaticUpdates(false);
  EXPECT_FALSE(env().preferences()->viewState().general.automaticUpdates->on);
  env().preferences()->checkForUpdates();
  EXPECT_EQ(shown().phase, UpdatePhase::checking);
}

TEST_F(UpdateControllerTest, ALanguageChangeRewordsTheOpenWindow) {
  start(feedWith({release("1.0")}));
  updates().checkNow();
  run(1);
  env().localization().setCurrentLanguage(AppLanguage::de);
  EXPECT_EQ(shown().message, "Tarvolo ist auf dem neuesten Stand.");
  EXPECT_EQ(shown().buttons.front().title, "Schließen");
}

}  // namespace
}  // namespace tarvolo::testing
