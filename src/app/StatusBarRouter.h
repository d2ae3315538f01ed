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

// Carries what the status bar publishes to the owners that act on it: the Icon Shelf, the
// settings, the placement guide, the first-launch coach and the new-app notices. Every event
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
  Subscription subscription_;
};

}  // namespace tarvolo
