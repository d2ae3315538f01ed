#include "discovery/MenuBarCatalogPolicy.h"

#include <cstdint>
#include <cstdlib>

#include <algorithm>

#include "base/Text.h"

namespace tarvolo {

std::string_view rawValue(MenuBarCatalogSection section) {
  switch (section) {
    case MenuBarCatalogSection::likely: return "likely";
    case MenuBarCatalogSection::otherRunning: return "otherRunning";
  }
  return "likely";
}

}  // namespace tarvolo

namespace tarvolo::MenuBarCatalogPolicy {

bool isInEmbeddedFolder(std::string_view lowercasedPath) {
  return std::any_of(embeddedBundleFolders.begin(), embeddedBundleFolders.end(),
                     [&](std::string_view folder) { return lowercasedPath.find(folder) != std::string_view::npos; });
}

const std::set<std::string>& recommendedRegularBundleIDs() {
  static const std::set<std::string> ids = {
      "com.openai.codex",
      "com.apphousekitchen.aldente-pro",
      "eu.exelban.stats",
      "me.damir.dropover-mac",
      "io.github.clash-verge-rev.clash-verge-rev",
      "com.tencent.xinwechat",
      "com.tencent.qq",
      "net.antelle.keeweb",
      "com.spotify.client",
      "com.tinyspeck.slackmacgap",
      "com.microsoft.teams",
      "ru.keepcoder.telegram",
      "com.docker.docker",
      "com.electron.dockerdesktop",
      "com.postmanlabs.mac",
      "com.kapeli.dashdoc",
      "notion.id",
      "com.figma.desktop",
      "com.raycast.macos",
      "com.1password.1password",
      "com.agilebits.onepassword",
      "com.runningwithcrayons.alfred",
      "com.colliderli.iina",
      "com.lwouis.alt-tab-macos",
      "com.sindresorhus.velja",
      "com.bjango.istatmenus",
      "com.bjango.istatmenus.status",
      "com.macpaw.cleanmymac4",
      "com.macpaw.cleanmymac-mas",
      "com.folivora.bettertouchtool",
  };
  return ids;
}

std::optional<MenuBarCatalogDecision> decide(const DecideInput& input) {
  const std::string key = text::lowercased(input.bundleID);
  const auto& recommendedSet = input.recommended ? *input.recommended : recommendedRegularBundleIDs();
  const bool recommended = recommendedSet.contains(key);
  const MenuBarCatalogDecision likely{.section = MenuBarCatalogSection::likely, .participates = true};
  switch (input.kind) {
    case MenuBarActivationKind::accessory: {
      auto decision = likely;
      decision.recommended = recommended;
      return decision;
    }
    case MenuBarActivationKind::regular: {
      if (!input.hasSavedTier && !recommended && !input.hasDetectedStatusItem) {
        return MenuBarCatalogDecision{.section = MenuBarCatalogSection::otherRunning};
      }
      auto decision = likely;
      decision.recommended = recommended;
      return decision;
    }
    case MenuBarActivationKind::other:
      // The recommended set speaks of regular applications only.
      if (input.hasSavedTier || input.hasDetectedStatusItem) return likely;
      return std::nullopt;
  }
  return std::nullopt;
}

bool includesRule(const IncludesInput& input) {
  if (input.hasSavedTier) return true;
  if (input.catalogReady) return input.detected;
  return input.nativeAvailable || input.attributed;
}

bool showsItemsEmptyState(std::size_t primaryCount, std::size_t otherCount, bool canRevealOthers) {
  if (otherCount > SIZE_MAX - primaryCount) std::abort();  // counts of rows never come near this
  return primaryCount + otherCount == 0 && !canRevealOthers;
}

}  // namespace tarvolo::MenuBarCatalogPolicy
