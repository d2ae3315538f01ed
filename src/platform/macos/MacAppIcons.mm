// Other applications' icons for the rows of the Icon Shelf and the settings window.
//
// OS quirks handled here:
// - NSRunningApplication.icon needs no permission and reads nothing off the screen, so it is the
//   only source used; an application that does not run is drawn from its bundle's icon file.
// - Bundle identifiers are compared ignoring case by the system; the cache files them by the
//   core's lower-cased key, while the lookup hands the system the spelling it reported.
// - The termination notice arrives on the workspace's own notification center, not the default
//   one, and names the application in its user info.

#include "base/vocabulary/BundleID.h"
#include "platform/macos/MacWindows.h"

namespace tarvolo::platform::mac {

MacAppIcons::MacAppIcons() : icons_([NSMutableDictionary dictionary]) {
  // The block holds the dictionary, not this object, so a notice after teardown touches nothing gone.
  NSMutableDictionary<NSString*, NSImage*>* icons = icons_;
  terminationToken_ = [NSWorkspace.sharedWorkspace.notificationCenter
      addObserverForName:NSWorkspaceDidTerminateApplicationNotification
                  object:nil
                   queue:NSOperationQueue.mainQueue
              usingBlock:^(NSNotification* note) {
                NSRunningApplication* app = note.userInfo[NSWorkspaceApplicationKey];
                if (!app.bundleIdentifier) return;
                [icons removeObjectForKey:nsString(BundleID(stdString(app.bundleIdentifier)).key())];
              }];
}

MacAppIcons::~MacAppIcons() {
  [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:terminationToken_];
}

NSImage* MacAppIcons::image(const RowIcon& icon, const std::optional<std::string>& bundlePath) {
  if (icon.symbol) {
    if (NSImage* symbol = [NSImage imageWithSystemSymbolName:nsString(*icon.symbol) accessibilityDescription:nil]) {
      return symbol;
    }
  }
  if (icon.application) {
    NSString* key = nsString(icon.application->key());
    if (NSImage* kept = icons_[key]) return kept;
    NSArray<NSRunningApplication*>* running =
        [NSRunningApplication runningApplicationsWithBundleIdentifier:nsString(icon.application->spelling())];
    for (NSRunningApplication* app in running) {
      if (app.terminated || !app.icon) continue;
      icons_[key] = app.icon;
      return app.icon;
    }
  }
  if (bundlePath) return [NSWorkspace.sharedWorkspace iconForFile:nsString(*bundlePath)];
  return nil;
}

std::size_t MacAppIcons::cachedCount() const { return icons_.count; }

}  // namespace tarvolo::platform::mac
