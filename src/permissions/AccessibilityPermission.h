#pragma once

#include <set>
#include <string>
#include <string_view>

#include "base/MainThreadChecker.h"
#include "base/NotificationCenter.h"
#include "base/Published.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"

namespace tarvolo {

// Whether Tarvolo may use the Accessibility interface, and the one way the app asks for it. The
// system never says when the user changes the permission, so the answer is read again each time
// the app becomes active (the user comes back from System Settings), and every few seconds while
// one of its windows asks for it: an accessory app whose panels do not activate it may never
// become active. Whoever reads foreign items observes `isTrusted` instead of asking the
// platform. Main thread only.
class AccessibilityPermission {
 public:
  static constexpr const char* settingsURL =
      "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
  // Reading the answer is a cheap local call; the user needs seconds to switch it anyway.
  static constexpr double askingPollInterval = 2.0;

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
  // Whether the window named `window` shows the request for the permission now; while any
  // does and the permission is missing, it is read again every `askingPollInterval`.
  void setAsking(std::string_view window, bool asking);

  int promptsShown() const { return promptsShown_; }

 private:
  platform::Platform& platform_;
  MainThreadChecker mainThread_;
  void poll();

  int promptsShown_ = 0;
  std::set<std::string, std::less<>> askers_;
  WorkItem poll_;
  Subscription becameActive_;
  WeakHandleFactory<AccessibilityPermission> weakFactory_{this};
};

}  // namespace tarvolo
