#pragma once

#include "visibility/CollapseReasons.h"

namespace tarvolo {

// Whether a bar that stays expanded offers to collapse again from its notice.
enum class RepairOffer {
  none,
  collapseAgain,  // measuring again later may succeed where this attempt could not
};

// What the collapse-length engine asks of the state machine that holds it: only requests. What
// it needs to know it reads from the platform, its own stores and the presented bar.
class CollapseHost {
 public:
  virtual ~CollapseHost() = default;

  // Sets the lengths for the current presentation again, now or coalesced.
  virtual void reapplyVisibility() = 0;
  virtual void scheduleApply() = 0;
  virtual void collapseBar(CollapseReason reason) = 0;
  virtual void dropToNormalExpandedShelf() = 0;
  virtual void stayExpandedBecauseFoldingFailed(StayExpandedReason reason, RepairOffer offer) = 0;
  // A reading showed the own items in order.
  virtual void noteAlwaysVisibleAnchorReady() = 0;
  virtual void publishFoldingEffective() = 0;
  // A gap between the own items moved: an icon arrived, left or was dragged.
  virtual void menuBarGapsChanged() = 0;
};

}  // namespace tarvolo
