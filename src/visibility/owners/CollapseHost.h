#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "visibility/CollapseReasons.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

// What the collapse-length engine needs of the state machine that owns the presentation: what is
// shown, what was last applied, and the few transitions the engine may ask for.
class CollapseHost {
 public:
  virtual ~CollapseHost() = default;

  virtual MenuBarPresentation currentPresentation() const = 0;
  virtual std::optional<std::string> frontmostBundleID() const = 0;
  virtual double collapseLength(const std::optional<std::string>& bundleID) const = 0;
  virtual std::optional<double> lastAppliedNormalLength() const = 0;
  virtual std::optional<double> lastAppliedHiddenLength() const = 0;
  // Whether the own items stand in order; absent while that cannot be told.
  virtual std::optional<bool> readAlwaysVisibleAnchor() const = 0;
  virtual bool menuIsTracking() const = 0;
  virtual std::string localizedText(std::string_view key) const = 0;

  // Sets the lengths for the current presentation again, now or coalesced.
  virtual void reapplyVisibility() = 0;
  virtual void scheduleApply() = 0;
  virtual void collapseBar(CollapseReason reason) = 0;
  virtual void dropToNormalExpandedShelf() = 0;
  virtual void stayExpandedBecauseFoldingFailed(StayExpandedReason reason, bool offerAutomaticRepair) = 0;
  // A reading showed the own items in order.
  virtual void noteAlwaysVisibleAnchorReady() = 0;
  virtual void publishFoldingEffective() = 0;
};

}  // namespace tarvolo
