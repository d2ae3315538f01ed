#include "base/vocabulary/PlacementTypes.h"

namespace tarvolo {

std::string_view rawValue(ItemCategory category) {
  switch (category) {
    case ItemCategory::alwaysVisible: return "always_visible";
    case ItemCategory::hidden: return "hidden";
    case ItemCategory::alwaysHidden: return "always_hidden";
  }
  return "hidden";
}

std::optional<ItemCategory> itemCategoryFromRaw(std::string_view raw) {
  for (ItemCategory category : kAllItemCategories) {
    if (rawValue(category) == raw) return category;
  }
  return std::nullopt;
}

std::string_view titleKey(ItemCategory category) {
  switch (category) {
    case ItemCategory::alwaysVisible: return "category_always_visible";
    case ItemCategory::hidden: return "category_hidden";
    case ItemCategory::alwaysHidden: return "category_always_hidden";
  }
  return "category_hidden";
}

std::string_view shortTitleKey(ItemCategory category) {
  switch (category) {
    case ItemCategory::alwaysVisible: return "category_short_visible";
    case ItemCategory::hidden: return "category_short_hidden";
    case ItemCategory::alwaysHidden: return "category_short_always_hidden";
  }
  return "category_short_hidden";
}

std::string_view iconName(ItemCategory category) {
  switch (category) {
    case ItemCategory::alwaysVisible: return "eye.fill";
    case ItemCategory::hidden: return "eye.slash";
    case ItemCategory::alwaysHidden: return "shield.slash.fill";
  }
  return "eye.slash";
}

CategoryTint tintColor(ItemCategory category) {
  switch (category) {
    case ItemCategory::alwaysVisible: return CategoryTint::green;
    case ItemCategory::hidden: return CategoryTint::blue;
    case ItemCategory::alwaysHidden: return CategoryTint::secondary;
  }
  return CategoryTint::blue;
}

std::string_view rawValue(PlacementZone zone) {
  switch (zone) {
    case PlacementZone::alwaysVisible: return "alwaysVisible";
    case PlacementZone::folded: return "folded";
    case PlacementZone::alwaysHidden: return "alwaysHidden";
    case PlacementZone::systemSide: return "systemSide";
  }
  return "systemSide";
}

std::optional<PlacementZone> placementZoneFromRaw(std::string_view raw) {
  for (PlacementZone zone :
       {PlacementZone::alwaysVisible, PlacementZone::folded, PlacementZone::alwaysHidden, PlacementZone::systemSide}) {
    if (rawValue(zone) == raw) return zone;
  }
  return std::nullopt;
}

PlacementZone targetZone(ItemCategory category) {
  switch (category) {
    case ItemCategory::alwaysVisible: return PlacementZone::alwaysVisible;
    case ItemCategory::hidden: return PlacementZone::folded;
    case ItemCategory::alwaysHidden: return PlacementZone::alwaysHidden;
  }
  return PlacementZone::folded;
}

}  // namespace tarvolo
