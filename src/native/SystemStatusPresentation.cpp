#include "native/SystemStatusPresentation.h"

#include <array>
#include <utility>

#include "base/Text.h"

namespace tarvolo {

std::string_view rawValue(NativeEngineState state) {
  switch (state) {
    case NativeEngineState::unsupported:
      return "unsupported";
    case NativeEngineState::ready:
      return "ready";
    case NativeEngineState::activating:
      return "activating";
    case NativeEngineState::active:
      return "active";
    case NativeEngineState::failed:
      return "failed";
  }
  return "unsupported";
}

namespace SystemStatusPresentations {

// The separators' symbol stands for the own engine, the eye for the system's; a badge marks
// what the user may want to know at a glance: waiting, holding, or given up.
SystemStatusPresentation forState(NativeEngineState state) {
  switch (state) {
    case NativeEngineState::unsupported:
      return {.symbol = "rectangle.split.3x1", .badge = std::nullopt};
    case NativeEngineState::ready:
      return {.symbol = "eye", .badge = std::nullopt};
    case NativeEngineState::activating:
      return {.symbol = "eye.slash", .badge = "hourglass"};
    case NativeEngineState::active:
      return {.symbol = "eye.slash", .badge = "checkmark.circle.fill"};
    case NativeEngineState::failed:
      return {.symbol = "rectangle.split.3x1", .badge = "exclamationmark.triangle.fill"};
  }
  return {.symbol = "rectangle.split.3x1", .badge = std::nullopt};
}

namespace {

// Identifier (or title) fragments of the items the system's own processes show, most specific
// first: "vpn" before "network", "textinput" before "input".
constexpr std::array<std::pair<std::string_view, std::string_view>, 13> kItemSymbols{{
    {"vpn", "network"},
    {"wifi", "wifi"},
    {"battery", "battery.100"},
    {"bluetooth", "bluetooth"},
    {"clock", "clock"},
    {"sound", "speaker.wave.2"},
    {"volume", "speaker.wave.2"},
    {"focus", "moon"},
    {"textinput", "keyboard"},
    {"keyboard", "keyboard"},
    {"spotlight", "magnifyingglass"},
    {"passwords", "key.fill"},
    {"controlcenter", "switch.2"},
}};

std::optional<std::string> symbolForName(std::string_view name) {
  const std::string lower = text::lowercased(name);
  for (const auto& [fragment, symbol] : kItemSymbols) {
    if (lower.find(fragment) != std::string::npos) return std::string(symbol);
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> symbol(std::string_view bundleID, std::string_view title,
                                  const std::optional<std::string>& identifier) {
  const std::string owner = text::lowercased(bundleID);
  if (owner == "com.apple.spotlight") return "magnifyingglass";
  if (owner == "com.apple.textinputmenuagent" || owner == "com.apple.textinputswitcher" ||
      owner == "com.apple.hitoolbox") {
    return "keyboard";
  }
  if (owner.starts_with("com.apple.passwords")) return "key.fill";
  // Control Center and SystemUIServer host many kinds of item; from macOS 26 Control Center also
  // reports other apps' items as its own, so an item it does not recognise gets no symbol.
  if (owner != "com.apple.controlcenter" && owner != "com.apple.systemuiserver") return std::nullopt;
  if (identifier) {
    if (auto found = symbolForName(*identifier)) return found;
  }
  return symbolForName(title);
}

}  // namespace SystemStatusPresentations

}  // namespace tarvolo
