#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/sim/SimDesktop.h"

namespace tarvolo::sim {
namespace {

using platform::UpdateCheckKind;
using platform::UpdateChoice;

// Writes down every call of the framework, in order.
class RecordingListener final : public platform::UpdaterListener {
 public:
  std::vector<std::string> calls;
  std::uint64_t received = 0;

  void updateCheckStarted() override { calls.push_back("checkStarted"); }
  void updateFound(const platform::UpdateOffer& offer) override { calls.push_back("found " + offer.version); }
  void releaseNotesLoaded(const std::string&) override { calls.push_back("notes"); }
  void updateNotFound() override { calls.push_back("notFound"); }
  void downloadStarted() override { calls.push_back("downloadStarted"); }
  void downloadExpectedLength(std::uint64_t bytes) override { calls.push_back("expected " + std::to_string(bytes)); }
  void downloadReceived(std::uint64_t bytes) override { received += bytes; }
  void extractionStarted() override { calls.push_back("extracting"); }
  void extractionProgress(double) override {}
  void readyToInstall() override { calls.push_back("ready"); }
  void installing(bool terminated) override { calls.push_back(terminated ? "installing terminated" : "installing"); }
  void installed(bool) override { calls.push_back("installed"); }
  void failed(const platform::UpdateError& error) override {
    calls.push_back("failed " + std::string(platform::rawValue(error.failure)));
  }
  void focusRequested() override { calls.push_back("focus"); }
  void dismissed() override { calls.push_back("dismissed"); }
};

SimSettings withFeed(std::vector<SimRelease> feed) {
  SimSettings settings;
  settings.updates = SimUpdateSettings{.installedVersion = "1.0", .feed = std::move(feed)};
  return settings;
}

SimRelease release(std::string version, std::uint64_t size = 2'000'000) {
  SimRelease release;
  release.version = std::move(version);
  release.size = size;
  return release;
}

class SimUpdaterTest : public ::testing::Test {
 protected:
  void make(SimSettings settings) {
    desktop_ = std::make_unique<SimDesktop>(std::vector<SimScreenSetup>{SimScreenSetup{}}, std::vector<SimAppSetup>{},
                                            std::move(settings));
  }
  SimUpdater& updater() { return desktop_->updater(); }
  void run(double seconds) { desktop_->queue().runFor(seconds); }

  std::unique_ptr<SimDesktop> desktop_;
  RecordingListener listener_;
};

TEST_F(SimUpdaterTest, WithoutTheFrameworkNothingLoadsOrStarts) {
  make(SimSettings{});
  EXPECT_FALSE(updater().loadFramework());
  EXPECT_TRUE(updater().start(listener_).has_value());
  updater().check(UpdateCheckKind::user);
  run(5);
  EXPECT_TRUE(listener_.calls.empty());
  EXPECT_TRUE(updater().checks().empty());
}

TEST_F(SimUpdaterTest, AUserCheckSaysItStartedAndOffersTheNewestVersionAboveTheInstalledOne) {
  make(withFeed({release("0.9"), release("1.2"), release("1.10"), release("1.0")}));
  ASSERT_FALSE(updater().start(listener_).has_value());
  updater().check(UpdateCheckKind::user);
  run(1);
  EXPECT_EQ(listener_.calls, (std::vector<std::string>{"checkStarted", "found 1.10"}));
}

TEST_F(SimUpdaterTest, ABackgroundCheckIsSilentUntilItKnowsAndASecondCheckWaitsForTheFirst) {
  make(withFeed({release("1.0")}));
  ASSERT_FALSE(updater().start(listener_).has_value());
  updater().check(UpdateCheckKind::background);
  updater().check(UpdateCheckKind::user);
  run(1);
  EXPECT_EQ(listener_.calls, std::vector<std::string>{"notFound"});
  EXPECT_EQ(updater().checks().size(), 1u);
  updater().acknowledge();
  run(0);
  EXPECT_EQ(listener_.calls.back(), "dismissed");
}

TEST_F(SimUpdaterTest, InstallDownloadsInPiecesExtractsAndAsksAgain) {
  make(withFeed({release("1.1", 2'500'000)}));
  ASSERT_FALSE(updater().start(listener_).has_value());
  updater().check(UpdateCheckKind::background);
  run(1);
  updater().answer(UpdateChoice::install);
  run(5);
  EXPECT_EQ(listener_.calls,
            (std::vector<std::string>{"found 1.1", "downloadStarted", "expected 2500000", "extracting", "ready"}));
  EXPECT_EQ(listener_.received, 2'500'000u);
  EXPECT_EQ(updater().installedVersion(), "1.0") << "nothing is installed before the app quits";
}

TEST_F(SimUpdaterTest, BrokenDownloadsAndBadSignaturesFailWithTheirReason) {
  auto halfway = release("1.1");
  halfway.download = SimDownload::stopsHalfway;
  make(withFeed({halfway}));
  ASSERT_FALSE(updater().start(listener_).has_value());
  updater().check(UpdateCheckKind::user);
  run(1);
  updater().answer(UpdateChoice::install);
  run(5);
  EXPECT_EQ(listener_.calls.back(), "failed downloadIncomplete");
  EXPECT_EQ(listener_.received, 1'000'000u);

  auto badlySigned = release("1.1");
  badlySigned.badSignature = true;
  make(withFeed({badlySigned}));
  listener_ = {};
  ASSERT_FALSE(updater().start(listener_).has_value());
  updater().check(UpdateCheckKind::user);
  run(1);
  updater().answer(UpdateChoice::install);
  run(5);
  EXPECT_EQ(listener_.calls.back(), "failed signature");
  EXPECT_EQ(listener_.received, 2'000'000u) << "the signature is checked on the whole archive";
}

TEST_F(SimUpdaterTest, CancelStopsTheDownloadAndEndsTheSession) {
  make(withFeed({release("1.1", 8'000'000)}));
  ASSERT_FALSE(updater().start(listener_).has_value());
  updater().check(UpdateCheckKind::user);
  run(1);
  updater().answer(UpdateChoice::install);
  run(0.3);
  updater().cancel();
  run(5);
  EXPECT_EQ(listener_.calls.back(), "dismissed");
  EXPECT_EQ(listener_.received, 1'000'000u);
}

TEST_F(SimUpdaterTest, LaterAtReadyInstallsWhenTheProcessEndsWithoutRelaunching) {
  make(withFeed({release("1.1")}));
  int relaunches = 0;
  desktop_->setOwnRelaunchHandler([&relaunches] { ++relaunches; });
  ASSERT_FALSE(updater().start(listener_).has_value());
  updater().check(UpdateCheckKind::user);
  run(1);
  updater().answer(UpdateChoice::install);
  run(5);
  updater().answer(UpdateChoice::later);
  EXPECT_TRUE(updater().installAwaited());
  EXPECT_FALSE(updater().relaunchAwaited());
  desktop_->ownProcessExited();
  run(5);
  EXPECT_EQ(updater().installedVersion(), "1.1");
  EXPECT_EQ(relaunches, 0);
}

TEST_F(SimUpdaterTest, StopSilencesTheListener) {
  make(withFeed({release("1.1")}));
  ASSERT_FALSE(updater().start(listener_).has_value());
  updater().check(UpdateCheckKind::user);
  updater().stop();
  run(5);
  EXPECT_EQ(listener_.calls, std::vector<std::string>{"checkStarted"});
}

}  // namespace
}  // namespace tarvolo::sim
