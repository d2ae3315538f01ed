#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

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

// The recovery budgets of every pair of screen and frontmost app, by per-app key: read by the
// length a collapse uses, spent by the recovery. Main thread only.
class CollapseBudgets {
 public:
  // Whether the pair of `pairKey` has step downs left.
  bool mayStepDown(const std::string& pairKey) const;
  std::optional<CollapseBudget::BadUpperBound> badUpperBound(const std::string& pairKey) const;
  // The pair's budget, made on first use.
  CollapseBudget& operator[](const std::string& pairKey) { return budgets_[pairKey]; }

  // The pair's length verified as laid out: its step downs start over.
  void noteLaidOut(const std::string& pairKey);
  // An app launched or quit: its budgets go, whatever the screen.
  void clearCollapseBudget(const std::string& bundleID);
  void pruneCollapseBudgets(const std::vector<std::string>& keepingScreens);
  // A collapse the user asked for may show its notices again.
  void resetCollapseNotices();

  const std::map<std::string, CollapseBudget>& collapseBudgets() const { return budgets_; }

 private:
  std::map<std::string, CollapseBudget> budgets_;
};

}  // namespace tarvolo
