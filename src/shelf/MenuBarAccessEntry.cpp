#include "shelf/MenuBarAccessEntry.h"

#include "base/Text.h"

namespace tarvolo {

std::optional<std::string> MenuBarAccessEntry::systemLabelKey(const SystemSymbolLookup& symbol) const {
  if (!text::lowercased(ownerBundleID).starts_with("com.apple.") || !symbol) return std::nullopt;
  auto name = symbol(ownerBundleID, title, identifier);
  if (!name) return std::nullopt;
  return labelKey(*name);
}

std::string MenuBarAccessEntry::labelKey(std::string_view symbol) {
  if (symbol == "keyboard") return "iconbar.input";
  if (symbol == "key.fill") return "iconbar.passwords";
  if (symbol == "magnifyingglass") return "iconbar.spotlight";
  if (symbol == "network") return "iconbar.vpn";
  return "iconbar.system";
}

}  // namespace tarvolo
