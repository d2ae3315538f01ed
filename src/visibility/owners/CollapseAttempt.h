#pragma once

#include <optional>
#include <string>

#include "base/vocabulary/BundleID.h"
#include "base/vocabulary/ScreenKey.h"
#include "visibility/CollapseReasons.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

// One collapse as it was asked for: made once when the bar collapses, then handed to the
// bookkeeping, the search, the verifier and the recovery, so none of them reads the frontmost
// app or works out the length again.
struct CollapseAttempt {
  CollapseReason reason = CollapseReason::startup;
  // None while no app is frontmost.
  std::optional<BundleID> frontmostBundleID;
  // The key of the screen that holds the own items.
  ScreenKey screenKey;
  double length = 0;
  // Counts the attempts of this run, from 1.
  unsigned long long generation = 0;
};

// The bar as the state machine presents it and last applied it. The state machine tells the
// engine at every change; the engine's owners read it instead of asking.
struct PresentedBar {
  MenuBarPresentation presentation = MenuBarPresentation::collapsed;
  std::optional<double> lastAppliedNormalLength;
  std::optional<double> lastAppliedHiddenLength;
  // A menu is open: nothing may be measured meanwhile.
  bool menuTracking = false;
};

}  // namespace tarvolo
