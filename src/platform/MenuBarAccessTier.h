#pragma once

#include <initializer_list>
#include <optional>
#include <string_view>

namespace tarvolo {

// The Icon Shelf's zone filter: every hidden icon, or those of one zone. Stored and logged by
// its raw value.
enum class MenuBarAccessTier { all, alwaysVisible, hidden, alwaysHidden };

constexpr std::string_view rawValue(MenuBarAccessTier tier) {
  switch (tier) {
    case MenuBarAccessTier::all: return "all";
    case MenuBarAccessTier::alwaysVisible: return "always_visible";
    case MenuBarAccessTier::hidden: return "hidden";
    case MenuBarAccessTier::alwaysHidden: return "always_hidden";
  }
  return "all";
}

// The tier a raw value names; absent for any other text.
constexpr std::optional<MenuBarAccessTier> menuBarAccessTier(std::string_view raw) {
  for (auto tier : {MenuBarAccessTier::all, MenuBarAccessTier::alwaysVisible, MenuBarAccessTier::hidden,
                    MenuBarAccessTier::alwaysHidden}) {
    if (rawValue(tier) == raw) return tier;
  }
  return std::nullopt;
}

}  // namespace tarvolo
