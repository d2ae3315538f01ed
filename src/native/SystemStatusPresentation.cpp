#include "native/SystemStatusPresentation.h"

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

}  // namespace SystemStatusPresentations

}  // namespace tarvolo
