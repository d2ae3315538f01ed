#pragma once

// How the simulated system lays out the status items of one menu bar, including its answers to
// a very long item. Modelled on what real Macs do:
//
// - Items stand right to left from the system items; an item shows when its drawn content (the
//   right end of its frame) lies in the visible stretch right of the app menus and the notch.
//   The first item that does not fit, and every item left of it, is displaced: not drawn, its
//   window reported parked at the left end of the visible stretch (from macOS 27 the system's
//   overflow chevron sits there and takes its own width).
// - Before macOS 27 an item longer than the ejection length (about 5000) is ejected; from
//   macOS 27 an item reaching about half the display's width is dropped. Either way it leaves
//   the bar and pushes nothing; its window waits at the screen's left edge, where new items
//   wait, so from macOS 27 its reported origin reads as a laid-out item's that reaches past the
//   left edge would.
// - Undocumented, so a modelled choice: a long item whose far edge would come to rest among the
//   frontmost app's menu titles makes the system drop titles from the right, one at a time,
//   until the far edge clears them. The room the dropped titles free opens on the item's right:
//   the item and everything left of it stand that much further left. When dropping every
//   droppable title is not enough, the item is ejected instead. A far edge past the screen's
//   left edge covers the menus whole and disturbs nothing.

#include <optional>
#include <string>
#include <vector>

#include "base/Geometry.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {


// Widths of an app's menu titles, left to right, the Apple menu first. Explicit widths win;
// otherwise titles of 20-45 points, chosen deterministically from the bundle id, fill the app's
// menus width.
std::vector<double> menuTitleWidths(const SimAppSetup& app);
std::vector<double> menuTitleWidths(const std::string& bundleId, double menusWidth);

// The right end of menus `width` wide on a screen, continuing right of a notch they reach.
double menusRightFor(const Rect& screen, const std::optional<Rect>& notch, double width);

// The OS profile's answers, with the settings' overrides applied.
std::optional<double> ejectionLength(const SimSettings& settings);
// Items longer than this are dropped (macOS 27 and later), on a display `screenWidth` wide.
std::optional<double> dropLength(const SimSettings& settings, double screenWidth);
double overflowChevronWidth(const SimSettings& settings);

struct StatusLayoutItem {
  double width = 0;         // the length it takes
  double contentWidth = 0;  // what it draws, right-aligned in its frame
};

struct StatusLayoutInput {
  Rect screen;  // the screen holding the bar
  double barY = 0;
  double barHeight = 0;
  std::optional<Rect> notch;
  double regionMaxX = 0;             // left end of the system items
  std::vector<double> titleWidths;   // the frontmost app's menu titles, Apple menu first
  std::vector<StatusLayoutItem> items;  // right to left
};

struct PlacedStatusItem {
  Rect frame;     // where the layout puts it (continuing left of the screen when pushed away)
  Rect reported;  // where the window server says its window is
  bool onScreen = false;
  bool displaced = false;  // no room: parked, not drawn
  bool rejected = false;   // ejected or dropped by the system
};

struct StatusLayoutResult {
  std::vector<PlacedStatusItem> items;  // in input order
  int titlesDropped = 0;
  double droppedTitlesWidth = 0;
  double menusRight = 0;     // after dropped titles
  double visibleMinX = 0;    // left end of the stretch where items show
  bool chevronShown = false;
};

StatusLayoutResult layoutStatusItems(const StatusLayoutInput& input, const SimSettings& settings);

}  // namespace tarvolo::sim
