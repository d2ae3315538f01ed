#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/vocabulary/ScreenKey.h"

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

// The recovery budgets of every pair of screen and frontmost app: read by the length a collapse
// uses, spent by the recovery. Main thread only.
class CollapseBudgets {
 public:
  // Whether the pair has step downs left.
  bool mayStepDown(const PerAppKey& pair) const;
  std::optional<CollapseBudget::BadUpperBound> badUpperBound(const PerAppKey& pair) const;
  // The pair's budget, made on first use.
  CollapseBudget& operator[](const PerAppKey& pair) { return budgets_[pair]; }

  // The pair's length verified as laid out: its step downs start over.
  void noteLaidOut(const PerAppKey& pair);
  // An app launched or quit: its budgets go, whatever the screen. An app without an identifier
  // clears what was filed under none.
  void clearCollapseBudget(const std::optional<BundleID>& bundleID);
  void pruneCollapseBudgets(const std::vector<ScreenKey>& keepingScreens);
  // A collapse the user asked for may show its notices again.
  void resetCollapseNotices();

  const std::map<PerAppKey, CollapseBudget>& collapseBudgets() const { return budgets_; }

 private:
  std::map<PerAppKey, CollapseBudget> budgets_;
};

}  // namespace tarvolo
