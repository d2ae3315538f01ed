#include "platform/sim/SimLayoutRules.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

namespace {

constexpr int firstSystemWithOverflowChevron = 27;
constexpr double profileEjectionLength = 5000;
constexpr double profileChevronWidth = 44;
constexpr double appleMenuWidth = 36;
constexpr double shortestTitle = 20;
constexpr double longestTitle = 45;

// FNV-1a: the same titles for the same app on every run and every machine.
std::uint64_t stableHash(const std::string& text, std::uint64_t salt) {
  std::uint64_t hash = 1469598103934665603ull ^ salt;
  for (unsigned char c : text) {
    hash ^= c;
    hash *= 1099511628211ull;
  }
  return hash;
}

bool systemDropsHalfWidthItems(const SimSettings& settings) {
  return settings.dropsHalfWidthItems.value_or(settings.osMajor >= firstSystemWithOverflowChevron);
}

}  // namespace

std::vector<double> menuTitleWidths(const std::string& bundleId, double menusWidth) {
  std::vector<double> widths;
  if (menusWidth <= 0) return widths;
  widths.push_back(std::min(appleMenuWidth, menusWidth));
  double remaining = menusWidth - widths.front();
  std::uint64_t salt = 0;
  while (remaining > 0) {
    double width = shortestTitle + static_cast<double>(stableHash(bundleId, salt++) % 26);
    // The last title takes what is left, split so that no title falls outside 20-45.
    if (remaining <= longestTitle) {
      width = remaining;
    } else if (remaining - width < shortestTitle) {
      width = remaining - shortestTitle;
      if (width > longestTitle) width = remaining / 2;
    }
    widths.push_back(width);
    remaining -= width;
  }
  return widths;
}

std::vector<double> menuTitleWidths(const SimAppSetup& app) {
  if (!app.menuTitleWidths.empty()) return app.menuTitleWidths;
  return menuTitleWidths(app.bundleId, app.menusWidth);
}

double menusRightFor(const Rect& screen, const std::optional<Rect>& notch, double width) {
  double edge = screen.x + width;
  // Menus that reach the notch continue right of it.
  if (notch && edge > notch->minX()) edge = notch->maxX() + (edge - notch->minX());
  return edge;
}

std::optional<double> ejectionLength(const SimSettings& settings) {
  if (settings.ejectionLength) return settings.ejectionLength;
  if (settings.osMajor >= firstSystemWithOverflowChevron) return std::nullopt;
  return profileEjectionLength;
}

std::optional<double> dropLength(const SimSettings& settings, double screenWidth) {
  if (!systemDropsHalfWidthItems(settings)) return std::nullopt;
  return screenWidth / 2 - settings.halfWidthDropMargin;
}

double overflowChevronWidth(const SimSettings& settings) {
  if (settings.overflowChevronWidth) return *settings.overflowChevronWidth;
  return settings.osMajor >= firstSystemWithOverflowChevron ? profileChevronWidth : 0;
}

namespace {

struct Pass {
  StatusLayoutResult result;
  bool anyDisplaced = false;
};

Pass layoutPass(const StatusLayoutInput& in, const SimSettings& settings, double chevron) {
  Pass pass;
  StatusLayoutResult& out = pass.result;
  out.items.resize(in.items.size());
  const double allTitles = std::accumulate(in.titleWidths.begin(), in.titleWidths.end(), 0.0);
  auto visibleMinFor = [&](double menusWidth) {
    double minX = std::max(in.screen.x, menusRightFor(in.screen, in.notch, menusWidth));
    if (in.notch) minX = std::max(minX, in.notch->maxX());
    return minX;
  };
  double droppedWidth = 0;
  int dropped = 0;
  double visibleMinX = visibleMinFor(allTitles) + chevron;
  const auto rejectAbove = [&]() -> std::optional<double> {
    auto eject = ejectionLength(settings);
    auto drop = dropLength(settings, in.screen.width);
    if (eject && drop) return std::min(*eject, *drop);
    return eject ? eject : drop;
  }();

  const bool clampsOrigin = settings.osMajor >= firstSystemWithOverflowChevron;
  double cursor = in.regionMaxX;
  bool displacing = false;
  for (std::size_t i = 0; i < in.items.size(); ++i) {
    const StatusLayoutItem& item = in.items[i];
    PlacedStatusItem& placed = out.items[i];
    const double width = item.width;
    Rect frame{cursor - width, in.barY, width, in.barHeight};
    auto park = [&] {
      placed.frame = frame;
      placed.reported = Rect{visibleMinX - width, in.barY, width, in.barHeight};
      placed.displaced = true;
      pass.anyDisplaced = true;
      cursor = frame.minX();
    };
    auto reject = [&] {
      // Waits where new items wait; from macOS 27 the origin never reads left of the screen.
      placed.frame = Rect{in.screen.x, in.barY, width, in.barHeight};
      placed.reported = placed.frame;
      placed.rejected = true;
    };
    if (rejectAbove && width > *rejectAbove) {
      reject();
      continue;
    }
    if (width <= 0) {
      // An item of no length takes no room and is not drawn; it displaces nothing.
      placed.frame = Rect{cursor, in.barY, 0, in.barHeight};
      placed.reported = placed.frame;
      continue;
    }
    if (displacing) {
      park();
      continue;
    }
    const double content = std::min(width, item.contentWidth);
    if (!(width > 0 && frame.maxX() - content >= visibleMinX - 1e-9)) {
      displacing = true;
      park();
      continue;
    }
    const double menusRight = menusRightFor(in.screen, in.notch, allTitles - droppedWidth);
    const bool intrudes = settings.dropsMenuTitles && width >= settings.menuIntrusionMinLength &&
                          frame.minX() > in.screen.x && frame.minX() < menusRight && frame.maxX() > menusRight;
    if (intrudes) {
      double need = menusRight - frame.minX();
      double freed = 0;
      int titles = 0;
      // Right to left, never the Apple menu.
      for (std::size_t t = in.titleWidths.size() - dropped; t > 1 && need > 1e-9; --t) {
        need -= in.titleWidths[t - 1];
        freed += in.titleWidths[t - 1];
        ++titles;
      }
      if (need > 1e-9) {
        reject();
        continue;
      }
      dropped += titles;
      droppedWidth += freed;
      frame.x -= freed;
    }
    placed.onScreen = true;
    placed.frame = frame;
    cursor = frame.minX();
    if (clampsOrigin && frame.minX() < in.screen.x) {
      const double maxX = frame.maxX();
      frame.x = in.screen.x;
      frame.width = maxX - frame.x;
    }
    placed.reported = frame;
  }
  out.titlesDropped = dropped;
  out.droppedTitlesWidth = droppedWidth;
  out.menusRight = menusRightFor(in.screen, in.notch, allTitles - droppedWidth);
  out.visibleMinX = visibleMinX;
  return pass;
}

}  // namespace

StatusLayoutResult layoutStatusItems(const StatusLayoutInput& in, const SimSettings& settings) {
  Pass pass = layoutPass(in, settings, 0);
  const double chevron = overflowChevronWidth(settings);
  if (!pass.anyDisplaced || chevron <= 0) return pass.result;
  // The chevron takes room at the left end, which may displace one more item.
  Pass withChevron = layoutPass(in, settings, chevron);
  withChevron.result.chevronShown = true;
  return withChevron.result;
}

}  // namespace tarvolo::sim
