// Tarvolo.app's entry point: the shared NSApplication, the Mac backend and the core's
// application delegate, joined by a small NSApplicationDelegate that forwards to it.
//
// OS quirks handled here:
// - NSApplication holds its delegate weakly, so the forwarding object lives in main's frame.
// - A URL that launches the app arrives through -application:openURLs: before or after
//   applicationDidFinishLaunching:; the core keeps early ones until it has started.
// - AppleScript commands are NSScriptCommand subclasses named by the sdef's "cocoa class"; they
//   reach the core through the one delegate of the process.
// - The main menu (the standard Edit and Window commands with the app's own) is installed by
//   the core at launch through MacApplication::setMainMenu; no window exists before that.
// - -[NSApplication terminate:] ends the process with exit() after applicationWillTerminate:,
//   so [NSApp run] never returns and the objects below are never destroyed; the core's
//   shutdown work belongs in applicationWillTerminate.

#import <AppKit/AppKit.h>

#include <memory>
#include <string>
#include <vector>

#include "app/AppDelegate.h"
#include "platform/macos/MacPlatform.h"

namespace {
constexpr NSInteger kEventNotHandled = -1708;  // errAEEventNotHandled

// The core's delegate, for the script commands the scripting system creates by class name.
tarvolo::platform::ApplicationDelegate* gCoreDelegate = nullptr;

void performScriptCommand(NSScriptCommand* command, const char* name) {
  if (!gCoreDelegate || !gCoreDelegate->applicationPerformScriptCommand(name)) {
    command.scriptErrorNumber = kEventNotHandled;
  }
}
}  // namespace

// "show all icons" in Tarvolo.sdef.
@interface TRVShowAllIconsCommand : NSScriptCommand
@end

@implementation TRVShowAllIconsCommand
- (id)performDefaultImplementation {
  performScriptCommand(self, "show all icons");
  return nil;
}
@end

// "collapse all" in Tarvolo.sdef.
@interface TRVCollapseAllCommand : NSScriptCommand
@end

@implementation TRVCollapseAllCommand
- (id)performDefaultImplementation {
  performScriptCommand(self, "collapse all");
  return nil;
}
@end

@interface TRVApplicationDelegate : NSObject <NSApplicationDelegate>
- (instancetype)initWithDelegate:(tarvolo::platform::ApplicationDelegate*)delegate;
@end

@implementation TRVApplicationDelegate {
  tarvolo::platform::ApplicationDelegate* _delegate;
}

- (instancetype)initWithDelegate:(tarvolo::platform::ApplicationDelegate*)delegate {
  if ((self = [super init])) _delegate = delegate;
  return self;
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  (void)notification;
  _delegate->applicationDidFinishLaunching();
}

- (BOOL)applicationShouldHandleReopen:(NSApplication*)sender hasVisibleWindows:(BOOL)hasVisibleWindows {
  (void)sender;
  return _delegate->applicationShouldHandleReopen(hasVisibleWindows == YES) ? YES : NO;
}

// Tarvolo restores no windows, but without this answer AppKit warns and keeps restoration
// insecure on macOS 14.
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)application {
  (void)application;
  return YES;
}

- (void)applicationWillTerminate:(NSNotification*)notification {
  (void)notification;
  _delegate->applicationWillTerminate();
}

- (void)application:(NSApplication*)application openURLs:(NSArray<NSURL*>*)urls {
  (void)application;
  std::vector<std::string> texts;
  for (NSURL* url in urls) {
    if (NSString* text = url.absoluteString) texts.emplace_back(text.UTF8String);
  }
  _delegate->applicationOpenURLs(texts);
}

@end

int main(int argc, const char* argv[]) {
  (void)argc;
  (void)argv;
  @autoreleasepool {
    NSApplication* application = [NSApplication sharedApplication];
    auto platform = std::make_unique<tarvolo::platform::MacPlatform>();
    auto delegate = std::make_unique<tarvolo::AppDelegate>(*platform);
    gCoreDelegate = delegate.get();
    TRVApplicationDelegate* forwarder = [[TRVApplicationDelegate alloc] initWithDelegate:delegate.get()];
    application.delegate = forwarder;
    [application run];
  }
  return 0;
}
