#pragma once

// The few parts of the update framework Tarvolo uses, declared here so that the app compiles and
// links without it: the framework is looked up at run time (MacUpdater.mm). The selectors are
// the framework's own; the names of the protocols are ours, since the classes are reached only
// through NSClassFromString. Objective-C++; include from .mm files only.

#import <Foundation/Foundation.h>

// The framework's classes, by name.
inline NSString* const TRVUpdaterClassName = @"SPUUpdater";
inline NSString* const TRVPermissionResponseClassName = @"SUUpdatePermissionResponse";
// The protocol its updater expects of a user driver; our driver adopts it at run time.
inline const char* const TRVUserDriverProtocolName = "SPUUserDriver";
// Its errors' domain.
inline NSString* const TRVUpdateErrorDomain = @"SUSparkleErrorDomain";

// The user's answer to an update found or ready, as the framework numbers it.
typedef NS_ENUM(NSInteger, TRVUpdateChoice) {
  TRVUpdateChoiceSkip = 0,
  TRVUpdateChoiceInstall = 1,
  TRVUpdateChoiceDismiss = 2,
};

// The framework's error codes that the window words itself; others keep the framework's words.
typedef NS_ENUM(NSInteger, TRVUpdateErrorCode) {
  TRVUpdateErrorAppcastParse = 1000,
  TRVUpdateErrorNoUpdate = 1001,
  TRVUpdateErrorAppcast = 1002,
  TRVUpdateErrorDownload = 2001,
  TRVUpdateErrorUnarchiving = 3000,
  TRVUpdateErrorSignature = 3001,
  TRVUpdateErrorValidation = 3002,
  TRVUpdateErrorFileCopy = 4000,
  TRVUpdateErrorInstallationWriteNoPermission = 4012,
};

// The updater object.
@protocol TRVFrameworkUpdater <NSObject>
- (instancetype)initWithHostBundle:(NSBundle*)hostBundle
                 applicationBundle:(NSBundle*)applicationBundle
                        userDriver:(id)userDriver
                          delegate:(id)delegate;
- (BOOL)startUpdater:(NSError* __autoreleasing*)error;
- (void)checkForUpdates;
- (void)checkForUpdatesInBackground;
@property(nonatomic) BOOL automaticallyChecksForUpdates;
@property(nonatomic) BOOL automaticallyDownloadsUpdates;
@end

// One release of the feed.
@protocol TRVFrameworkAppcastItem <NSObject>
@property(nonatomic, copy, readonly) NSString* versionString;
@property(nonatomic, copy, readonly) NSString* displayVersionString;
@property(nonatomic, readonly) uint64_t contentLength;
@property(nonatomic, copy, readonly) NSString* itemDescription;
@end

// Release notes the feed links to, once downloaded.
@protocol TRVFrameworkDownloadData <NSObject>
@property(nonatomic, readonly) NSData* data;
@property(nonatomic, readonly, copy) NSString* textEncodingName;
@end

// Whether the framework may check by itself; Tarvolo keeps its own schedule and says no.
@protocol TRVFrameworkPermissionResponse <NSObject>
- (instancetype)initWithAutomaticUpdateChecks:(BOOL)automaticUpdateChecks sendSystemProfile:(BOOL)sendSystemProfile;
@end
