#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/MainThreadChecker.h"
#include "base/Published.h"
#include "base/WeakHandle.h"
#include "platform/Platform.h"

namespace tarvolo {

class LocalizationManager;

// The system-wide "deep" chord that shows or steps down from every icon, from anywhere: a hot
// key of the system when it can be registered, passive key monitors when it cannot. The chord
// can be recorded anew and is persisted. Main thread only.
class HotkeyManager {
 public:
  static constexpr const char* deepChordKey = "com.ostrand.tarvolo.hotkey.deep";
  static constexpr std::uint32_t hotKeyIDToggleDeep = 2;
  static constexpr std::uint16_t escapeKeyCode = 53;

  struct Chord {
    std::uint16_t keyCode = 0;
    std::uint32_t modifiers = 0;  // shift 0x20000, control 0x40000, option 0x80000, command 0x100000
    static Chord defaultDeep() { return {11, 0x1A0000}; }  // ⌥⇧⌘B
    friend bool operator==(const Chord&, const Chord&) = default;
  };
  enum class Slot { deep };
  static std::optional<Slot> slotFromRawValue(std::string_view raw);

  struct Dependencies {
    platform::Platform& platform;
    const LocalizationManager& localization;
    // Runs on the main queue when the chord is pressed.
    std::function<void()> toggleDeep;
    // The name of the app whose own shortcut is the chord, if one is; the recorder refuses it.
    std::function<std::optional<std::string>(const Chord&)> chordHolder;
  };

  explicit HotkeyManager(Dependencies dependencies);
  ~HotkeyManager();
  HotkeyManager(const HotkeyManager&) = delete;
  HotkeyManager& operator=(const HotkeyManager&) = delete;

  Published<Chord> deepChord;
  Published<bool> recording{false};
  Published<bool> hasHotkeyConflict{false};
  Published<bool> hasConflictDeep{false};
  Published<std::optional<std::string>> conflictMessage;

  void registerHotkeys();
  void unregisterHotkeys();
  bool registerCarbonHotKeys();
  // True when the event was consumed.
  bool handleKeyEvent(const platform::Event& event);
  void beginRecording();

  std::string display(const Chord& chord) const;
  // The chord's symbols and key, whatever the recorder does.
  static std::string describe(const Chord& chord);
  // The chord as a menu key equivalent: the lower-case letter or the printable character; empty
  // for a key that has none.
  static std::string keyEquivalent(const Chord& chord);
  // What a key shows in a chord: its letter, digit or sign, or the symbol of a named key.
  static std::string keyName(std::uint16_t keyCode);
  static std::uint32_t modifierMask(const Chord& chord) { return chord.modifiers & platform::kChordModifierMask; }
  static std::optional<std::string> letter(std::uint16_t keyCode);

  bool systemHotKeyInForce() const { return carbonInForce_; }
  bool fallbackMonitorInstalled() const { return globalMonitor_ != nullptr; }

 private:
  void recordConflict(std::optional<platform::HotkeyFailure> failure);
  void hotKeyFired(std::uint32_t id);
  void postToggle();
  static Chord readStoredChord(const platform::DefaultsStore& defaults);

  platform::Platform& platform_;
  const LocalizationManager& localization_;
  std::function<void()> toggleDeep_;
  std::function<std::optional<std::string>(const Chord&)> chordHolder_;
  bool carbonInForce_ = false;
  bool hotKeyRegistered_ = false;
  MainThreadChecker mainThread_;
  std::unique_ptr<platform::Registration> globalMonitor_;
  std::unique_ptr<platform::Registration> localMonitor_;
  WeakHandleFactory<HotkeyManager> weakFactory_{this};
};

}  // namespace tarvolo
