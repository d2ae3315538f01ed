#pragma once

#include <optional>
#include <string>
#include <utility>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "visibility/CollapseLengthSearch.h"
#include "visibility/CollapseReasons.h"
#include "visibility/owners/CollapseAttempt.h"
#include "visibility/owners/CollapseHost.h"
#include "visibility/owners/CollapseLengthChooser.h"
#include "visibility/owners/CollapseLengthStore.h"
#include "visibility/owners/CollapseScreens.h"
#include "visibility/owners/FoldTails.h"
#include "visibility/owners/SeparatorItems.h"

namespace tarvolo {

// What a search tells the engine's other owners, which it does not know.
class CliffSearchListener {
 public:
  virtual ~CliffSearchListener() = default;
  // A new search makes a pending verification of the previous length moot.
  virtual void cliffSearchBegan() = 0;
  // The baseline is the freshest reading of the short separator there is.
  virtual void cliffBaselineRead(const SeparatorMeasurement& measurement) = 0;
  // The search runs because a verified collapse failed.
  virtual bool cliffSearchIsCorrective() const = 0;
};

// Finds the longest length the system still lays out for the normal separator (the cliff) by a
// short bisection of probes on the live separator, and files it with the length store. Every
// step is delayed and carries the generation it was scheduled under. Main thread only.
class CliffSearch {
 public:
  struct Dependencies {
    platform::Platform& platform;
    SeparatorItems& items;
    const CollapseScreens& screens;
    CollapseLengthStore& lengths;
    const FoldTails& fold;
    const CollapseLengthChooser& chooser;
    const PresentedBar& bar;
    CollapseHost& host;
    CliffSearchListener& listener;
  };

  // Whether a search runs although the screens' cliff is known.
  enum class Start {
    unlessKnown,  // only without a cliff for the screens connected now
    forced,       // also with one: a remembered length failed
  };

  explicit CliffSearch(Dependencies dependencies);
  CliffSearch(const CliffSearch&) = delete;
  CliffSearch& operator=(const CliffSearch&) = delete;

  // Whether a search started; one that must wait is owed, or retried shortly.
  bool beginCliffSearch(Start start);
  // After a collapse: searches unless a length is remembered for the attempt's screen and app.
  void startCliffSearchIfNeeded(const CollapseAttempt& attempt);
  // The search that recovery asks for starts from a length already known to hide.
  void setCollapseSearchFloor(std::optional<double> floor) { collapseSearchFloor_ = floor; }
  // Expanding the bar ends a search, which is then owed to the next collapse.
  void abortForExpandedBar();
  // The screens changed under a running search: its probes belong to another arrangement.
  void abortIfScreensChanged();
  // A collapsed bar on a new arrangement needs its own cliff; looks once the apply has run.
  void searchAfterScreenChange();
  // The verification of the first collapse after a search: a search whose length held
  // counts as no give-up.
  void noteCollapseVerified(bool verifiedLayoutA);

  // The last search's result on this screen when the system's ejection length, not the menus,
  // ended it.
  std::optional<double> searchedEjectionCap(const ScreenKey& screen) const;

  bool cliffSearchInFlight() const { return run_.has_value(); }
  // Nothing measured for the current screens and frontmost app: a collapse now has only the
  // unmeasured length, and a search follows it.
  bool collapseLengthUnmeasured() const;
  // Probes made and searches started by every search of this run.
  int cliffProbesMade() const { return tally_.probesMade; }
  int cliffSearchesStarted() const { return tally_.searchesStarted; }
  int cliffGiveUps() const { return tally_.giveUps; }
  int cliffCampaigns() const { return tally_.campaigns; }
  bool cliffSearchGaveUp() const { return cliffSearchGaveUp_; }
  bool cliffSearchOwed() const { return cliffSearchOwed_; }

 private:
  std::optional<std::string> calibrationBlockedReason() const;
  bool remembers(const PerAppKey& pair) const;
  void searchUnlessRemembered(const PerAppKey& pair);
  Start pendingStart() const { return cliffSearchForced_ ? Start::forced : Start::unlessKnown; }
  void readCliffBaseline(unsigned long long generation);
  void retryCliffBaseline(unsigned long long generation, SeparatorReadFailure reason);
  void probeCliff(unsigned long long generation);
  void readCliffProbe(unsigned long long generation, double probe);
  void retryCliffProbe(unsigned long long generation, double probe, SeparatorReadFailure reason);
  void finishCliffSearch(double length);
  void giveUpCliffSearch(StayExpandedReason reason, std::optional<double> applyLength);
  void abortCliffSearch();
  void oweSearchAfterInterruption();
  void tightenCliffCeiling(double edge);
  void aimAtMenus(double edge);
  void scheduleCliffRetryIfNeeded();
  void retryCampaign(int campaign);
  WeakHandle<CliffSearch> weak() const { return weakFactory_.handle(); }

  platform::Platform& platform_;
  SeparatorItems& items_;
  const CollapseScreens& screens_;
  CollapseLengthStore& lengths_;
  const FoldTails& fold_;
  const CollapseLengthChooser& chooser_;
  const PresentedBar& bar_;
  CollapseHost& host_;
  CliffSearchListener& listener_;
  MainThreadChecker mainThread_;

  // One search, from its baseline to its result; absent while none runs.
  struct Run {
    MenuBarVisibilityPolicy::CollapseLengthSearch search;
    ScreenKey screenKey;                  // the arrangement it measures
    std::optional<BundleID> bundleID;  // the app frontmost when it began
    std::optional<double> baselineEdge;
    std::optional<double> baselineLeading;
    std::optional<double> baselineToggle;
    std::optional<double> pinnedGap;
    int unreadRetries = 0;
    int probes = 0;
  };
  // What every search of this run has spent.
  struct Tally {
    int probesMade = 0;
    int searchesStarted = 0;
    int giveUps = 0;
    int campaigns = 0;
  };

  std::optional<Run> run_;
  Tally tally_;
  std::optional<std::pair<ScreenKey, double>> lastEjectionCapped_;
  std::optional<double> collapseSearchFloor_;
  unsigned long long cliffGeneration_ = 0;
  bool cliffSearchOwed_ = false;
  bool cliffSearchForced_ = false;
  bool cliffSearchGaveUp_ = false;
  bool cliffAwaitingVerification_ = false;
  std::optional<std::string> lastCliffDeferral_;

  WorkItem cliffStepWork_;
  WorkItem cliffDeferWork_;
  WorkItem cliffRetryWork_;

  WeakHandleFactory<CliffSearch> weakFactory_{this};
};

}  // namespace tarvolo
