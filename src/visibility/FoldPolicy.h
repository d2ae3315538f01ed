#pragma once

#include <optional>
#include <string_view>

#include "visibility/MenuBarVisibilityPolicy.h"

// Decisions about the fold: where the hidden items begin, just right of the application menus.

namespace tarvolo::MenuBarVisibilityPolicy {

struct CollapseTailExtraInput {
  double length = 0;
  double separatorLeading = 0;
  double menusRight = 0;
  double upperBound = 0;
  double screenWidth = 0;
  bool menuLimited = false;
  double slack = 0;
  double margin = 0;
  PublicCollapseSizing sizing = PublicCollapseSizing::statusRegion;
};

// The length to add to a collapse whose separator stops short of the menus; absent when no
// extra is possible or needed.
std::optional<double> collapseTailExtra(const CollapseTailExtraInput& input);

struct RememberedFoldTailInput {
  double preferredLength = 0;
  std::optional<double> storedTail;  // the full length that covered the fold before
  bool tailRejected = false;
  bool menuLimited = false;
  double screenWidth = 0;
  PublicCollapseSizing sizing = PublicCollapseSizing::statusRegion;
};

// The length to collapse to, with a remembered fold tail where one still applies.
double rememberedFoldTail(const RememberedFoldTailInput& input);

struct UnderfoldShouldSearchInput {
  double length = 0;
  double upperBound = 0;
  double margin = 0;
  bool menuLimited = false;
  bool searchAlreadyRan = false;
};

// Whether an underfold calls for a new cliff search rather than a tail.
bool underfoldShouldSearch(const UnderfoldShouldSearchInput& input);

}  // namespace tarvolo::MenuBarVisibilityPolicy

// The status item left of the always-hidden separator, lengthened in the normal expanded state.
namespace tarvolo::HiddenPlaceholderPolicy {

inline constexpr std::string_view autosaveName = "tarvolo_hidden_placeholder";
// How far past the screen's left edge the far edge is aimed, to clear every menu title.
inline constexpr double overshoot = 8;

// Only where the system drops items of half the display's width.
bool isActive(int majorVersion);

struct LengthInput {
  double hiddenLeadingEdge = 0;  // the lengthened always-hidden separator's far edge
  double screenMinX = 0;
  std::optional<double> menusRight;
  double cap = 0;  // the longest length the system lays out
};
// Reaches past the screen's left edge when it can, else stops short of the menus; 0 when the
// separator already reaches them or nothing is known of where they end.
double shelfLength(const LengthInput& input);

}  // namespace tarvolo::HiddenPlaceholderPolicy

// The small status item that sits beside the fold and is lengthened on collapse.
namespace tarvolo::FoldPlaceholderPolicy {

inline constexpr std::string_view autosaveName = "tarvolo_fold_placeholder";
inline constexpr std::string_view enabledKey = "foldPlaceholderEnabled";
inline constexpr std::string_view collapsedLengthKey = "foldPlaceholderCollapsedLength";
inline constexpr double expandedLength = 4;
inline constexpr double defaultCollapsedLength = 64;
inline constexpr double minCollapsedLength = 16;
inline constexpr double maxCollapsedScreenFraction = 1.0 / 3.0;
inline constexpr double safetyMargin = 8;
inline constexpr double chevronAllowance = 44;
inline constexpr double adjacencyTolerance = 10;
inline constexpr double misplacedExpandedLength = 18;

// Where the placeholder sits relative to the fold (the normal separator).
struct Placement {
  enum class Kind { separated, adjacent, rightOfFold, leftOfHidden, unread };
  Kind kind = Kind::unread;
  std::optional<double> gap;  // separated only: distance to the fold

  static Placement separated(double gap) { return {Kind::separated, gap}; }
  static Placement adjacent() { return {Kind::adjacent, std::nullopt}; }
  static Placement rightOfFold() { return {Kind::rightOfFold, std::nullopt}; }
  static Placement leftOfHidden() { return {Kind::leftOfHidden, std::nullopt}; }
  static Placement unread() { return {Kind::unread, std::nullopt}; }

  friend bool operator==(const Placement&, const Placement&) = default;
};

std::string_view rawValue(Placement::Kind kind);

// Only on newer systems, and unless the user switched it off.
bool isActive(std::optional<bool> storedEnabled, int majorVersion);
// Older systems need it only on a screen where the ejection length stops the separator short of
// the menus.
bool isActive(std::optional<bool> storedEnabled, int majorVersion, bool ejectionCapped);
double collapsedLength(double foldLeadingEdge, double menusRight, double screenWidth);
// Older systems show no overflow chevron at the menus' end, so nothing is kept free for one.
double collapsedLengthWithoutChevron(double foldLeadingEdge, double menusRight, double screenWidth);
// `placedBesideFold` is absent until a reading has placed the item.
double length(MenuBarPresentation presentation, double collapsedLength,
              std::optional<bool> placedBesideFold);

struct PlacementInput {
  std::optional<double> placeholderMinX;
  std::optional<double> placeholderMaxX;
  std::optional<double> foldMinX;
  std::optional<double> hiddenMaxX;
  double tolerance = adjacencyTolerance;
};
Placement placement(const PlacementInput& input);

// While collapsed the lengthened placeholder distorts its own frame, so a collapsed reading may
// only confirm what is already believed, never overturn it.
bool collapsedReadingConfirms(std::optional<bool> current, const Placement& placement);

}  // namespace tarvolo::FoldPlaceholderPolicy
