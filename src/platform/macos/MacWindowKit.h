#pragma once

// Small AppKit building blocks shared by the windows drawn from the core's view states:
// labels, stacks and buttons wired to C++ closures. Objective-C++; include from .mm files only.

#import <AppKit/AppKit.h>

#include <functional>
#include <optional>
#include <string>

#include "platform/macos/MacBackend.h"

namespace tarvolo::platform::mac::kit {

// Asks for the app to come forward: cooperatively from macOS 14, where
// -activateIgnoringOtherApps: is deprecated.
void activateApplication();
// A secondary-coloured, wrapping label in the small system font.
NSTextField* detailLabel(const std::string& text, CGFloat width);
// A label in the system font of `size` and `weight`.
NSTextField* label(const std::string& text, CGFloat size, NSFontWeight weight);
NSStackView* column(NSArray<NSView*>* views, CGFloat spacing);
NSStackView* row(NSArray<NSView*>* views, CGFloat spacing);
// A push button whose click runs `action`; `targets` keeps the closure's target alive.
NSButton* button(const std::string& title, std::function<void()> action, NSMutableArray* targets);
NSButton* checkbox(const std::string& title, bool on, std::function<void(bool)> action, NSMutableArray* targets);
// A floating utility panel that does not take focus from the frontmost app and stays up when
// Tarvolo deactivates; `behavior` says on which spaces it shows.
NSPanel* utilityPanel(NSSize size, NSWindowCollectionBehavior behavior);
// The screen holding `point`, else the first screen.
NSScreen* screenContaining(NSPoint point);
// The application icon of a bundle, or nil without a path.
NSImageView* bundleIcon(const std::optional<std::string>& path, CGFloat size);

}  // namespace tarvolo::platform::mac::kit
