#include "statusbar/OrderRepairPolicy.h"

#include <algorithm>
#include <cmath>

namespace tarvolo::MenuBarVisibilityPolicy {

std::optional<PreferredPositionSeeding> seededPreferredPositions(std::optional<double> arrow,
                                                                 std::optional<double> fold,
                                                                 std::optional<double> hidden) {
  if (arrow && fold && hidden && *arrow < *fold && *fold < *hidden) return std::nullopt;
  PreferredPositionSeeding seeding;
  seeding.arrow = arrow.value_or(0);
  seeding.writeArrow = !arrow.has_value();
  seeding.fold = (fold && *fold > seeding.arrow) ? *fold : seeding.arrow + 1;
  seeding.writeFold = !fold.has_value() || *fold != seeding.fold;
  seeding.hidden = (hidden && *hidden > seeding.fold) ? *hidden : seeding.fold + 1;
  seeding.writeHidden = !hidden.has_value() || *hidden != seeding.hidden;
  return seeding;
}

std::optional<bool> anchorProtectsAlwaysVisibleSlot(const AnchorProtectsAlwaysVisibleSlotInput& input) {
  const double toggle = input.toggleMaxX;
  const double normal = input.normalSeparatorMaxX;
  const double hidden = input.alwaysHiddenSeparatorMaxX;
  if (toggle == 0 || normal == 0 || hidden == 0) return std::nullopt;
  // A separator still at a collapse length cannot be judged by where it ends.
  const double widthLimit = std::max(64.0, 4 * input.expandedLength);
  if (input.normalSeparatorWidth > widthLimit || input.alwaysHiddenSeparatorWidth > widthLimit) return std::nullopt;
  if (std::abs(normal - toggle) <= 1 && std::abs(hidden - toggle) <= 1) return std::nullopt;
  return normal < toggle && hidden < toggle;
}

std::optional<std::array<double, 3>> positiveRepairSlots(const OwnItemValues& preferred, const OwnItemValues& screenX) {
  const std::array<std::optional<double>, 3> stored{preferred.toggle, preferred.separator, preferred.alwaysHidden};
  const std::array<std::optional<double>, 3> edges{screenX.toggle, screenX.separator, screenX.alwaysHidden};
  // A stored position counts from the status area's right end: an item with both a positive
  // position and a right edge tells where that end lies.
  std::optional<double> rightEnd;
  for (std::size_t i = 0; i < 3; ++i) {
    if (stored[i] && *stored[i] > 0 && edges[i]) {
      rightEnd = *edges[i] + *stored[i];
      break;
    }
  }
  if (!rightEnd) {
    std::optional<double> rightmost;
    for (const auto& edge : edges) {
      if (edge) rightmost = std::max(rightmost.value_or(*edge), *edge);
    }
    if (rightmost) rightEnd = *rightmost + 1;
  }
  std::array<double, 3> slots{};
  for (std::size_t i = 0; i < 3; ++i) {
    if (stored[i] && *stored[i] > 0) {
      slots[i] = *stored[i];
    } else if (rightEnd && edges[i]) {
      // An item at the very end stands at 0; slots are positive, and the order is forced later.
      slots[i] = std::max(*rightEnd - *edges[i], 1.0);
    } else {
      return std::nullopt;
    }
  }
  return slots;
}

RepairPositions forcedRepairPositions(std::array<double, 3> slots) {
  std::sort(slots.begin(), slots.end());
  RepairPositions positions;
  positions.toggle = slots[0];
  positions.separator = std::max(slots[1], positions.toggle + 1);
  positions.alwaysHidden = std::max(slots[2], positions.separator + 1);
  return positions;
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
