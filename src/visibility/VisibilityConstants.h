#pragma once

// Every threshold of the collapse-length engine, in points unless named in seconds.

namespace tarvolo::MenuBarVisibilityPolicy {

inline constexpr double collapseSearchLowerBound = 32;
inline constexpr double collapseSearchPrecision = 8;
inline constexpr double collapseLengthSafetyMargin = 8;
inline constexpr double foldCoverSlack = 8;
inline constexpr double screenCliffMenuMargin = 64;
inline constexpr double frontmostSettleDelay = 1;  // seconds
inline constexpr double menuEvictionLeftMin = 20;
inline constexpr double menuEvictionLeftMax = 45;
inline constexpr double menuEvictionToggleSlack = 8;
inline constexpr double menuEvictionStep = 16;
// How far an edge may wander between two readings and still count as pinned.
inline constexpr double collapsePinTolerance = 4;
inline constexpr int menuEvictionStepLimit = 6;
inline constexpr double collapseVerifyDelay = 0.4;                  // seconds
inline constexpr double collapseRetryCooldown = 600;                // seconds
inline constexpr double collapseStayExpandedNoticeInterval = 60;    // seconds
inline constexpr double placementIdleDelay = 60;                    // seconds
inline constexpr double recentPointerDeferral = 3;                  // seconds
inline constexpr double shelfDelayAfterDragFloor = 5;               // seconds
inline constexpr double shortDividerWidthLimit = 40;
inline constexpr double shelfHiddenSafetyMargin = 24;
inline constexpr double userCollapseRepairInterval = 600;           // seconds
inline constexpr double userOwnOrderRepairMinimumInterval = 3;      // seconds
inline constexpr int userOwnOrderRepairFailureLimit = 2;
inline constexpr double nativeFallbackPreferredPosition = 0;

// Auto-collapse: the delay the user sets is kept within these bounds; while the policy says wait,
// the timer looks again after the re-check interval.
inline constexpr double autoCollapseDefaultDelay = 8;     // seconds
inline constexpr double autoCollapseMinimumDelay = 1;     // seconds
inline constexpr double autoCollapseMaximumDelay = 30;    // seconds
inline constexpr double autoCollapseRecheckInterval = 1;  // seconds
// Reveal on hover: how long the pointer rests on the empty side of the bar, and how far it may
// drift meanwhile.
inline constexpr double hoverRevealRestDelay = 0.4;  // seconds
inline constexpr double hoverRevealDriftTolerance = 6;

// The length the separators take while their zone is shown.
inline constexpr double defaultExpandedSeparatorLength = 16;

}  // namespace tarvolo::MenuBarVisibilityPolicy
