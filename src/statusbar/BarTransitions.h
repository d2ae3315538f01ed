#pragma once

#include <string_view>

namespace tarvolo {

// How much an expansion shows.
enum class ExpandDepth {
  normal,  // the hidden zone
  deep,    // the always-hidden zone too
};

// Who asked for an expansion.
enum class Initiator {
  user,            // a click, the context menu, a hotkey, the Shortcuts action
  automatic,       // the app itself, e.g. to read hidden items
  placementGuide,  // the placement guide, on the user's behalf; it does not re-arm auto-collapse
};

// Whether the user is behind the expansion: it ends the start-up collapse campaign and keeps the
// settings window in front.
constexpr bool isUserInitiated(Initiator initiator) {
  switch (initiator) {
    case Initiator::user:
    case Initiator::placementGuide:
      return true;
    case Initiator::automatic:
      return false;
  }
  return false;
}

}  // namespace tarvolo
