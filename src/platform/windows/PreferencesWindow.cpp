#include "platform/windows/PreferencesWindow.h"

namespace tarvolo::platform {

std::string_view rawValue(PreferencesTab tab) {
  switch (tab) {
    case PreferencesTab::general: return "general";
    case PreferencesTab::items: return "items";
    case PreferencesTab::hotkeys: return "hotkeys";
    case PreferencesTab::about: return "about";
  }
  return "general";
}

std::optional<PreferencesTab> preferencesTabFromRaw(std::string_view raw) {
  for (auto tab : {PreferencesTab::general, PreferencesTab::items, PreferencesTab::hotkeys, PreferencesTab::about}) {
    if (rawValue(tab) == raw) return tab;
  }
  return std::nullopt;
}

}  // namespace tarvolo::platform
