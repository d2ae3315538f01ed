#pragma once

// The words every layer uses for where an icon belongs and where it sits: the zone the user chose,
// the zone an icon is in, the own items' extents and a foreign status-item window.

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tarvolo {

// The zone the user chose for an application, persisted by its raw string.
enum class ItemCategory { alwaysVisible, hidden, alwaysHidden };

inline constexpr std::array<ItemCategory, 3> kAllItemCategories = {
    ItemCategory::alwaysVisible, ItemCategory::hidden, ItemCategory::alwaysHidden};

std::string_view rawValue(ItemCategory category);
// Exact, case-sensitive match; any other string is no category.
std::optional<ItemCategory> itemCategoryFromRaw(std::string_view raw);
std::string_view titleKey(ItemCategory category);
std::string_view shortTitleKey(ItemCategory category);
std::string_view iconName(ItemCategory category);

// The platform's standard colours a category is tinted with.
enum class CategoryTint { green, blue, secondary };
CategoryTint tintColor(ItemCategory category);

// Where an icon physically sits.
enum class PlacementZone { alwaysVisible, folded, alwaysHidden, systemSide };

std::string_view rawValue(PlacementZone zone);
std::optional<PlacementZone> placementZoneFromRaw(std::string_view raw);
PlacementZone targetZone(ItemCategory category);

// On-screen extents of the three own items.
struct PlacementAnchors {
  double toggleMinX = 0;
  double toggleMaxX = 0;
  double normalMinX = 0;
  double normalMaxX = 0;
  double normalWidth = 0;
  double hiddenMinX = 0;
  double hiddenMaxX = 0;
  double hiddenWidth = 0;
  friend bool operator==(const PlacementAnchors&, const PlacementAnchors&) = default;
};

// Another process's status-item window as the window server lists it.
struct ForeignMenuBarWindow {
  std::string ownerName;
  double minX = 0;
  double maxX = 0;
  double width = 0;
  double height = 0;
  friend bool operator==(const ForeignMenuBarWindow&, const ForeignMenuBarWindow&) = default;
};

}  // namespace tarvolo
