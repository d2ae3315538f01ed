#include "ui/SystemNoticePolicy.h"

#include <algorithm>
#include <cmath>

namespace tarvolo::SystemNoticePolicy {

namespace {

// Right edges a reading rounds differently are still the same edge.
constexpr double kEdgeTolerance = 1;

bool overlapsInX(const ForeignMenuBarWindow& window, const Rect& own) {
  return std::min(window.maxX, own.maxX()) - std::max(window.minX, own.minX()) > kEdgeTolerance;
}

bool sameItem(const ForeignMenuBarWindow& a, const ForeignMenuBarWindow& b) {
  return std::abs(a.maxX - b.maxX) <= kEdgeTolerance;
}

// Every item right of `window` stands where it stood, as long as it was.
bool stillRightOf(const ForeignMenuBarWindow& window, const BarReading& previous, const BarReading& now) {
  return std::all_of(now.windows.begin(), now.windows.end(), [&](const ForeignMenuBarWindow& other) {
    if (other.minX < window.maxX - kEdgeTolerance) return true;
    return std::any_of(previous.windows.begin(), previous.windows.end(), [&](const ForeignMenuBarWindow& before) {
      return sameItem(before, other) && std::abs(before.width - other.width) <= kEdgeTolerance;
    });
  });
}

}  // namespace

Placement placement(const std::optional<Rect>& frame, std::span<const Rect> screens) {
  if (!frame) return Placement::unknown;
  const double x = frame->midX();
  const double y = frame->y + frame->height / 2;
  const bool inside = std::any_of(screens.begin(), screens.end(), [&](const Rect& screen) {
    return x >= screen.minX() && x <= screen.maxX() && y >= screen.minY() && y <= screen.maxY();
  });
  return inside ? Placement::onScreen : Placement::offEveryScreen;
}

std::vector<ForeignMenuBarWindow> withoutOwnItems(std::span<const ForeignMenuBarWindow> windows,
                                                  std::span<const Rect> own) {
  std::vector<ForeignMenuBarWindow> out;
  for (const ForeignMenuBarWindow& window : windows) {
    const bool isOwn = std::any_of(own.begin(), own.end(), [&](const Rect& item) { return overlapsInX(window, item); });
    if (!isOwn) out.push_back(window);
  }
  return out;
}

std::string_view rawValue(HiderSign sign) {
  switch (sign) {
    case HiderSign::longItem: return "longItem";
    case HiderSign::lengthJump: return "lengthJump";
  }
  return "longItem";
}

std::optional<HiderSign> anotherHider(const std::optional<BarReading>& previous, const BarReading& now) {
  const bool anyLong = std::any_of(now.windows.begin(), now.windows.end(),
                                   [](const ForeignMenuBarWindow& window) { return window.width >= longestIconLength; });
  if (anyLong) return HiderSign::longItem;
  if (!previous || previous->windows.size() != now.windows.size()) return std::nullopt;
  for (const ForeignMenuBarWindow& window : now.windows) {
    const bool jumped = std::any_of(previous->windows.begin(), previous->windows.end(), [&](const auto& before) {
      return sameItem(before, window) && std::abs(before.width - window.width) >= lengthJump;
    });
    if (jumped && stillRightOf(window, *previous, now)) return HiderSign::lengthJump;
  }
  return std::nullopt;
}

}  // namespace tarvolo::SystemNoticePolicy
