#pragma once

// Which running applications the catalogue lists in its main section and which it offers only
// on request. Pure.

#include <array>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace tarvolo {

enum class MenuBarCatalogSection { likely, otherRunning };
std::string_view rawValue(MenuBarCatalogSection section);

// The platform's activation policies: accessory, regular, and prohibited or unknown.
enum class MenuBarActivationKind { accessory, regular, other };

struct MenuBarCatalogDecision {
  MenuBarCatalogSection section = MenuBarCatalogSection::likely;
  bool recommended = false;
  bool participates = false;
  friend bool operator==(const MenuBarCatalogDecision&, const MenuBarCatalogDecision&) = default;
};

}  // namespace tarvolo

namespace tarvolo::MenuBarCatalogPolicy {

// Folders inside a bundle that hold embedded helpers, extensions and services, lower-cased with
// their slashes: a bundle in one of them is never offered.
inline constexpr std::array<std::string_view, 4> embeddedBundleFolders = {"/xpcservices/", "/plugins/",
                                                                          "/frameworks/", "/contents/helpers/"};
// Where an application keeps its login items. Embedded too, yet the catalogue offers them, since
// such an agent is often what owns its application's icon; the new-app notice does not.
inline constexpr std::string_view loginItemsFolder = "/library/loginitems/";
// Whether a lower-cased path lies in one of the embedded folders.
bool isInEmbeddedFolder(std::string_view lowercasedPath);

// Regular (Dock-showing) applications known to own a status item, lower-cased.
const std::set<std::string>& recommendedRegularBundleIDs();

struct DecideInput {
  MenuBarActivationKind kind = MenuBarActivationKind::regular;
  std::string_view bundleID;
  bool hasSavedTier = false;
  bool hasDetectedStatusItem = false;
  const std::set<std::string>* recommended = nullptr;  // lower-cased; none: the built-in set
};
// Absent when the application is not offered at all.
std::optional<MenuBarCatalogDecision> decide(const DecideInput& input);

struct IncludesInput {
  bool hasSavedTier = false;
  bool catalogReady = false;
  bool detected = false;
  bool nativeAvailable = false;
  bool attributed = false;
};
// Whether an application joins the hiding plan: a saved tier always does; otherwise what the
// accessible catalogue found once it is ready, and until then any sign of an icon.
bool includesRule(const IncludesInput& input);

// The shelf's "nothing to show" state: no rows in either section and nothing to reveal.
bool showsItemsEmptyState(std::size_t primaryCount, std::size_t otherCount, bool canRevealOthers);

}  // namespace tarvolo::MenuBarCatalogPolicy
