#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "visibility/CollapseRecoveryPolicy.h"
#include "visibility/owners/CliffSearch.h"
#include "visibility/owners/CollapseHost.h"
#include "visibility/owners/CollapseLengthStore.h"
#include "visibility/owners/CollapseScreens.h"
#include "visibility/owners/FoldTails.h"
#include "visibility/owners/SeparatorItems.h"

namespace tarvolo {

// What one screen and frontmost app have spent on recovering collapses. Kept across collapses
// until the screens change or the app launches or quits.
struct CollapseBudget {
  struct BadUpperBound {
    double length = 0;      // the shortest length that failed
    double recordedAt = 0;  // clock seconds
    friend bool operator==(const BadUpperBound&, const BadUpperBound&) = default;
  };
  int stepDowns = 0;
  std::optional<BadUpperBound> badUpperBound;
  bool menusNoticeShown = false;
  bool ejectedNoticeShown = false;

  bool isEmpty() const { return *this == CollapseBudget{}; }
  friend bool operator==(const CollapseBudget&, const CollapseBudget&) = default;
};

// Brings a collapse the system rejected back to a working length without looping: one step
// down or one search per collapse, a length known to be good, and a notice when nothing works.
// Main thread only.
class CollapseRecovery {
 public:
  using Phase = MenuBarVisibilityPolicy::CollapseRecoveryPhase;

  struct Dependencies {
    platform::Platform& platform;
    const SeparatorItems& items;
    const CollapseScreens& screens;
    CollapseLengthStore& lengths;
    FoldTails& fold;
    CliffSearch& cliff;
    CollapseHost& host;
  };

  explicit CollapseRecovery(Dependencies dependencies);
  CollapseRecovery(const CollapseRecovery&) = delete;
  CollapseRecovery& operator=(const CollapseRecovery&) = delete;

  // A new collapse for `bundleID` (the frontmost app) gets a fresh budget of one search and,
  // when `allowOneStep`, one step down.
  void beginCollapseRecovery(const std::optional<std::string>& bundleID, bool allowOneStep);
  // Whether the pair of the collapse screen and `bundleID` has step downs left.
  bool mayStepDown(const std::optional<std::string>& bundleID) const;
  // The verification judged the collapse rejected (ejected, into the menus, or short of the fold).
  void nextCollapseRecoveryStep(MenuBarVisibilityPolicy::SeparatorLayoutVerdict verdict, double length,
                                const SeparatorMeasurement& measurement);
  // The pair's length verified as laid out: its step downs start over.
  void noteLaidOut(const std::string& pairKey);
  void stopCollapseRecovery();

  void clearCollapseBudget(const std::string& bundleID);
  void pruneCollapseBudgets(const std::vector<std::string>& keeping);
  // A collapse the user asked for may show its notices again.
  void resetCollapseNotices();

  // The app the current collapse was made for.
  const std::optional<std::string>& collapseRecoveryTrigger() const { return collapseRecoveryTrigger_; }
  bool collapseRecoverySearch() const { return collapseRecoverySearch_; }
  Phase collapseRecoveryPhase() const { return collapseRecoveryPhase_; }
  std::optional<CollapseBudget::BadUpperBound> badUpperBound(const std::string& pairKey) const;
  const std::map<std::string, CollapseBudget>& collapseBudgets() const { return collapseBudgets_; }

 private:
  void noteRejectedLength(const std::string& pairKey, MenuBarVisibilityPolicy::SeparatorLayoutVerdict verdict,
                          double length);
  // True when the underfold was answered by a tail or held; false when it should search.
  bool answerUnderfold(const std::string& pairKey, double length, const SeparatorMeasurement& measurement);
  void applyRecoveredLength(const std::string& pairKey, double length, double rejected);
  void stopEjectedRecovery(const std::string& pairKey);
  void presentMenusNotice(const std::string& pairKey);
  void tidyBudget(std::map<std::string, CollapseBudget>::iterator budget);

  platform::Platform& platform_;
  const SeparatorItems& items_;
  const CollapseScreens& screens_;
  CollapseLengthStore& lengths_;
  FoldTails& fold_;
  CliffSearch& cliff_;
  CollapseHost& host_;

  Phase collapseRecoveryPhase_ = Phase::observing;
  bool collapseSessionDidStep_ = false;
  bool collapseSessionDidSearch_ = false;
  std::optional<std::string> collapseRecoveryTrigger_;
  bool collapseRecoverySearch_ = false;
  std::map<std::string, CollapseBudget> collapseBudgets_;  // by per-app key
};

}  // namespace tarvolo
