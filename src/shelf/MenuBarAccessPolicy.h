#pragma once

// How the Icon Shelf keeps, selects and re-finds its rows. Pure.

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarvolo::MenuBarAccessPolicy {

// Waits before successive scans of a discovery run, in seconds.
inline const std::vector<double> discoveryScanDelays = {0.35, 0.9, 1.45};

// Rows of the previous catalogue worth keeping through a refresh that did not see their owner
// at all, as long as the owner still runs. `knownOwners` maps row identifiers to owners.
std::set<std::string> retainedItemIDs(const std::map<std::string, std::string>& knownOwners,
                                      const std::set<std::string>& observedOwners,
                                      const std::set<std::string>& liveOwners);

// From macOS 27 an item the bar keeps out of sight is absent from its owner's Accessibility tree:
// an owner answering with no items may only have them hidden, and a hidden item must be brought
// into view before it can be found and acted on.
bool hiddenItemsLeaveAccessibilityTree(int osMajorVersion);

// The row the arrow keys move to: `delta` steps from `current`, clamped; from nothing (or a row no
// longer listed) the first row going down and the last going up.
std::optional<std::string> nextSelection(const std::optional<std::string>& current, const std::vector<std::string>& ids,
                                         int delta);

struct MatchingInput {
  std::optional<std::string> originalID;
  std::optional<std::string> originalTitle;
  int knownOwnerCount = 0;
  // The owner's current items, in the same order.
  const std::vector<std::optional<std::string>>& identifiers;
  const std::vector<std::string>& titles;
};
// Which of the owner's current items is the row the user chose: by identifier, else by title,
// else the only item of a single-item owner. Absent when no item or more than one qualifies.
std::optional<std::size_t> matchingItemIndex(const MatchingInput& input);

}  // namespace tarvolo::MenuBarAccessPolicy
