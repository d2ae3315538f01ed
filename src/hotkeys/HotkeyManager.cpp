#include "hotkeys/HotkeyManager.h"

#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "base/Log.h"
#include "localization/LocalizationManager.h"
#include "localization/StringFormat.h"

namespace tarvolo {

namespace {

using platform::Modifier;

constexpr std::uint32_t kShift = 0x20000;
constexpr std::uint32_t kControl = 0x40000;
constexpr std::uint32_t kOption = 0x80000;
constexpr std::uint32_t kCommand = 0x100000;

// Virtual key codes of the ANSI letter keys.
constexpr std::array<std::pair<std::uint16_t, char>, 26> kLetters{{
    {0, 'A'},  {11, 'B'}, {8, 'C'},  {2, 'D'},  {14, 'E'}, {3, 'F'},  {5, 'G'},  {4, 'H'},  {34, 'I'},
    {38, 'J'}, {40, 'K'}, {37, 'L'}, {46, 'M'}, {45, 'N'}, {31, 'O'}, {35, 'P'}, {12, 'Q'}, {15, 'R'},
    {1, 'S'},  {17, 'T'}, {32, 'U'}, {9, 'V'},  {13, 'W'}, {7, 'X'},  {16, 'Y'}, {6, 'Z'},
}};

// The other keys of the US layout a chord may use, with the symbols the system's menus show for
// them. Key codes name positions, so these are what the keys print on that layout.
constexpr std::array<std::pair<std::uint16_t, std::string_view>, 49> kOtherKeys{{
    {29, "0"},   {18, "1"},   {19, "2"},   {20, "3"},   {21, "4"},   {23, "5"},   {22, "6"},
    {26, "7"},   {28, "8"},   {25, "9"},   {27, "-"},   {24, "="},   {33, "["},   {30, "]"},
    {42, "\\"},  {41, ";"},   {39, "'"},   {43, ","},   {47, "."},   {44, "/"},   {50, "`"},
    {36, "↩"},   {48, "⇥"},   {49, "Space"}, {51, "⌫"}, {117, "⌦"}, {53, "⎋"},  {123, "←"},
    {124, "→"},  {125, "↓"},  {126, "↑"},  {115, "↖"},  {119, "↘"},  {116, "⇞"},  {121, "⇟"},
    {122, "F1"}, {120, "F2"}, {99, "F3"},  {118, "F4"}, {96, "F5"},  {97, "F6"},  {98, "F7"},
    {100, "F8"}, {101, "F9"}, {109, "F10"}, {103, "F11"}, {111, "F12"}, {105, "F13"}, {107, "F14"},
}};

}  // namespace

std::optional<HotkeyManager::Slot> HotkeyManager::slotFromRawValue(std::string_view raw) {
  if (raw == "deep") return Slot::deep;
  return std::nullopt;
}

HotkeyManager::HotkeyManager(Dependencies dependencies)
    : deepChord(readStoredChord(dependencies.platform.defaults())),
      platform_(dependencies.platform),
      localization_(dependencies.localization),
      toggleDeep_(std::move(dependencies.toggleDeep)),
      chordHolder_(std::move(dependencies.chordHolder)) {}

HotkeyManager::~HotkeyManager() { unregisterHotkeys(); }

HotkeyManager::Chord HotkeyManager::readStoredChord(const platform::DefaultsStore& defaults) {
  auto stored = defaults.object(deepChordKey);
  if (!stored) return Chord::defaultDeep();
  const auto* dictionary = stored->asDictionary();
  std::optional<std::int64_t> keyCode;
  std::optional<std::int64_t> modifiers;
  if (dictionary) {
    if (auto it = dictionary->find("keyCode"); it != dictionary->end()) keyCode = it->second.asInteger();
    if (auto it = dictionary->find("modifiers"); it != dictionary->end()) modifiers = it->second.asInteger();
  }
  if (!keyCode || !modifiers || *keyCode < 0 || *keyCode > 0xFFFF || *modifiers < 0 ||
      (*modifiers & platform::kChordModifierMask) == 0) {
    // The stored value stays for a later version that may read it.
    Diag::log(LogLine("hotkey stored chord unreadable, using default").add("key", deepChordKey));
    return Chord::defaultDeep();
  }
  return {static_cast<std::uint16_t>(*keyCode),
          static_cast<std::uint32_t>(*modifiers) & platform::kChordModifierMask};
}

void HotkeyManager::registerHotkeys() {
  mainThread_.check();
  unregisterHotkeys();
  if (registerCarbonHotKeys()) {
    MenuBarLog::log("Carbon hotkey registered OK (" + display(deepChord.get()) + " system-wide)");
    carbonInForce_ = true;
  } else {
    carbonInForce_ = false;
    MenuBarLog::log("Carbon hotkey failed -> passive monitor fallback");
    SystemLog::log("Tarvolo: Carbon hotkey registration had issues; installing fallback monitor.");
    globalMonitor_ = platform_.events().addGlobalMonitor(
        platform::eventMask(platform::EventType::keyDown),
        [weak = weakFactory_.handle()](const platform::Event& event) {
          if (auto* self = weak.get()) self->handleKeyEvent(event);
        });
  }
  localMonitor_ = platform_.events().addLocalMonitor(
      platform::eventMask(platform::EventType::keyDown),
      [weak = weakFactory_.handle()](const platform::Event& event) -> std::optional<platform::Event> {
        auto* self = weak.get();
        if (self && self->handleKeyEvent(event)) return std::nullopt;
        return event;
      });
}

bool HotkeyManager::registerCarbonHotKeys() {
  mainThread_.check();
  auto& service = platform_.hotkeys();
  if (hotKeyRegistered_) service.unregisterHotkey(hotKeyIDToggleDeep);
  hotKeyRegistered_ = false;
  const Chord chord = deepChord.get();
  auto failure = service.registerHotkey(
      hotKeyIDToggleDeep, platform::KeyChord{chord.keyCode, {modifierMask(chord)}},
      bindWeak(weakFactory_.handle(), &HotkeyManager::hotKeyFired));
  if (failure && failure->stage == platform::HotkeyFailureStage::handlerInstallation) {
    MenuBarLog::log(LogLine("Tarvolo: InstallEventHandler failed with").add("OSStatus", failure->status));
  }
  hotKeyRegistered_ = !failure;
  recordConflict(failure);
  return !failure;
}

void HotkeyManager::recordConflict(std::optional<platform::HotkeyFailure> failure) {
  const bool conflict = failure.has_value();
  if (conflict) {
    MenuBarLog::log(LogLine("hotkey conflict").add("status", static_cast<long long>(failure->status)));
  }
  hasConflictDeep = conflict;
  hasHotkeyConflict = conflict;
  conflictMessage = conflict ? std::optional(localization_.tr("hotkey_conflict_fallback")) : std::nullopt;
}

void HotkeyManager::unregisterHotkeys() {
  mainThread_.check();
  globalMonitor_.reset();
  localMonitor_.reset();
  if (hotKeyRegistered_) platform_.hotkeys().unregisterHotkey(hotKeyIDToggleDeep);
  hotKeyRegistered_ = false;
  carbonInForce_ = false;
}

void HotkeyManager::hotKeyFired(std::uint32_t id) {
  mainThread_.check();
  Diag::log(LogLine("carbon hotkey fired,").add("id", id));
  if (id == hotKeyIDToggleDeep) postToggle();
}

void HotkeyManager::postToggle() {
  platform_.mainQueue().post(0, [weak = weakFactory_.handle()] {
    if (auto* self = weak.get(); self && self->toggleDeep_) self->toggleDeep_();
  });
}

bool HotkeyManager::handleKeyEvent(const platform::Event& event) {
  mainThread_.check();
  if (!event.keyCode) return false;
  const std::uint32_t modifiers = event.modifierFlags.raw & platform::kChordModifierMask;
  if (!recording.get()) {
    const Chord chord = deepChord.get();
    if (*event.keyCode != chord.keyCode || modifiers != chord.modifiers) return false;
    postToggle();
    return true;
  }
  if (*event.keyCode == escapeKeyCode) {
    recording = false;
    // A refusal while listening goes with it; a registration's conflict stays.
    conflictMessage =
        hasConflictDeep.get() ? std::optional(localization_.tr("hotkey_conflict_fallback")) : std::nullopt;
    return true;
  }
  // A bare key cannot be a system-wide chord: keep listening.
  if (modifiers == 0) return true;
  const Chord recorded{*event.keyCode, modifiers};
  if (auto holder = chordHolder_ ? chordHolder_(recorded) : std::nullopt) {
    // Keep listening: the user picks another chord or cancels.
    conflictMessage = formatText(localization_.tr("hotkey_conflict_app_shortcut"), {describe(recorded), *holder});
    Diag::log(LogLine("hotkey recording refused").add("chord", describe(recorded)));
    return true;
  }
  deepChord = recorded;
  platform_.defaults().set(deepChordKey, DefaultsValue(DefaultsValue::Dictionary{
                                             {"keyCode", DefaultsValue(static_cast<int>(recorded.keyCode))},
                                             {"modifiers", DefaultsValue(static_cast<std::int64_t>(recorded.modifiers))},
                                         }));
  recording = false;
  Diag::log(LogLine("hotkey recorded").add("chord", display(recorded)));
  platform_.mainQueue().post(0, [weak = weakFactory_.handle()] {
    if (auto* self = weak.get()) self->registerHotkeys();
  });
  return true;
}

void HotkeyManager::beginRecording() { recording = true; }

std::string HotkeyManager::display(const Chord& chord) const {
  if (recording.get()) return localization_.tr("hotkey_press");
  return describe(chord);
}

std::string HotkeyManager::describe(const Chord& chord) {
  std::string text;
  if (chord.modifiers & kControl) text += "⌃";
  if (chord.modifiers & kOption) text += "⌥";
  if (chord.modifiers & kShift) text += "⇧";
  if (chord.modifiers & kCommand) text += "⌘";
  return text + keyName(chord.keyCode);
}

std::string HotkeyManager::keyEquivalent(const Chord& chord) {
  if (auto upper = letter(chord.keyCode)) return std::string(1, static_cast<char>(*upper->c_str() - 'A' + 'a'));
  // A menu takes a printable character; named keys have none to give.
  const std::string name = keyName(chord.keyCode);
  return name.size() == 1 ? name : "";
}

std::string HotkeyManager::keyName(std::uint16_t keyCode) {
  if (auto upper = letter(keyCode)) return *upper;
  for (const auto& [code, name] : kOtherKeys) {
    if (code == keyCode) return std::string(name);
  }
  // A key this table does not know still shows that the chord has one.
  return "#" + std::to_string(keyCode);
}

std::optional<std::string> HotkeyManager::letter(std::uint16_t keyCode) {
  for (const auto& [code, letter] : kLetters) {
    if (code == keyCode) return std::string(1, letter);
  }
  return std::nullopt;
}

}  // namespace tarvolo
