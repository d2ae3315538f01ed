#pragma once

// When a newly started application gets its one notice that its icon may have landed in a
// hidden zone, and the order in which notices show. Pure: time comes in as an age.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/MenuBarCatalogPolicy.h"

namespace tarvolo {

enum class NewAppLaunchAction { skip, scheduleAccessory, watchRegularForGap };
std::string_view rawValue(NewAppLaunchAction action);

enum class NewAppShowDecision { show, wait, skip };
std::string_view rawValue(NewAppShowDecision decision);

// What a scan found that was never seen before.
struct NewAppNoticePlan {
  // The known list to store: the stored one (or, on a first run, everything found) plus the new.
  std::vector<std::string> known;
  // Found identifiers missing from the stored known list, lower-cased, in found order.
  std::vector<std::string> newBundleIDs;
  // Those of the new ones that may get a notice: none while notices are off, and none on a
  // first run, when everything running is the starting point rather than news.
  std::vector<std::string> noticeBundleIDs;
  bool firstRun = false;
  friend bool operator==(const NewAppNoticePlan&, const NewAppNoticePlan&) = default;
};

// The notice on screen and those waiting, lower-cased.
struct NewAppNoticeQueue {
  std::optional<std::string> showing;
  std::vector<std::string> pending;

  // The identifier to present now, or none (empty, already showing or queued behind another).
  std::optional<std::string> enqueue(std::string_view bundleID);
  // The current notice is gone: the next one to present, or none.
  std::optional<std::string> finishCurrent();
  friend bool operator==(const NewAppNoticeQueue&, const NewAppNoticeQueue&) = default;
};

}  // namespace tarvolo

namespace tarvolo::NewAppNoticePolicy {

// An accessory app's icon has settled this long after launch.
inline constexpr double accessoryDelay = 3.0;
// A regular app's notice needs a gap change in the bar within this window.
inline constexpr double regularWindow = 10.0;
inline constexpr double recheckDebounce = 3.0;
inline constexpr double minimumRecheck = 0.05;
inline constexpr double maximumRecheck = 0.5;
// The notice panel leaves by itself after this long.
inline constexpr double panelLifetime = 20.0;

struct LaunchInput {
  MenuBarActivationKind kind = MenuBarActivationKind::regular;
  std::optional<std::string> bundlePath;
  bool alreadySeen = false;
  bool noticesEnabled = true;
  std::string homeDirectory;
};
NewAppLaunchAction launchAction(const LaunchInput& input);

// A bundle that stands on its own in /Applications or ~/Applications, not nested in another.
bool isTopLevelApplication(const std::optional<std::string>& bundlePath, std::string_view homeDirectory);

NewAppShowDecision showDecision(MenuBarActivationKind kind, double age, bool gapChanged);

// When to look at a regular app's watch again; none once the window has passed.
std::optional<double> recheckDelay(double age, double debounce, double window);

// Lower-cased, empty ones and repeats dropped, first-seen order kept.
std::vector<std::string> normalizedUnique(const std::vector<std::string>& bundleIDs);

// `storedKnown` absent: the first run.
NewAppNoticePlan plan(const std::vector<std::string>& foundBundleIDs,
                      const std::optional<std::vector<std::string>>& storedKnown, bool noticesEnabled);

}  // namespace tarvolo::NewAppNoticePolicy
