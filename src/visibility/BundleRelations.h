#pragma once

// How bundle identifiers relate: families that ship together, helpers and their apps, and the
// lookup every table keyed by bundle identifier shares. Pure.

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/vocabulary/BundleID.h"
#include "base/vocabulary/PlacementTypes.h"

namespace tarvolo::MenuBarVisibilityPolicy {

// ---- Bundle-id tables -----------------------------------------------------------------------

inline constexpr std::array<std::string_view, 3> corvantaFamily = {
    "com.ostrand.zt-corvanta", "com.ostrand.zt-corvanta-pro", "com.ostrand.zt-corvanta-swift"};
inline constexpr std::array<std::string_view, 2> iShotFamily = {"cn.better365.iShotPro",
                                                                "cn.better365.iShotProHelper"};
inline constexpr std::string_view weTypeBundleID = "com.tencent.inputmethod.wetype";
inline constexpr std::array<std::string_view, 3> inputMethodCompanions = {
    "com.apple.TextInputMenuAgent", "com.apple.TextInputSwitcher", "com.apple.HIToolbox"};
inline constexpr std::array<std::string_view, 2> alwaysOnSystemBundleIDs = {"com.apple.Spotlight",
                                                                            "com.apple.controlcenter"};
// Endings of a helper's last id component; longer endings come before their own tails.
inline constexpr std::array<std::string_view, 7> roleSuffixes = {"HelperApp", "SmartDelete", "Extension", "Helper",
                                                                 "helper",    "status",      "agent"};

// The native allow-list: the given ids, then our own, then for each given id its related ids,
// its parent and the running ids that are its child bundles. Trimmed, each added once ignoring
// case, first spelling wins.
std::vector<std::string> expandAllowedBundleIDs(const std::vector<std::string>& ids,
                                                const std::vector<std::string>& ownBundleIDs,
                                                const std::vector<std::string>& runningBundleIDs);

// ---- Tier lookup and related bundles ---------------------------------------------------------

// The per-application lookup every table keyed by bundle id shares: exact key, then ignoring
// case, then related ids, then the chain of parents; the first value found.
std::optional<std::string> lookupRaw(std::string_view bundleID, const std::map<std::string, std::string>& saved);

// `lookupRaw` read as a tier; an unknown string is no tier.
std::optional<ItemCategory> resolveTier(std::string_view bundleID, const std::map<std::string, std::string>& saved);
// The same lookup over tiers filed by identifier, where case is already settled.
std::optional<ItemCategory> resolveTier(const BundleID& bundleID, const std::map<BundleID, ItemCategory>& saved);

// Ids that ship alongside this one and must share its fate.
std::vector<std::string> relatedBundleIDs(std::string_view bundleID);

// The id of the app a helper belongs to: a role ending stripped from the last component
// ("com.x.AppHelper" -> "com.x.App"), else the last component dropped while three remain
// ("com.x.App.login" -> "com.x.App"). Absent for a plain app id.
std::optional<std::string> immediateParent(std::string_view bundleID);

// Ignoring case: the child extends the parent by dot components, or walking immediateParent
// from the child reaches the parent. A bundle is not its own child.
bool isChildBundle(std::string_view child, std::string_view parent);

}  // namespace tarvolo::MenuBarVisibilityPolicy
