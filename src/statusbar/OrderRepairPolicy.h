#pragma once

// Where the three own items must stand and how to put them back: the preferred positions seeded
// at start-up, the positions an order repair writes, and when their frames show the order. Pure.

#include <array>
#include <optional>

namespace tarvolo::MenuBarVisibilityPolicy {

// ---- Own-item preferred positions -------------------------------------------------------------

// A larger preferred position stands further left; right to left the order must be
// toggle (arrow) < separator (fold) < always-hidden separator (hidden).
struct PreferredPositionSeeding {
  double arrow = 0;
  double fold = 0;
  double hidden = 0;
  bool writeArrow = false;
  bool writeFold = false;
  bool writeHidden = false;
  friend bool operator==(const PreferredPositionSeeding&, const PreferredPositionSeeding&) = default;
};

// Absent when the stored positions are complete and already in order.
std::optional<PreferredPositionSeeding> seededPreferredPositions(std::optional<double> arrow,
                                                                 std::optional<double> fold,
                                                                 std::optional<double> hidden);

// ---- Own-item order repair ---------------------------------------------------------------------

// One value for each own item.
struct OwnItemValues {
  std::optional<double> toggle;
  std::optional<double> separator;
  std::optional<double> alwaysHidden;
  friend bool operator==(const OwnItemValues&, const OwnItemValues&) = default;
};

// Three positive preferred positions, one per item, near where the items stand now: the stored
// positions where they are positive, else derived from the buttons' right edges (`screenX`)
// and the status area's right end those stored positions imply. Absent when nothing can be
// derived. Unordered: `forcedRepairPositions` orders them.
std::optional<std::array<double, 3>> positiveRepairSlots(const OwnItemValues& preferred,
                                                         const OwnItemValues& screenX);

struct RepairPositions {
  double toggle = 0;
  double separator = 0;
  double alwaysHidden = 0;
  friend bool operator==(const RepairPositions&, const RepairPositions&) = default;
};
// The slots sorted ascending and handed out so the order is forced: the toggle takes the
// smallest, each separator stands at least one unit left of the item before it.
RepairPositions forcedRepairPositions(std::array<double, 3> slots);

// ---- Reading the order --------------------------------------------------------------------------

struct AnchorProtectsAlwaysVisibleSlotInput {
  double toggleMaxX = 0;
  double normalSeparatorMaxX = 0;
  double alwaysHiddenSeparatorMaxX = 0;
  double normalSeparatorWidth = 0;
  double alwaysHiddenSeparatorWidth = 0;
  double expandedLength = 0;
};
// Absent when the frames cannot tell (unread, still collapsed, or stacked on the toggle).
std::optional<bool> anchorProtectsAlwaysVisibleSlot(const AnchorProtectsAlwaysVisibleSlotInput& input);

}  // namespace tarvolo::MenuBarVisibilityPolicy
