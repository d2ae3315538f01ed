#include "visibility/CollapseReasons.h"

namespace tarvolo {

std::string_view rawValue(CollapseReason reason) {
  switch (reason) {
    case CollapseReason::startup: return "startup";
    case CollapseReason::explicitToggle: return "explicit";
    case CollapseReason::menu: return "menu";
    case CollapseReason::appIntent: return "app-intent";
    case CollapseReason::hotkey: return "hotkey";
    case CollapseReason::cliffRetry: return "cliff-retry";
    case CollapseReason::iconShelfDiscovery: return "icon-shelf-discovery";
    case CollapseReason::shelfTimeout: return "shelf-timeout";
    case CollapseReason::nativeFallback: return "native-fallback";
    case CollapseReason::iconShelfMenu: return "icon-shelf-menu";
    case CollapseReason::placementGuide: return "placement-guide";
    case CollapseReason::displayRule: return "display-rule";
  }
  return "unknown";
}

namespace MenuBarVisibilityPolicy {

bool collapseAttemptReopensRepair(CollapseReason reason) {
  switch (reason) {
    case CollapseReason::explicitToggle:
    case CollapseReason::menu:
    case CollapseReason::appIntent:
    case CollapseReason::hotkey:
      return true;
    case CollapseReason::startup:
    case CollapseReason::cliffRetry:
    case CollapseReason::iconShelfDiscovery:
    case CollapseReason::shelfTimeout:
    case CollapseReason::nativeFallback:
    case CollapseReason::iconShelfMenu:
    case CollapseReason::placementGuide:
    case CollapseReason::displayRule:
      return false;
  }
  return false;
}

bool collapseResetsMenusNotice(CollapseReason reason) {
  return reason == CollapseReason::startup || collapseAttemptReopensRepair(reason);
}

}  // namespace MenuBarVisibilityPolicy

std::string_view rawValue(StayExpandedReason reason) {
  switch (reason) {
    case StayExpandedReason::order: return "order";
    case StayExpandedReason::ejected: return "ejected";
    case StayExpandedReason::settledAtFloor: return "settled-at-floor";
    case StayExpandedReason::baselineNoWindow: return "baseline-no-window";
    case StayExpandedReason::baselineSharedHost: return "baseline-shared-host";
    case StayExpandedReason::baselineUnread: return "baseline-unread";
    case StayExpandedReason::probeNoWindow: return "probe-no-window";
    case StayExpandedReason::probeSharedHost: return "probe-shared-host";
    case StayExpandedReason::probeUnread: return "probe-unread";
  }
  return "unknown";
}

std::string_view rawValue(SeparatorReadFailure failure) {
  switch (failure) {
    case SeparatorReadFailure::noWindow: return "no-window";
    case SeparatorReadFailure::sharedHost: return "shared-host";
    case SeparatorReadFailure::unread: return "unread";
  }
  return "unread";
}

StayExpandedReason baselineUnreadable(SeparatorReadFailure failure) {
  switch (failure) {
    case SeparatorReadFailure::noWindow: return StayExpandedReason::baselineNoWindow;
    case SeparatorReadFailure::sharedHost: return StayExpandedReason::baselineSharedHost;
    case SeparatorReadFailure::unread: return StayExpandedReason::baselineUnread;
  }
  return StayExpandedReason::baselineUnread;
}

StayExpandedReason probeUnreadable(SeparatorReadFailure failure) {
  switch (failure) {
    case SeparatorReadFailure::noWindow: return StayExpandedReason::probeNoWindow;
    case SeparatorReadFailure::sharedHost: return StayExpandedReason::probeSharedHost;
    case SeparatorReadFailure::unread: return StayExpandedReason::probeUnread;
  }
  return StayExpandedReason::probeUnread;
}

}  // namespace tarvolo
