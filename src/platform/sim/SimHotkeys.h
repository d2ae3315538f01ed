#pragma once

// System-wide hot keys on the simulated desktop: the chords the app holds, and those other
// applications hold (registering one of them fails with -9878, as on a Mac).

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/Platform.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

// A hot key the app holds, as the system keeps it.
struct SimHotkeyRecord {
  std::uint32_t id = 0;
  platform::KeyChord chord;
  std::function<void(std::uint32_t)> handler;
};

class SimHotkeys final : public platform::HotkeyService {
 public:
  explicit SimHotkeys(const SimSettings& settings) : settings_(settings) {}

  std::optional<platform::HotkeyFailure> registerHotkey(std::uint32_t id, platform::KeyChord chord,
                                                        std::function<void(std::uint32_t)> handler) override;
  void unregisterHotkey(std::uint32_t id) override;

  const std::vector<SimHotkeyRecord>& registeredHotkeys() const { return held_; }
  // Another application holds the chord.
  bool takenElsewhere(const platform::KeyChord& chord) const;
  // The app's hot key for the chord, if it holds one.
  const SimHotkeyRecord* heldFor(const platform::KeyChord& chord) const;
  // The system drops a process's hot keys with it.
  void ownProcessExited() { held_.clear(); }

 private:
  const SimSettings& settings_;
  std::vector<SimHotkeyRecord> held_;
};

}  // namespace tarvolo::sim
