#pragma once

#include <optional>
#include <string>

#include "base/vocabulary/BundleID.h"
#include "platform/Platform.h"
#include "visibility/owners/CollapseBudgets.h"
#include "visibility/owners/CollapseLengthStore.h"
#include "visibility/owners/CollapseScreens.h"
#include "visibility/owners/FoldTails.h"

namespace tarvolo {

// The length a collapse uses now: the remembered one for the collapse screen and the app,
// lengthened by a fold tail, kept below a length that failed, and under the screen's ceiling.
// Holds no state; every answer is read fresh.
class CollapseLengthChooser {
 public:
  struct Dependencies {
    platform::Platform& platform;
    const CollapseScreens& screens;
    const CollapseLengthStore& lengths;
    const FoldTails& fold;
    const CollapseBudgets& budgets;
  };

  explicit CollapseLengthChooser(Dependencies dependencies);

  // The frontmost app's bundle identifier; none without one.
  std::optional<BundleID> frontmostBundleID() const;
  double collapseLength(const std::optional<BundleID>& bundleID) const;
  double lengthForFrontmost() const { return collapseLength(frontmostBundleID()); }

 private:
  platform::Platform& platform_;
  const CollapseScreens& screens_;
  const CollapseLengthStore& lengths_;
  const FoldTails& fold_;
  const CollapseBudgets& budgets_;
};

}  // namespace tarvolo
