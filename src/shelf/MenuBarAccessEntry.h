#pragma once

// One status item of another application as the Icon Shelf lists it, and what a row shows of it.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/Geometry.h"

namespace tarvolo {

// A foreign status item read through Accessibility by the shelf's scan.
struct AccessibleStatusItem {
  // Stable across scans while the item keeps its identifier (or title) and owner.
  std::string id;
  std::string ownerBundleID;
  std::string ownerName;
  int pid = 0;
  std::string title;
  std::optional<std::string> identifier;
  std::optional<std::string> itemDescription;
  // Top-left global space, as Accessibility reports it; absent when unreadable.
  std::optional<Rect> frame;
  std::optional<std::string> iconPath;
  friend bool operator==(const AccessibleStatusItem&, const AccessibleStatusItem&) = default;
};

// Which system symbol the system presentation table draws for an item; absent for none.
using SystemSymbolLookup =
    std::function<std::optional<std::string>(std::string_view bundleID, std::string_view title,
                                             const std::optional<std::string>& identifier)>;

struct MenuBarAccessEntry {
  std::string ownerBundleID;
  std::string title;
  std::optional<std::string> identifier;

  static MenuBarAccessEntry from(const AccessibleStatusItem& item) {
    return {.ownerBundleID = item.ownerBundleID, .title = item.title, .identifier = item.identifier};
  }

  // The string-table key naming what a system item is ("iconbar.vpn"); absent for other owners
  // and for system items without a symbol.
  std::optional<std::string> systemLabelKey(const SystemSymbolLookup& symbol) const;
  // The key a system symbol is labelled with.
  static std::string labelKey(std::string_view symbol);
  // Whether the system owns the item: its owner's identifier starts with "com.apple." in any
  // case. Asked for every row on every keystroke, so it compares in place.
  static bool ownedBySystem(std::string_view ownerBundleID);
};

}  // namespace tarvolo
