#pragma once

// Which chord an app's own shortcut may take: never the deep chord, never another app's.

#include <map>
#include <optional>
#include <string>

#include "hotkeys/HotkeyManager.h"

namespace tarvolo::AppShortcutPolicy {

using Chord = HotkeyManager::Chord;

enum class Clash {
  none,
  deepChord,  // the chord that shows every icon
  otherApp,   // another app's shortcut
};

struct Verdict {
  Clash clash = Clash::none;
  // The app that holds the chord, for `otherApp`.
  std::optional<std::string> holder;
  friend bool operator==(const Verdict&, const Verdict&) = default;
};

// `assigned` maps lower-cased bundle ids to their chords; `bundleID` is lower-cased and may
// already hold `chord` (recording the same chord again is no clash).
Verdict judge(const Chord& chord, const std::string& bundleID, const Chord& deepChord,
              const std::map<std::string, Chord>& assigned);

// The app whose shortcut is `chord`, if any.
std::optional<std::string> holderOf(const Chord& chord, const std::map<std::string, Chord>& assigned);

}  // namespace tarvolo::AppShortcutPolicy
