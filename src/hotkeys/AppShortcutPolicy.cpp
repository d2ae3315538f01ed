#include "hotkeys/AppShortcutPolicy.h"

namespace tarvolo::AppShortcutPolicy {

std::optional<std::string> holderOf(const Chord& chord, const std::map<std::string, Chord>& assigned) {
  for (const auto& [bundle, held] : assigned) {
    if (held == chord) return bundle;
  }
  return std::nullopt;
}

Verdict judge(const Chord& chord, const std::string& bundleID, const Chord& deepChord,
              const std::map<std::string, Chord>& assigned) {
  if (chord == deepChord) return {.clash = Clash::deepChord};
  for (const auto& [bundle, held] : assigned) {
    if (bundle != bundleID && held == chord) return {.clash = Clash::otherApp, .holder = bundle};
  }
  return {};
}

}  // namespace tarvolo::AppShortcutPolicy
