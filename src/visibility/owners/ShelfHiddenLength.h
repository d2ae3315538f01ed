#pragma once

#include <map>
#include <memory>
#include <vector>
#include <optional>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "base/vocabulary/ScreenKey.h"
#include "platform/Platform.h"
#include "visibility/CollapseLengthSearch.h"
#include "visibility/owners/CollapseAttempt.h"
#include "visibility/owners/CollapseHost.h"
#include "visibility/owners/CollapseLengthChooser.h"
#include "visibility/owners/CollapseScreens.h"
#include "visibility/owners/HiddenPlaceholder.h"
#include "visibility/owners/SeparatorItems.h"

namespace tarvolo {

// The always-hidden separator while the normal expanded bar shows. It must reach the app's
// menus, or the always-hidden icons peek out, and stop short of them, or the system drops menu
// titles (or ejects it): a narrow window that moves with the frontmost app. Every apply of that
// bar is measured like a collapse; a length that fails is searched between the expanded length
// and the room left of the hidden zone, and the result is remembered per screen and app.
// Main thread only.
class ShelfHiddenLength {
 public:
  struct Dependencies {
    platform::Platform& platform;
    const SeparatorItems& items;
    const CollapseScreens& screens;
    const CollapseLengthChooser& chooser;
    const PresentedBar& bar;
    // The item that continues the always-hidden separator where the system drops long items.
    const std::unique_ptr<HiddenPlaceholder>& hiddenPlaceholder;
    CollapseHost& host;
  };

  explicit ShelfHiddenLength(Dependencies dependencies);
  ShelfHiddenLength(const ShelfHiddenLength&) = delete;
  ShelfHiddenLength& operator=(const ShelfHiddenLength&) = delete;

  void restoreRememberedLengths();
  // Forgets what was learnt on screens no longer connected; says whether anything went.
  bool pruneToScreens(const std::vector<ScreenKey>& keeping);
  void persistRememberedLengths();

  // Reads the distance between the separators while both are short, and with it the reference
  // a lengthened always-hidden separator is judged against.
  void captureDividerDistanceIfShort();
  void forgetReference() { shelfHiddenReference_.reset(); }
  void forgetDividerDistance() { dividerDistance_.reset(); }
  std::optional<double> dividerDistance() const { return dividerDistance_; }
  // Where the always-hidden separator's arrow-facing edge stands on an expanded bar; lengthening
  // it leaves that edge in place.
  std::optional<double> arrowFacingEdge() const {
    return shelfHiddenReference_ ? std::optional<double>(shelfHiddenReference_->arrowFacingEdge) : std::nullopt;
  }

  // The length the always-hidden separator takes on the normal expanded bar now: a probe while
  // searching, else what was learnt for the screen and the frontmost app, else `planned`.
  double lengthForShelf(double planned) const;
  std::optional<double> rememberedLength(const PerAppKey& key) const;
  const std::map<PerAppKey, double>& rememberedLengths() const { return remembered_; }
  bool searchInFlight() const { return run_.has_value(); }
  int probesMade() const { return probesMade_; }

  // The normal expanded bar was applied: it is measured once it has settled.
  void scheduleShelfHiddenVerify();

 private:
  struct Run {
    MenuBarVisibilityPolicy::CollapseLengthSearch search;
    PerAppKey key;
    unsigned long long generation = 0;
    double probe = 0;
    int unreadRetries = 0;
    int probes = 0;
    bool classified = false;  // some probe gave a verdict
    bool lowFallsShort = false;  // the longest length that held did not reach the menus
    // Only the short reference is read, then the remembered length is applied and measured.
    bool referenceOnly = false;
  };

  PerAppKey currentKey() const;
  // One reading of the always-hidden separator at `length`, judged against the short reference
  // and against the menus' right end.
  MenuBarVisibilityPolicy::SeparatorLayoutVerdict judge(double length) const;
  void verifyShelfHiddenLength(unsigned long long generation);
  void beginSearch(const PerAppKey& key, bool referenceOnly = false);
  void readBaseline(unsigned long long generation, int attempt);
  void probe(unsigned long long generation);
  void readProbe(unsigned long long generation);
  void finishSearch();
  void giveUpSearch(const char* reason);
  WeakHandle<ShelfHiddenLength> weak() const { return weakFactory_.handle(); }

  platform::Platform& platform_;
  const SeparatorItems& items_;
  const CollapseScreens& screens_;
  const CollapseLengthChooser& chooser_;
  const PresentedBar& bar_;
  const std::unique_ptr<HiddenPlaceholder>& hiddenPlaceholder_;
  CollapseHost& host_;

  MainThreadChecker mainThread_;
  std::optional<double> dividerDistance_;
  std::optional<SeparatorReference> shelfHiddenReference_;
  std::map<PerAppKey, double> remembered_;
  // Remembered lengths that stop short of the menus because no longer one held: as far as the
  // bar lets them reach, so falling short is no reason to search again.
  std::map<PerAppKey, double> shortOfMenus_;
  // Searches per screen and app this run: a pair whose searches keep failing stops searching.
  std::map<PerAppKey, int> searchesByKey_;
  std::optional<Run> run_;
  unsigned long long shelfVerifyGeneration_ = 0;
  unsigned long long searchGeneration_ = 0;
  int probesMade_ = 0;
  // The bar being verified was planned knowing the distance between the separators.
  bool plannedWithDistance_ = false;
  // A short reading failed: the bar is not measured again until one succeeds elsewhere.
  bool referenceUnreadable_ = false;
  WorkItem shelfVerifyWork_;
  WorkItem searchWork_;

  WeakHandleFactory<ShelfHiddenLength> weakFactory_{this};
};

}  // namespace tarvolo
