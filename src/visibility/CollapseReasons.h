#pragma once

#include <string_view>

namespace tarvolo {

// Why a collapse was asked for. Guards and traces name it by its raw value.
enum class CollapseReason {
  startup,             // "startup": the first collapse after launch, and its retries
  explicitToggle,      // "explicit": the toggle or the hidden separator
  menu,                // "menu": the context menu, or a notice's collapse action
  appIntent,           // "app-intent": the Shortcuts action
  hotkey,              // "hotkey"
  cliffRetry,          // "cliff-retry": a new search campaign after the previous one gave up
  iconShelfDiscovery,  // "icon-shelf-discovery": the shelf has read the hidden items
  shelfTimeout,        // "shelf-timeout": the auto-collapse delay ran out
  nativeFallback,      // "native-fallback": the system's engine failed; the own separators take over
  iconShelfMenu,       // "icon-shelf-menu": a menu the shelf opened has closed
  placementGuide,      // "placement-guide": the guide is over and hides what it showed
  displayRule,         // "display-rule": the bar left a display whose icons stay shown
};

std::string_view rawValue(CollapseReason reason);

namespace MenuBarVisibilityPolicy {
// Collapse reasons the user asked for; automatic ones do not reopen repair or reset notices.
bool collapseAttemptReopensRepair(CollapseReason reason);
bool collapseResetsMenusNotice(CollapseReason reason);
}  // namespace MenuBarVisibilityPolicy

// Why the bar stays expanded rather than hide with a length that does not work.
enum class StayExpandedReason {
  order,               // "order": the own items stand in the wrong order
  ejected,             // "ejected": the system ejects every length left to try
  settledAtFloor,      // "settled-at-floor": the search found no length that hides anything
  baselineNoWindow,    // "baseline-no-window": the search could not read the short separator
  baselineSharedHost,  // "baseline-shared-host"
  baselineUnread,      // "baseline-unread"
  probeNoWindow,       // "probe-no-window": nor one of its probes
  probeSharedHost,     // "probe-shared-host"
  probeUnread,         // "probe-unread"
};

std::string_view rawValue(StayExpandedReason reason);

// Why a reading of the separator cannot be judged.
enum class SeparatorReadFailure {
  noWindow,    // "no-window": neither the button nor the window has a frame
  sharedHost,  // "shared-host": the window also holds other items
  unread,      // "unread": the frame still shows an earlier length
};

std::string_view rawValue(SeparatorReadFailure failure);

// Why a cliff search gives up when its baseline, or one of its probes, stays unreadable.
StayExpandedReason baselineUnreadable(SeparatorReadFailure failure);
StayExpandedReason probeUnreadable(SeparatorReadFailure failure);

}  // namespace tarvolo
