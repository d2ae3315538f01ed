#include "shelf/MenuBarAccessEntry.h"

namespace tarvolo {

std::optional<std::string> MenuBarAccessEntry::systemLabelKey(const SystemSymbolLookup& symbol) const {
  if (!ownedBySystem(ownerBundleID) || !symbol) return std::nullopt;
  auto name = symbol(ownerBundleID, title, identifier);
  if (!name) return std::nullopt;
  return labelKey(*name);
}

bool MenuBarAccessEntry::ownedBySystem(std::string_view ownerBundleID) {
  // No letter outside ASCII lower-cases into this prefix, so comparing its bytes ignoring ASCII
  // case says what lower-casing the whole identifier would.
  constexpr std::string_view prefix = "com.apple.";
  if (ownerBundleID.size() < prefix.size()) return false;
  for (std::size_t i = 0; i < prefix.size(); ++i) {
    char c = ownerBundleID[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != prefix[i]) return false;
  }
  return true;
}

std::string MenuBarAccessEntry::labelKey(std::string_view symbol) {
  if (symbol == "keyboard") return "iconbar.input";
  if (symbol == "key.fill") return "iconbar.passwords";
  if (symbol == "magnifyingglass") return "iconbar.spotlight";
  if (symbol == "network") return "iconbar.vpn";
  return "iconbar.system";
}

}  // namespace tarvolo
