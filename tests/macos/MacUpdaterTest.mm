// The update framework's user driver, called as the framework calls it: every call reaches the
// core's listener, every reply block the framework hands over runs exactly once, and the
// framework's errors read as the window words them. Needs no framework: the driver is ours.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/macos/MacBackend.h"
#include "platform/macos/MacWindows.h"

using namespace tarvolo::platform;
using namespace tarvolo::platform::mac;

// A release as the framework describes it.
@interface TRVTestAppcastItem : NSObject <TRVFrameworkAppcastItem>
@property(nonatomic, copy) NSString* versionString;
@property(nonatomic, copy) NSString* displayVersionString;
@property(nonatomic) uint64_t contentLength;
@property(nonatomic, copy) NSString* itemDescription;
@end

@implementation TRVTestAppcastItem
@end

namespace {

class Recorder final : public UpdaterListener {
 public:
  std::vector<std::string> calls;
  std::optional<UpdateOffer> offer;
  std::optional<UpdateError> error;
  std::uint64_t received = 0;

  void updateCheckStarted() override { calls.push_back("checkStarted"); }
  void updateFound(const UpdateOffer& found) override {
    calls.push_back("found");
    offer = found;
  }
  void releaseNotesLoaded(const std::string& text) override { calls.push_back("notes " + text); }
  void updateNotFound() override { calls.push_back("notFound"); }
  void downloadStarted() override { calls.push_back("downloadStarted"); }
  void downloadExpectedLength(std::uint64_t bytes) override { calls.push_back("expected " + std::to_string(bytes)); }
  void downloadReceived(std::uint64_t bytes) override { received += bytes; }
  void extractionStarted() override { calls.push_back("extracting"); }
  void extractionProgress(double) override {}
  void readyToInstall() override { calls.push_back("ready"); }
  void installing(bool terminated) override { calls.push_back(terminated ? "installing terminated" : "installing"); }
  void installed(bool) override { calls.push_back("installed"); }
  void failed(const UpdateError& failure) override {
    calls.push_back("failed");
    error = failure;
  }
  void focusRequested() override { calls.push_back("focus"); }
  void dismissed() override { calls.push_back("dismissed"); }
};

NSError* frameworkError(NSInteger code, NSError* underlying = nil) {
  NSMutableDictionary* info = [NSMutableDictionary dictionaryWithObject:@"It went wrong." forKey:NSLocalizedDescriptionKey];
  if (underlying) info[NSUnderlyingErrorKey] = underlying;
  return [NSError errorWithDomain:TRVUpdateErrorDomain code:code userInfo:info];
}

TEST(MacUpdateDriver, AnOfferReachesTheCoreAndTheAnswerRunsTheFrameworksReplyOnce) {
  Recorder recorder;
  TRVUpdateUserDriver* driver = [[TRVUpdateUserDriver alloc] initWithListener:&recorder];
  TRVTestAppcastItem* item = [[TRVTestAppcastItem alloc] init];
  item.versionString = @"110";
  item.displayVersionString = @"1.1";
  item.contentLength = 4'000'000;
  item.itemDescription = @"<p>Faster</p>";
  std::vector<TRVUpdateChoice> replies;
  __block std::vector<TRVUpdateChoice>* sink = &replies;
  [driver showUserInitiatedUpdateCheckWithCancellation:^{
  }];
  [driver showUpdateFoundWithAppcastItem:item state:nil reply:^(TRVUpdateChoice choice) {
    sink->push_back(choice);
  }];
  ASSERT_TRUE(recorder.offer.has_value());
  EXPECT_EQ(recorder.offer->version, "1.1") << "the version shown, not the build number";
  EXPECT_EQ(recorder.offer->size, std::optional<std::uint64_t>(4'000'000));
  EXPECT_EQ(recorder.offer->releaseNotes, "<p>Faster</p>");
  EXPECT_TRUE([driver answer:TRVUpdateChoiceSkip]);
  EXPECT_FALSE([driver answer:TRVUpdateChoiceInstall]) << "a reply block runs once";
  EXPECT_EQ(replies, std::vector<TRVUpdateChoice>{TRVUpdateChoiceSkip});
  EXPECT_FALSE([driver cancel]) << "the check ended when the offer came";
}

TEST(MacUpdateDriver, CancelStopsTheDownloadUntilExtractionBegins) {
  Recorder recorder;
  TRVUpdateUserDriver* driver = [[TRVUpdateUserDriver alloc] initWithListener:&recorder];
  __block int cancelled = 0;
  [driver showDownloadInitiatedWithCancellation:^{
    ++cancelled;
  }];
  [driver showDownloadDidReceiveExpectedContentLength:300];
  [driver showDownloadDidReceiveDataOfLength:100];
  [driver showDownloadDidReceiveDataOfLength:200];
  EXPECT_EQ(recorder.received, 300u);
  [driver showDownloadDidStartExtractingUpdate];
  EXPECT_FALSE([driver cancel]);
  EXPECT_EQ(cancelled, 0);
  EXPECT_EQ(recorder.calls, (std::vector<std::string>{"downloadStarted", "expected 300", "extracting"}));
}

TEST(MacUpdateDriver, ReadyInstallingAndDismissalReachTheCore) {
  Recorder recorder;
  TRVUpdateUserDriver* driver = [[TRVUpdateUserDriver alloc] initWithListener:&recorder];
  __block NSInteger answered = -1;
  [driver showReadyToInstallAndRelaunch:^(TRVUpdateChoice choice) {
    answered = choice;
  }];
  EXPECT_TRUE([driver answer:TRVUpdateChoiceInstall]);
  EXPECT_EQ(answered, TRVUpdateChoiceInstall);
  [driver showInstallingUpdateWithApplicationTerminated:NO retryTerminatingApplication:^{
  }];
  [driver showUpdateInFocus];
  [driver dismissUpdateInstallation];
  EXPECT_EQ(recorder.calls, (std::vector<std::string>{"ready", "installing", "focus", "dismissed"}));
}

TEST(MacUpdateDriver, DetachingAnswersWhatIsOpenAndSilencesTheCore) {
  Recorder recorder;
  TRVUpdateUserDriver* driver = [[TRVUpdateUserDriver alloc] initWithListener:&recorder];
  __block NSInteger answered = -1;
  __block int acknowledged = 0;
  [driver showUpdateFoundWithAppcastItem:[[TRVTestAppcastItem alloc] init] state:nil reply:^(TRVUpdateChoice choice) {
    answered = choice;
  }];
  [driver showUpdateNotFoundWithError:frameworkError(1001) acknowledgement:^{
    ++acknowledged;
  }];
  [driver detach];
  EXPECT_EQ(answered, TRVUpdateChoiceDismiss);
  EXPECT_EQ(acknowledged, 1);
  const auto before = recorder.calls.size();
  [driver showUpdateInFocus];
  EXPECT_EQ(recorder.calls.size(), before);
}

TEST(MacUpdateDriver, FrameworkErrorsReadAsTheWindowWordsThem) {
  EXPECT_EQ(updateErrorFrom(frameworkError(1002)).failure, UpdateFailure::feedUnreachable);
  EXPECT_EQ(updateErrorFrom(frameworkError(2001)).failure, UpdateFailure::download);
  NSError* lost = [NSError errorWithDomain:NSURLErrorDomain code:NSURLErrorNetworkConnectionLost userInfo:nil];
  EXPECT_EQ(updateErrorFrom(frameworkError(2001, lost)).failure, UpdateFailure::downloadIncomplete);
  EXPECT_EQ(updateErrorFrom(frameworkError(3001)).failure, UpdateFailure::signature);
  EXPECT_EQ(updateErrorFrom(frameworkError(4005)).failure, UpdateFailure::installation);
  const UpdateError other = updateErrorFrom(frameworkError(5000));
  EXPECT_EQ(other.failure, UpdateFailure::other);
  EXPECT_EQ(other.detail, "It went wrong.");
  NSError* foreign = [NSError errorWithDomain:NSCocoaErrorDomain code:3001 userInfo:nil];
  EXPECT_EQ(updateErrorFrom(foreign).failure, UpdateFailure::other) << "only the framework's own codes count";
}

TEST(MacUpdateDriver, AnAppWithoutTheFrameworkHasNoUpdater) {
  // The test program's bundle carries no framework.
  MacUpdater updater;
  Recorder recorder;
  EXPECT_FALSE(updater.loadFramework());
  EXPECT_TRUE(updater.start(recorder).has_value());
  updater.check(UpdateCheckKind::user);
  updater.answer(UpdateChoice::install);
  EXPECT_TRUE(recorder.calls.empty());
}

TEST(MacUpdateWindow, EveryPhaseShowsItsButtonsAndAButtonPressReachesTheCore) {
  MacUpdateWindow window;
  std::vector<UpdateAction> pressed;
  UpdateViewState state;
  state.windowTitle = "Software Update";
  state.phase = UpdatePhase::available;
  state.message = "A new version of Tarvolo is available.";
  state.notesTitle = "Release Notes";
  state.notes = "Faster";
  state.buttons = {{UpdateAction::skip, "Skip This Version"}, {UpdateAction::later, "Remind Me Later"},
                   {UpdateAction::install, "Install Update"}};
  state.defaultAction = UpdateAction::install;
  state.cancelAction = UpdateAction::later;
  window.show(state, UpdateWindowCallbacks{.press = [&pressed](UpdateAction action) { pressed.push_back(action); }},
              UpdateWindowFocus::leave);
  ASSERT_TRUE(window.isShown());
  state.phase = UpdatePhase::downloading;
  state.notes.reset();
  state.progress = UpdateProgress{.fraction = 0.5, .label = "Download"};
  state.buttons = {{UpdateAction::cancel, "Cancel"}};
  state.defaultAction.reset();
  state.cancelAction = UpdateAction::cancel;
  window.update(state);
  EXPECT_TRUE(window.isShown());
  window.close();
  EXPECT_FALSE(window.isShown());
  EXPECT_TRUE(pressed.empty()) << "closing for the core is no answer";
}

}  // namespace
