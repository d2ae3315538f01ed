#pragma once

#include "base/MainThreadChecker.h"
#include "base/NotificationCenter.h"
#include "base/Published.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "platform/Platform.h"

namespace tarvolo {

// Whether Tarvolo may use the Accessibility interface, and the one way the app asks for it. The
// system never says when the user changes the permission, so the answer is read again each time
// the app becomes active (the user comes back from System Settings); whoever reads foreign items
// observes `isTrusted` instead of asking the platform. Main thread only.
class AccessibilityPermission {
 public:
  static constexpr const char* settingsURL =
      "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

  struct Dependencies {
    platform::Platform& platform;
    // Where the app hears that it became active.
    NotificationCenter& defaultCenter;
  };

  explicit AccessibilityPermission(Dependencies dependencies);
  AccessibilityPermission(const AccessibilityPermission&) = delete;
  AccessibilityPermission& operator=(const AccessibilityPermission&) = delete;

  Published<bool> isTrusted{false};

  // In answer to a user's click (the coach, the Icon Shelf, Preferences): the first request of a
  // run shows the system's prompt, which lists Tarvolo in System Settings; later ones, the prompt
  // having been seen, open the settings page itself. Nothing happens once trusted.
  void requestAccess();
  void recheck();

  int promptsShown() const { return promptsShown_; }

 private:
  platform::Platform& platform_;
  MainThreadChecker mainThread_;
  int promptsShown_ = 0;
  Subscription becameActive_;
  WeakHandleFactory<AccessibilityPermission> weakFactory_{this};
};

}  // namespace tarvolo
