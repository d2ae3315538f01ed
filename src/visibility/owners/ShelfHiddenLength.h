#pragma once

#include <optional>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"
#include "visibility/owners/CollapseAttempt.h"
#include "visibility/owners/CollapseHost.h"
#include "visibility/owners/CollapseLengthChooser.h"
#include "visibility/owners/SeparatorItems.h"

namespace tarvolo {

// The always-hidden separator while the shelf presentation is shown: on newer systems it takes a
// length of its own, sized from the distance between the two separators, and steps down when the
// system ejects it. Main thread only.
class ShelfHiddenLength {
 public:
  struct Dependencies {
    platform::Platform& platform;
    const SeparatorItems& items;
    const CollapseLengthChooser& chooser;
    const PresentedBar& bar;
    CollapseHost& host;
  };

  explicit ShelfHiddenLength(Dependencies dependencies);
  ShelfHiddenLength(const ShelfHiddenLength&) = delete;
  ShelfHiddenLength& operator=(const ShelfHiddenLength&) = delete;

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
  // The longest length the always-hidden separator may take in the shelf presentation.
  std::optional<double> shelfHiddenCap() const { return shelfHiddenCap_; }

  // Before a collapse: a grown room lifts the cap.
  void noteShelfCapBeforeCollapse(const CollapseAttempt& attempt);
  void scheduleShelfHiddenVerify();

 private:
  // The room left of the always-hidden separator when a collapse would take `collapseLength`.
  std::optional<double> shelfHiddenRoom(double collapseLength) const;
  void verifyShelfHiddenLength(unsigned long long generation);
  void stepDownShelfHidden(double ejected);
  WeakHandle<ShelfHiddenLength> weak() const { return weakFactory_.handle(); }

  platform::Platform& platform_;
  const SeparatorItems& items_;
  const CollapseLengthChooser& chooser_;
  const PresentedBar& bar_;
  CollapseHost& host_;

  MainThreadChecker mainThread_;
  std::optional<double> dividerDistance_;
  std::optional<double> shelfHiddenCap_;
  std::optional<double> shelfHiddenAccepted_;
  std::optional<double> shelfHiddenEjected_;
  std::optional<double> shelfCapRoom_;
  int shelfStepDowns_ = 0;
  unsigned long long shelfVerifyGeneration_ = 0;
  std::optional<SeparatorReference> shelfHiddenReference_;
  WorkItem shelfVerifyWork_;

  WeakHandleFactory<ShelfHiddenLength> weakFactory_{this};
};

}  // namespace tarvolo
