#pragma once

#include <functional>

#include "base/WeakHandle.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

class NativeVisibilityEngine;
class OwnStatusItems;

// Which engine hides the bar, chosen afresh at every apply: the system's allow-list while it is
// available, the own separators otherwise (and for the rest of the run once it failed). Applies
// a plan of the system's engine; plans of the own separators stay with the state machine.
// Main thread only.
class HidingEngineSwitch {
 public:
  class Host {
   public:
    virtual ~Host() = default;
    // Re-creates the own items; asked once when the system's engine leaves the toggle off screen.
    virtual void recreateOwnItemsForSystemEngine() = 0;
  };

  struct Dependencies {
    NativeVisibilityEngine& engine;
    OwnStatusItems& items;
    double expandedSeparatorLength;
    Host& host;
  };

  explicit HidingEngineSwitch(Dependencies dependencies);
  bool nativeAvailable() const;
  MenuBarHidingEngine hidingEngine() const;
  const NativeVisibilityEngine& nativeEngine() const { return engine_; }

  // The system shows everything, or holds the plan's allow-list. With physical dividers (the
  // user arranging icons) the separators keep their expanded length so icons can be dragged
  // across them; otherwise they take no room.
  void apply(const MenuBarVisibilityPlan& plan, bool physicalDividers, std::function<void(bool)> completion);
  // Screen, wake, space and membership changes: the system lets everything back before the
  // next apply hands it the list again.
  void expandIfAvailable();

 private:
  void checkToggle();

  NativeVisibilityEngine& engine_;
  OwnStatusItems& items_;
  const double expandedSeparatorLength_;
  Host& host_;
  bool toggleRecreated_ = false;
  WeakHandleFactory<HidingEngineSwitch> weakFactory_{this};
};

}  // namespace tarvolo
