// System-wide hot keys through Carbon's event manager.
//
// OS quirks handled here:
// - RegisterEventHotKey returns eventHotKeyExistsErr (-9878) when another app, or this one,
//   holds the chord; the caller falls back to passive monitors.
// - The hot-key-pressed handler is installed once on the event dispatcher target; the event
//   carries the EventHotKeyID the chord was registered with, read as a typeEventHotKeyID
//   direct-object parameter. The handler only posts to the main queue and lets the event on.
// - On macOS 15.0–15.1 chords whose only modifiers are ⌥ or ⌥⇧ do not fire; chords with ⌘ do.

#include "platform/macos/MacBackend.h"

#include <Carbon/Carbon.h>

namespace tarvolo::platform::mac {

namespace {
constexpr OSType kSignature = 'TVHK';

UInt32 carbonModifiers(ModifierFlags flags) {
  UInt32 out = 0;
  if (flags.has(Modifier::command)) out |= cmdKey;
  if (flags.has(Modifier::shift)) out |= shiftKey;
  if (flags.has(Modifier::option)) out |= optionKey;
  if (flags.has(Modifier::control)) out |= controlKey;
  return out;
}
}  // namespace

struct MacHotkeyService::State {
  struct Registered {
    EventHotKeyRef ref = nullptr;
    std::function<void(std::uint32_t)> handler;
  };
  EventHandlerRef handlerRef = nullptr;
  std::unordered_map<std::uint32_t, Registered> hotKeys;
  // The Carbon handler's user data: a weak reference the posted blocks copy.
  std::weak_ptr<State> self;
};

namespace {

OSStatus hotKeyPressed(EventHandlerCallRef next, EventRef event, void* userData) {
  (void)next;
  EventHotKeyID hotKeyID{};
  OSStatus status = GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, nullptr, sizeof(hotKeyID),
                                      nullptr, &hotKeyID);
  if (status == noErr && hotKeyID.signature == kSignature) {
    std::weak_ptr<MacHotkeyService::State> weak = static_cast<MacHotkeyService::State*>(userData)->self;
    std::uint32_t firedId = hotKeyID.id;
    dispatch_async(dispatch_get_main_queue(), ^{
      auto state = weak.lock();
      if (!state) return;
      auto it = state->hotKeys.find(firedId);
      if (it != state->hotKeys.end() && it->second.handler) it->second.handler(firedId);
    });
  }
  // Others may want the event too.
  return eventNotHandledErr;
}

}  // namespace

MacHotkeyService::MacHotkeyService() : state_(std::make_shared<State>()) { state_->self = state_; }

MacHotkeyService::~MacHotkeyService() {
  for (auto& [id, registered] : state_->hotKeys) {
    if (registered.ref) UnregisterEventHotKey(registered.ref);
  }
  state_->hotKeys.clear();
  if (state_->handlerRef) RemoveEventHandler(state_->handlerRef);
  state_->handlerRef = nullptr;
}

std::optional<HotkeyFailure> MacHotkeyService::registerHotkey(std::uint32_t id, KeyChord chord,
                                                             std::function<void(std::uint32_t)> handler) {
  unregisterHotkey(id);
  if (!state_->handlerRef) {
    EventTypeSpec pressed{kEventClassKeyboard, kEventHotKeyPressed};
    OSStatus status = InstallEventHandler(GetEventDispatcherTarget(), NewEventHandlerUPP(hotKeyPressed), 1, &pressed,
                                          state_.get(), &state_->handlerRef);
    if (status != noErr) {
      state_->handlerRef = nullptr;
      return HotkeyFailure{.stage = HotkeyFailureStage::handlerInstallation, .status = status};
    }
  }
  EventHotKeyID hotKeyID{kSignature, id};
  EventHotKeyRef ref = nullptr;
  OSStatus status = RegisterEventHotKey(chord.keyCode, carbonModifiers(chord.modifiers), hotKeyID,
                                        GetEventDispatcherTarget(), 0, &ref);
  if (status != noErr) return HotkeyFailure{.stage = HotkeyFailureStage::registration, .status = status};
  state_->hotKeys[id] = State::Registered{ref, std::move(handler)};
  return std::nullopt;
}

void MacHotkeyService::unregisterHotkey(std::uint32_t id) {
  auto it = state_->hotKeys.find(id);
  if (it == state_->hotKeys.end()) return;
  if (it->second.ref) UnregisterEventHotKey(it->second.ref);
  state_->hotKeys.erase(it);
}

}  // namespace tarvolo::platform::mac
