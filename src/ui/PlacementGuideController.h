#pragma once

// The placement guide: walks the user through ⌘-dragging an app's icon into the zone its
// category names, with the bar expanded so every zone shows and the target ringed. It watches
// the bar after every mouse-up and gap change until the icon sits there, then records the
// placement. A tour does the same for several apps in turn; the anchor repair does it for
// Tarvolo's own items when they stand out of order. Main thread only.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/MainThreadChecker.h"
#include "base/Subscription.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "base/vocabulary/PlacementTypes.h"
#include "platform/Platform.h"
#include "platform/windows/PlacementGuideWindow.h"

namespace tarvolo {

class CategoryStore;
class LocalizationManager;
class MenuBarPlacementLedger;
class StatusBarController;
class StatusItemManager;

class PlacementGuideController {
 public:
  // Frames settle this long after a drop before the bar is read again.
  static constexpr double settleDelay = 0.4;
  // "The icon is in place" stays this long before the next app or the end.
  static constexpr double detectedPause = 1.2;

  enum class Mode { place, tour, anchorRepair };
  enum class Outcome { placed, cancelled, abandoned };

  struct Dependencies {
    platform::Platform& platform;
    LocalizationManager& localization;
    StatusItemManager& catalog;
    CategoryStore& categories;
    MenuBarPlacementLedger& ledger;
    StatusBarController& statusBar;
  };
  // What the app had before the picker chose a zone that needs the guide; a cancel restores it.
  struct Staged {
    std::optional<std::string> category;
    std::optional<bool> hadSavedTier;
  };

  explicit PlacementGuideController(Dependencies dependencies);
  ~PlacementGuideController();
  PlacementGuideController(const PlacementGuideController&) = delete;
  PlacementGuideController& operator=(const PlacementGuideController&) = delete;

  // Guides one app's icon into the zone of `category`. False when the app is not catalogued.
  bool startPlacement(const std::string& bundleID, ItemCategory category, Staged staged = {});
  // Every catalogued app whose icon is out of place, one after the other; with none, the tour
  // shows how the zones work.
  void startTour();
  void startAnchorRepair(bool openedByCollapseAttempt, bool userInitiated);

  void confirm();
  void cancel();
  // The bar collapsed while the guide was up, by someone else's hand.
  void noteBarCollapsed();

  bool isActive() const { return mode_.has_value(); }
  bool isShowingAnchorRepair() const { return mode_ == Mode::anchorRepair; }
  std::optional<Mode> mode() const { return mode_; }
  // The app being guided, lower-cased.
  std::optional<std::string> currentBundleID() const;
  // Runs after every guide, with how it ended.
  void setEndedHandler(std::function<void(Outcome)> handler) { ended_ = std::move(handler); }

 private:
  struct Step {
    std::string bundleID;  // empty: the zones explained, nothing to watch
    std::string name;
    std::optional<std::string> iconPath;
    ItemCategory category = ItemCategory::alwaysVisible;
    std::optional<std::string> pendingCategory;
    bool pendingHadSavedTier = false;
    Staged staged;
  };

  void begin(Mode mode, std::vector<Step> steps);
  void installWatchers();
  void scheduleCheck(double delay);
  void check();
  // How a step came to count as placed: seen in its zone, or on the user's word.
  enum class Evidence { observed, userSaid };
  void stepPlaced(Evidence evidence);
  void advance();
  void finish(Outcome outcome);
  void restoreAfterCancel(const Step& step);
  void render(bool show);
  // Tells the bar whether a guide runs and where its panel and ring stand.
  void tellBar();
  platform::PlacementGuideViewState viewState() const;
  std::optional<Rect> targetRect() const;
  std::optional<bool> inPlace() const;
  WeakHandle<PlacementGuideController> weak() const { return weakFactory_.handle(); }

  platform::Platform& platform_;
  LocalizationManager& localization_;
  StatusItemManager& catalog_;
  CategoryStore& categories_;
  MenuBarPlacementLedger& ledger_;
  StatusBarController& statusBar_;
  MainThreadChecker mainThread_;

  std::optional<Mode> mode_;
  std::vector<Step> steps_;
  std::size_t index_ = 0;
  bool detected_ = false;
  bool collapseWhenDone_ = false;
  bool collapsing_ = false;
  unsigned long long generation_ = 0;
  std::function<void(Outcome)> ended_;

  std::unique_ptr<platform::Registration> mouseUpMonitor_;
  std::unique_ptr<platform::Registration> ownMouseUpMonitor_;
  Subscription gapSubscription_;
  Subscription zonesSubscription_;
  WorkItem checkWork_;
  WorkItem advanceWork_;
  WeakHandleFactory<PlacementGuideController> weakFactory_{this};
};

}  // namespace tarvolo
