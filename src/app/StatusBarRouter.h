#pragma once

#include "base/Subscription.h"
#include "statusbar/StatusBarEvents.h"

namespace tarvolo {

class FirstLaunchCoachController;
class MenuBarAccessController;
class NewAppLaunchCenter;
class PlacementGuideController;
class PreferencesController;
class StatusBarController;
class UpdateController;

// Carries what the status bar publishes to the owners that act on it: the Icon Shelf, the
// settings, the placement guide, the first-launch coach, the new-app notices and the updater. Every event
// has one case here, and an event without one does not compile. Main thread only.
class StatusBarRouter {
 public:
  struct Dependencies {
    StatusBarController& bar;
    MenuBarAccessController& shelf;
    PreferencesController& preferences;
    PlacementGuideController& guide;
    FirstLaunchCoachController& coach;
    NewAppLaunchCenter& notices;
    UpdateController& updates;
  };

  explicit StatusBarRouter(Dependencies dependencies);
  StatusBarRouter(const StatusBarRouter&) = delete;
  StatusBarRouter& operator=(const StatusBarRouter&) = delete;

 private:
  void route(const StatusBarEvent& event);

  MenuBarAccessController& shelf_;
  PreferencesController& preferences_;
  PlacementGuideController& guide_;
  FirstLaunchCoachController& coach_;
  NewAppLaunchCenter& notices_;
  UpdateController& updates_;
  Subscription subscription_;
};

}  // namespace tarvolo
