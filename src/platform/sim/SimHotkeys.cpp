#include "platform/sim/SimHotkeys.h"

#include <algorithm>

namespace tarvolo::sim {

std::optional<platform::HotkeyFailure> SimHotkeys::registerHotkey(std::uint32_t id, platform::KeyChord chord,
                                                                  std::function<void(std::uint32_t)> handler) {
  unregisterHotkey(id);
  chord.modifiers.raw &= platform::kChordModifierMask;
  if (takenElsewhere(chord) || heldFor(chord)) {
    return platform::HotkeyFailure{.stage = platform::HotkeyFailureStage::registration, .status = -9878};
  }
  held_.push_back(SimHotkeyRecord{id, chord, std::move(handler)});
  return std::nullopt;
}

void SimHotkeys::unregisterHotkey(std::uint32_t id) {
  std::erase_if(held_, [id](const SimHotkeyRecord& held) { return held.id == id; });
}

bool SimHotkeys::takenElsewhere(const platform::KeyChord& chord) const {
  const auto& taken = settings_.takenHotkeys;
  return std::find(taken.begin(), taken.end(), chord) != taken.end();
}

const SimHotkeyRecord* SimHotkeys::heldFor(const platform::KeyChord& chord) const {
  auto found =
      std::find_if(held_.begin(), held_.end(), [&](const SimHotkeyRecord& held) { return held.chord == chord; });
  return found == held_.end() ? nullptr : &*found;
}

}  // namespace tarvolo::sim
