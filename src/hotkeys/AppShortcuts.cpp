#include "hotkeys/AppShortcuts.h"

#include <utility>

#include "base/Log.h"
#include "base/Text.h"
#include "hotkeys/AppShortcutPolicy.h"
#include "localization/LocalizationManager.h"
#include "localization/StringFormat.h"

namespace tarvolo {

namespace {

std::optional<AppShortcuts::Chord> chordFromValue(const DefaultsValue& value) {
  const auto* dictionary = value.asDictionary();
  if (!dictionary) return std::nullopt;
  std::optional<std::int64_t> keyCode;
  std::optional<std::int64_t> modifiers;
  if (auto it = dictionary->find("keyCode"); it != dictionary->end()) keyCode = it->second.asInteger();
  if (auto it = dictionary->find("modifiers"); it != dictionary->end()) modifiers = it->second.asInteger();
  if (!keyCode || !modifiers || *keyCode < 0 || *keyCode > 0xFFFF || *modifiers < 0) return std::nullopt;
  const auto masked = static_cast<std::uint32_t>(*modifiers) & platform::kChordModifierMask;
  if (masked == 0) return std::nullopt;
  return AppShortcuts::Chord{static_cast<std::uint16_t>(*keyCode), masked};
}

DefaultsValue valueOf(const AppShortcuts::Chord& chord) {
  return DefaultsValue(DefaultsValue::Dictionary{
      {"keyCode", DefaultsValue(static_cast<int>(chord.keyCode))},
      {"modifiers", DefaultsValue(static_cast<std::int64_t>(chord.modifiers))},
  });
}

}  // namespace

AppShortcuts::AppShortcuts(Dependencies dependencies)
    : chords(readStored(dependencies.platform.defaults())),
      platform_(dependencies.platform),
      localization_(dependencies.localization),
      deepChord_(std::move(dependencies.deepChord)),
      open_(std::move(dependencies.open)),
      appName_(std::move(dependencies.appName)) {}

AppShortcuts::~AppShortcuts() {
  recorderMonitor_.reset();
  unregisterAll();
}

std::map<std::string, AppShortcuts::Chord> AppShortcuts::readStored(const platform::DefaultsStore& defaults) {
  std::map<std::string, Chord> out;
  auto stored = defaults.object(storeKey);
  if (!stored) return out;
  const auto* dictionary = stored->asDictionary();
  if (!dictionary) {
    // Left in the store untouched: only a recorded shortcut writes the key again.
    Diag::log(LogLine("shortcut store unreadable").add("key", storeKey));
    return out;
  }
  for (const auto& [bundle, value] : *dictionary) {
    auto chord = chordFromValue(value);
    if (!chord || bundle.empty()) {
      Diag::log(LogLine("shortcut stored chord unreadable").add("bundle", bundle));
      continue;
    }
    out.emplace(text::lowercased(bundle), *chord);
  }
  return out;
}

void AppShortcuts::store(const std::string& bundleID, std::optional<Chord> chord) {
  // Entries this version cannot read stay as they were.
  DefaultsValue::Dictionary dictionary;
  if (auto stored = platform_.defaults().object(storeKey); stored && stored->asDictionary()) {
    dictionary = *stored->asDictionary();
  }
  if (chord) {
    dictionary[bundleID] = valueOf(*chord);
  } else {
    dictionary.erase(bundleID);
  }
  platform_.defaults().set(storeKey, DefaultsValue(std::move(dictionary)));
  auto next = chords.get();
  if (chord) {
    next[bundleID] = *chord;
  } else {
    next.erase(bundleID);
  }
  chords = std::move(next);
}

void AppShortcuts::registerAll() {
  mainThread_.check();
  unregisterAll();
  refusedBySystem_.clear();
  auto& service = platform_.hotkeys();
  std::uint32_t id = firstHotKeyID;
  for (const auto& [bundle, chord] : chords.get()) {
    const std::uint32_t assigned = id++;
    auto failure = service.registerHotkey(assigned, platform::KeyChord{chord.keyCode, {chord.modifiers}},
                                          bindWeak(weakFactory_.handle(), &AppShortcuts::fired));
    if (failure) {
      refusedBySystem_.insert(bundle);
      MenuBarLog::log(LogLine("shortcut refused").add("bundle", bundle).add("status", static_cast<long long>(failure->status)));
      continue;
    }
    registeredIDs_.emplace(bundle, assigned);
    MenuBarLog::log(LogLine("shortcut registered")
                        .add("bundle", bundle)
                        .add("chord", HotkeyManager::describe(chord)));
  }
}

void AppShortcuts::unregisterAll() {
  mainThread_.check();
  for (const auto& [bundle, id] : registeredIDs_) platform_.hotkeys().unregisterHotkey(id);
  registeredIDs_.clear();
}

void AppShortcuts::fired(std::uint32_t id) {
  mainThread_.check();
  for (const auto& [bundle, registeredID] : registeredIDs_) {
    if (registeredID != id) continue;
    MenuBarLog::log(LogLine("shortcut fired").add("bundle", bundle));
    platform_.mainQueue().post(0, [weak = weakFactory_.handle(), bundle = bundle] {
      if (auto* self = weak.get(); self && self->open_) self->open_(bundle);
    });
    return;
  }
}

void AppShortcuts::beginRecording(const std::string& bundleID) {
  mainThread_.check();
  const std::string bundle = text::lowercased(bundleID);
  if (bundle.empty()) return;
  refusal = std::nullopt;
  // The shortcuts let go while the recorder listens, so pressing one is heard as a chord to judge.
  unregisterAll();
  if (!recorderMonitor_) {
    recorderMonitor_ = platform_.events().addLocalMonitor(
        platform::eventMask(platform::EventType::keyDown),
        [weak = weakFactory_.handle()](const platform::Event& event) -> std::optional<platform::Event> {
          auto* self = weak.get();
          if (self && self->handleKeyEvent(event)) return std::nullopt;
          return event;
        });
  }
  recordingFor = bundle;
  MenuBarLog::log(LogLine("shortcut recording").add("bundle", bundle));
}

void AppShortcuts::cancelRecording() {
  if (!recordingFor.get()) return;
  endRecording();
}

void AppShortcuts::endRecording() {
  recorderMonitor_.reset();
  recordingFor = std::nullopt;
  registerAll();
}

void AppShortcuts::clear(const std::string& bundleID) {
  mainThread_.check();
  const std::string bundle = text::lowercased(bundleID);
  if (!chords.get().contains(bundle)) return;
  if (auto it = registeredIDs_.find(bundle); it != registeredIDs_.end()) {
    platform_.hotkeys().unregisterHotkey(it->second);
    registeredIDs_.erase(it);
  }
  refusedBySystem_.erase(bundle);
  if (refusal.get() && refusal.get()->bundleID == bundle) refusal = std::nullopt;
  store(bundle, std::nullopt);
  MenuBarLog::log(LogLine("shortcut cleared").add("bundle", bundle));
}

bool AppShortcuts::handleKeyEvent(const platform::Event& event) {
  mainThread_.check();
  const auto& recording = recordingFor.get();
  if (!recording || !event.keyCode) return false;
  const std::string bundle = *recording;
  if (*event.keyCode == HotkeyManager::escapeKeyCode) {
    endRecording();
    return true;
  }
  const std::uint32_t modifiers = event.modifierFlags.raw & platform::kChordModifierMask;
  // A bare key cannot be a system-wide chord: keep listening.
  if (modifiers == 0) return true;
  const Chord recorded{*event.keyCode, modifiers};
  const auto verdict = AppShortcutPolicy::judge(recorded, bundle, deepChord_(), chords.get());
  const std::string shown = HotkeyManager::describe(recorded);
  switch (verdict.clash) {
    case AppShortcutPolicy::Clash::deepChord:
      refusal = Refusal{bundle, formatText(localization_.tr("app_shortcut_conflict_deep"), {shown})};
      MenuBarLog::log(LogLine("shortcut conflict").add("bundle", bundle).add("with", "deep"));
      return true;
    case AppShortcutPolicy::Clash::otherApp: {
      const std::string holder = verdict.holder.value_or("");
      const std::string name = appName_ ? appName_(holder) : holder;
      refusal = Refusal{bundle, formatText(localization_.tr("app_shortcut_conflict_app"), {shown, name})};
      MenuBarLog::log(LogLine("shortcut conflict").add("bundle", bundle).add("with", holder));
      return true;
    }
    case AppShortcutPolicy::Clash::none: break;
  }
  refusal = std::nullopt;
  store(bundle, recorded);
  MenuBarLog::log(LogLine("shortcut recorded").add("bundle", bundle).add("chord", shown));
  endRecording();
  return true;
}

std::optional<AppShortcuts::Chord> AppShortcuts::chord(const std::string& bundleID) const {
  const auto& all = chords.get();
  auto it = all.find(text::lowercased(bundleID));
  if (it == all.end()) return std::nullopt;
  return it->second;
}

std::optional<std::string> AppShortcuts::problem(const std::string& bundleID) const {
  const std::string bundle = text::lowercased(bundleID);
  if (refusal.get() && refusal.get()->bundleID == bundle) return refusal.get()->text;
  if (refusedBySystem_.contains(bundle)) return localization_.tr("app_shortcut_taken");
  return std::nullopt;
}

std::optional<std::string> AppShortcuts::holderOf(const Chord& chord) const {
  return AppShortcutPolicy::holderOf(chord, chords.get());
}

}  // namespace tarvolo
