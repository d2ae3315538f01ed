#include "visibility/owners/CollapseLengthChooser.h"

#include <algorithm>

#include "visibility/CollapseRecoveryPolicy.h"
#include "visibility/FoldPolicy.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;

CollapseLengthChooser::CollapseLengthChooser(Dependencies dependencies)
    : platform_(dependencies.platform),
      screens_(dependencies.screens),
      lengths_(dependencies.lengths),
      fold_(dependencies.fold),
      budgets_(dependencies.budgets) {}

std::optional<BundleID> CollapseLengthChooser::frontmostBundleID() const {
  auto app = platform_.workspace().frontmostApplication();
  if (!app) return std::nullopt;
  return BundleID::from(app->bundleIdentifier);
}

double CollapseLengthChooser::collapseLength(const std::optional<BundleID>& bundleID) const {
  const PerAppKey key(screens_.collapseScreenKey(), bundleID);
  const double width = screens_.collapseScreenWidth();
  double length = lengths_.perAppLengths().lengthForCollapse(key, lengths_.collapseLowerBound());
  length = Policy::rememberedFoldTail({
      .preferredLength = length,
      .storedTail = fold_.storedTail(key),
      .tailRejected = fold_.tailRejected(key),
      .menuLimited = lengths_.isMenuLimited(key),
      .screenWidth = width,
      .sizing = screens_.sizing(),
  });
  if (auto bad = budgets_.badUpperBound(key)) {
    bool retry = Policy::shouldRetryCollapsedLength({
        .length = length,
        .badUpperBound = bad->length,
        .badUpperBoundRecordedAt = bad->recordedAt,
        .now = platform_.clock().now(),
    });
    if (!retry) {
      auto below = Policy::lengthAfterBadUpperBound({
          .current = length,
          .badUpperBound = bad->length,
          .knownGoodMax = lengths_.perAppLengths().knownGoodMax(key),
      });
      if (below) length = *below;
    }
  }
  return std::min(length, screens_.tailCeiling());
}

}  // namespace tarvolo
