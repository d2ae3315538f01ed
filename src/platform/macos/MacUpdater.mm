// The update framework, embedded in Tarvolo.app/Contents/Frameworks when the app was built with
// it, and our own user driver, which hands everything the framework would show to the core.
//
// OS quirks handled here:
// - The app must build, link and run without the framework: it is opened with dlopen and its
//   classes are looked up by name. Its selectors are declared in MacUpdateFramework.h.
// - The framework's updater asks whether its user driver conforms to its protocol; our driver's
//   class adopts that protocol at run time, once the framework has brought it in.
// - The framework schedules checks of its own unless told otherwise, and on a first launch
//   asks the user for permission to; Tarvolo keeps its own schedule, so the driver answers that
//   request with "no automatic checks" and the updater is told not to check or download alone.
// - Every driver call arrives on the main thread. Each reply block must be called exactly once;
//   the driver drops a block as soon as it runs it, and answers what is still open "dismiss"
//   when the core lets go.

#include <dlfcn.h>
#include <objc/runtime.h>

#include "platform/macos/MacBackend.h"

using tarvolo::platform::UpdateOffer;
using tarvolo::platform::UpdaterListener;

@implementation TRVUpdateUserDriver {
  UpdaterListener* _listener;
  void (^_foundReply)(TRVUpdateChoice);
  void (^_readyReply)(TRVUpdateChoice);
  void (^_checkCancellation)(void);
  void (^_downloadCancellation)(void);
  void (^_acknowledgement)(void);
}

- (instancetype)initWithListener:(UpdaterListener*)listener {
  if ((self = [super init])) _listener = listener;
  return self;
}

- (void)detach {
  _listener = nullptr;
  [self answer:TRVUpdateChoiceDismiss];
  _checkCancellation = nil;
  _downloadCancellation = nil;
  if (auto acknowledgement = _acknowledgement) {
    _acknowledgement = nil;
    acknowledgement();
  }
}

- (BOOL)answer:(TRVUpdateChoice)choice {
  // Taken out first: a reply may call back into the driver at once.
  if (auto reply = _readyReply) {
    _readyReply = nil;
    reply(choice);
    return YES;
  }
  if (auto reply = _foundReply) {
    _foundReply = nil;
    reply(choice);
    return YES;
  }
  return NO;
}

- (BOOL)cancel {
  auto cancellation = _downloadCancellation ? _downloadCancellation : _checkCancellation;
  _downloadCancellation = nil;
  _checkCancellation = nil;
  if (!cancellation) return NO;
  cancellation();
  return YES;
}

- (BOOL)acknowledge {
  auto acknowledgement = _acknowledgement;
  _acknowledgement = nil;
  if (!acknowledgement) return NO;
  acknowledgement();
  return YES;
}

- (void)showUpdatePermissionRequest:(id)request reply:(void (^)(id))reply {
  (void)request;
  Class responseClass = NSClassFromString(TRVPermissionResponseClassName);
  if (!responseClass) return;
  id<TRVFrameworkPermissionResponse> response = (id<TRVFrameworkPermissionResponse>)[responseClass alloc];
  reply([response initWithAutomaticUpdateChecks:NO sendSystemProfile:NO]);
}

- (void)showUserInitiatedUpdateCheckWithCancellation:(void (^)(void))cancellation {
  _checkCancellation = cancellation;
  if (_listener) _listener->updateCheckStarted();
}

- (void)showUpdateFoundWithAppcastItem:(id<TRVFrameworkAppcastItem>)appcastItem
                                 state:(id)state
                                 reply:(void (^)(TRVUpdateChoice))reply {
  (void)state;
  _checkCancellation = nil;
  _foundReply = reply;
  NSString* version = appcastItem.displayVersionString.length > 0 ? appcastItem.displayVersionString
                                                                  : appcastItem.versionString;
  UpdateOffer offer{.version = tarvolo::platform::mac::stdString(version),
                    .releaseNotes = tarvolo::platform::mac::stdString(appcastItem.itemDescription)};
  if (appcastItem.contentLength > 0) offer.size = appcastItem.contentLength;
  if (_listener) _listener->updateFound(offer);
}

- (void)showUpdateReleaseNotesWithDownloadData:(id<TRVFrameworkDownloadData>)downloadData {
  NSString* text = [[NSString alloc] initWithData:downloadData.data encoding:NSUTF8StringEncoding];
  if (text && _listener) _listener->releaseNotesLoaded(tarvolo::platform::mac::stdString(text));
}

- (void)showUpdateReleaseNotesFailedToDownloadWithError:(NSError*)error {
  // The offer stands without notes; the version line says what matters.
  (void)error;
}

- (void)showUpdateNotFoundWithError:(NSError*)error acknowledgement:(void (^)(void))acknowledgement {
  (void)error;
  _checkCancellation = nil;
  _acknowledgement = acknowledgement;
  if (_listener) _listener->updateNotFound();
}

- (void)showUpdaterError:(NSError*)error acknowledgement:(void (^)(void))acknowledgement {
  _checkCancellation = nil;
  _downloadCancellation = nil;
  _acknowledgement = acknowledgement;
  if (_listener) _listener->failed(tarvolo::platform::mac::updateErrorFrom(error));
}

- (void)showDownloadInitiatedWithCancellation:(void (^)(void))cancellation {
  _downloadCancellation = cancellation;
  if (_listener) _listener->downloadStarted();
}

- (void)showDownloadDidReceiveExpectedContentLength:(uint64_t)expectedContentLength {
  if (_listener) _listener->downloadExpectedLength(expectedContentLength);
}

- (void)showDownloadDidReceiveDataOfLength:(uint64_t)length {
  if (_listener) _listener->downloadReceived(length);
}

- (void)showDownloadDidStartExtractingUpdate {
  // From here on the download can no longer be stopped.
  _downloadCancellation = nil;
  if (_listener) _listener->extractionStarted();
}

- (void)showExtractionReceivedProgress:(double)progress {
  if (_listener) _listener->extractionProgress(progress);
}

- (void)showReadyToInstallAndRelaunch:(void (^)(TRVUpdateChoice))reply {
  _readyReply = reply;
  if (_listener) _listener->readyToInstall();
}

- (void)showInstallingUpdateWithApplicationTerminated:(BOOL)applicationTerminated
                          retryTerminatingApplication:(void (^)(void))retryTerminatingApplication {
  (void)retryTerminatingApplication;
  if (_listener) _listener->installing(applicationTerminated);
}

- (void)showUpdateInstalledAndRelaunched:(BOOL)relaunched acknowledgement:(void (^)(void))acknowledgement {
  _acknowledgement = acknowledgement;
  if (_listener) _listener->installed(relaunched);
}

- (void)showUpdateInFocus {
  if (_listener) _listener->focusRequested();
}

- (void)dismissUpdateInstallation {
  _foundReply = nil;
  _readyReply = nil;
  _checkCancellation = nil;
  _downloadCancellation = nil;
  _acknowledgement = nil;
  if (_listener) _listener->dismissed();
}

@end

namespace tarvolo::platform::mac {

namespace {

// Inside the app's own bundle: Tarvolo.app/Contents/Frameworks/Sparkle.framework.
NSString* frameworkExecutablePath() {
  NSString* frameworks = NSBundle.mainBundle.privateFrameworksPath;
  if (!frameworks) return nil;
  return [frameworks stringByAppendingPathComponent:@"Sparkle.framework/Sparkle"];
}

bool hasText(id value) { return [value isKindOfClass:NSString.class] && [(NSString*)value length] > 0; }

}  // namespace

UpdateError updateErrorFrom(NSError* error) {
  UpdateError result{.failure = UpdateFailure::other,
                     .detail = error.localizedDescription ? stdString(error.localizedDescription) : ""};
  if (![error.domain isEqualToString:TRVUpdateErrorDomain]) return result;
  switch (error.code) {
    case TRVUpdateErrorAppcastParse:
    case TRVUpdateErrorAppcast: result.failure = UpdateFailure::feedUnreachable; break;
    case TRVUpdateErrorDownload: {
      // A connection lost or timed out mid-way leaves a partial download behind.
      NSError* underlying = error.userInfo[NSUnderlyingErrorKey];
      const bool cutOff = [underlying.domain isEqualToString:NSURLErrorDomain] &&
                          (underlying.code == NSURLErrorNetworkConnectionLost || underlying.code == NSURLErrorTimedOut);
      result.failure = cutOff ? UpdateFailure::downloadIncomplete : UpdateFailure::download;
      break;
    }
    case TRVUpdateErrorSignature:
    case TRVUpdateErrorValidation: result.failure = UpdateFailure::signature; break;
    case TRVUpdateErrorUnarchiving: result.failure = UpdateFailure::downloadIncomplete; break;
    default:
      if (error.code >= TRVUpdateErrorFileCopy && error.code <= TRVUpdateErrorInstallationWriteNoPermission) {
        result.failure = UpdateFailure::installation;
      }
      break;
  }
  return result;
}

MacUpdater::~MacUpdater() { stop(); }

bool MacUpdater::loadFramework() {
  if (!loaded_) {
    NSString* path = frameworkExecutablePath();
    // Kept open for the life of the process, as its classes are.
    handle_ = path ? dlopen(path.fileSystemRepresentation, RTLD_NOW | RTLD_LOCAL) : nullptr;
    loaded_ = handle_ != nullptr && NSClassFromString(TRVUpdaterClassName) != nil;
  }
  return *loaded_;
}

std::optional<std::string> MacUpdater::start(UpdaterListener& listener) {
  if (!loadFramework()) return std::string("the update framework is not in the app");
  if (updater_) return std::nullopt;
  NSDictionary* info = NSBundle.mainBundle.infoDictionary;
  if (!hasText(info[@"SUFeedURL"])) return std::string("Info.plist names no update feed (SUFeedURL)");
  if (!hasText(info[@"SUPublicEDKey"])) return std::string("Info.plist holds no public key (SUPublicEDKey)");
  if (Protocol* driverProtocol = objc_getProtocol(TRVUserDriverProtocolName)) {
    class_addProtocol(TRVUpdateUserDriver.class, driverProtocol);
  }
  TRVUpdateUserDriver* driver = [[TRVUpdateUserDriver alloc] initWithListener:&listener];
  id<TRVFrameworkUpdater> updater = (id<TRVFrameworkUpdater>)[NSClassFromString(TRVUpdaterClassName) alloc];
  updater = [updater initWithHostBundle:NSBundle.mainBundle
                      applicationBundle:NSBundle.mainBundle
                             userDriver:driver
                               delegate:nil];
  NSError* error = nil;
  if (!updater || ![updater startUpdater:&error]) {
    [driver detach];
    return error.localizedDescription ? stdString(error.localizedDescription) : std::string("the updater did not start");
  }
  updater.automaticallyChecksForUpdates = NO;
  updater.automaticallyDownloadsUpdates = NO;
  updater_ = updater;
  driver_ = driver;
  return std::nullopt;
}

void MacUpdater::stop() {
  [driver_ detach];
  driver_ = nil;
  updater_ = nil;
}

void MacUpdater::check(UpdateCheckKind kind) {
  switch (kind) {
    case UpdateCheckKind::user: [updater_ checkForUpdates]; return;
    case UpdateCheckKind::background: [updater_ checkForUpdatesInBackground]; return;
  }
}

void MacUpdater::answer(UpdateChoice choice) {
  switch (choice) {
    case UpdateChoice::install: [driver_ answer:TRVUpdateChoiceInstall]; return;
    case UpdateChoice::later: [driver_ answer:TRVUpdateChoiceDismiss]; return;
    case UpdateChoice::skip: [driver_ answer:TRVUpdateChoiceSkip]; return;
  }
}

void MacUpdater::cancel() { [driver_ cancel]; }

void MacUpdater::acknowledge() { [driver_ acknowledge]; }

std::string MacUpdater::installedVersion() const {
  id version = NSBundle.mainBundle.infoDictionary[@"CFBundleVersion"];
  return hasText(version) ? stdString(version) : std::string();
}

}  // namespace tarvolo::platform::mac
