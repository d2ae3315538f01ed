#include <gtest/gtest.h>

#include "visibility/CollapseVerdicts.h"

namespace tarvolo::MenuBarVisibilityPolicy {
namespace {

using V = SeparatorLayoutVerdict;

TEST(MeasurementFreshness, ButtonWithinSlackOfTheRequestIsFresh) {
  // R = 600: slack 72.
  EXPECT_TRUE(measurementIsFresh(0, 530, 600));
  EXPECT_TRUE(measurementIsFresh(0, 528, 600));
  EXPECT_FALSE(measurementIsFresh(0, 527, 600));
  // Below R = 333 the slack is the 40-point floor.
  EXPECT_TRUE(measurementIsFresh(0, 60, 100));
  EXPECT_FALSE(measurementIsFresh(0, 59, 100));
}

TEST(MeasurementFreshness, WindowWiderThanThreeButtonsBelongsToAnEarlierLayout) {
  EXPECT_TRUE(measurementIsFresh(600, 0, 600));          // no button: the window decides
  EXPECT_FALSE(measurementIsFresh(673, 0, 600));
  EXPECT_TRUE(measurementIsFresh(600, 200, 600));        // 3 x 200 = 600
  EXPECT_FALSE(measurementIsFresh(601, 200, 600));
  EXPECT_TRUE(measurementIsFresh(200, 60, 200));         // 3 x 60 <= 200: small windows pass
  EXPECT_FALSE(measurementIsFresh(201, 60, 200));
}

// A fresh probe of R = 600 whose edges the tests then move.
ClassifySeparatorLayoutInput probe(double d, std::optional<double> t = 0.0) {
  ClassifySeparatorLayoutInput in{.baselineArrowFacingEdge = 1000,
                                  .probedArrowFacingEdge = 1000 + d,
                                  .windowWidth = 600,
                                  .buttonWidth = 600,
                                  .requestedLength = 600,
                                  .pinTolerance = 4,
                                  .baselineLength = 16};
  if (t) {
    in.baselineToggleAnchor = 1100;
    in.probedToggleAnchor = 1100 + *t;
  }
  return in;
}

TEST(ClassifySeparatorLayout, EdgeMovingLeftIntoTheMenusBoundsInclusive) {
  EXPECT_EQ(classifySeparatorLayout(probe(-20)), V::menusEvicted);
  EXPECT_EQ(classifySeparatorLayout(probe(-45)), V::menusEvicted);
  EXPECT_EQ(classifySeparatorLayout(probe(-19.9)), V::ejected);  // apart from the toggle
  EXPECT_EQ(classifySeparatorLayout(probe(-45.1)), V::ejected);
  EXPECT_EQ(classifySeparatorLayout(probe(-30, 8)), V::menusEvicted);
  EXPECT_EQ(classifySeparatorLayout(probe(-30, 8.1)), V::ejected);
  EXPECT_EQ(classifySeparatorLayout(probe(+30)), V::ejected);  // rightward is never the menus
}

TEST(ClassifySeparatorLayout, ToggleAndSeparatorMovingTogetherIsAShift) {
  EXPECT_EQ(classifySeparatorLayout(probe(-330)), V::ejected);  // 0.55 x 600
  EXPECT_EQ(classifySeparatorLayout(probe(-300, -297)), V::shifted);
  EXPECT_EQ(classifySeparatorLayout(probe(-300, -295.9)), V::ejected);
  EXPECT_EQ(classifySeparatorLayout(probe(3, 0)), V::laidOut);
}

TEST(ClassifySeparatorLayout, WithoutToggleOnlyTheEdgeCounts) {
  EXPECT_EQ(classifySeparatorLayout(probe(4, std::nullopt)), V::laidOut);
  EXPECT_EQ(classifySeparatorLayout(probe(-4.1, std::nullopt)), V::ejected);
  auto oneAnchor = probe(-30);
  oneAnchor.probedToggleAnchor.reset();
  EXPECT_EQ(classifySeparatorLayout(oneAnchor), V::ejected);  // not menusEvicted without both anchors
}

TEST(ClassifySeparatorLayout, StaleMeasurementIsUnreadWhateverTheEdges) {
  auto in = probe(-30);
  in.buttonWidth = 100;
  in.windowWidth = 800;
  EXPECT_EQ(classifySeparatorLayout(in), V::unread);
}

TEST(ClassifySeparatorLayout, FarEdgeMustFollowMostOfTheRequest) {
  auto in = probe(0);
  in.baselineLeadingEdge = 1000;
  // Asked to grow 584; 45 % of that is 262.8.
  in.probedLeadingEdge = 1000 - 262.7;
  EXPECT_EQ(classifySeparatorLayout(in), V::untracked);
  in.probedLeadingEdge = 1000 - 262.9;
  EXPECT_EQ(classifySeparatorLayout(in), V::laidOut);
  // A request barely beyond the baseline is within the pin tolerance and cannot be judged.
  in.probedLeadingEdge = 1000;
  in.requestedLength = 24;
  in.windowWidth = in.buttonWidth = 24;
  EXPECT_EQ(classifySeparatorLayout(in), V::laidOut);
  in.requestedLength = in.windowWidth = in.buttonWidth = 24.5;
  EXPECT_EQ(classifySeparatorLayout(in), V::untracked);
}

CollapseGapVerdictInput gap(double g, double requested = 100, double pinTolerance = 4) {
  return {.knownGoodGap = 50, .observedGap = 50 + g, .requestedLength = requested, .pinTolerance = pinTolerance};
}

TEST(CollapseGapVerdict, GrowingGapMeansTheEdgeMovedLeft) {
  EXPECT_EQ(collapseGapVerdict(gap(20)), V::menusEvicted);
  EXPECT_EQ(collapseGapVerdict(gap(45)), V::menusEvicted);
  EXPECT_EQ(collapseGapVerdict(gap(-20)), V::shifted);
  EXPECT_EQ(collapseGapVerdict(gap(50)), V::ejected);  // through g > 45, below 0.55 x 100
  EXPECT_EQ(collapseGapVerdict(gap(10)), V::shifted);
  EXPECT_EQ(collapseGapVerdict(gap(-30)), V::shifted);
  EXPECT_EQ(collapseGapVerdict(gap(3)), V::laidOut);
  EXPECT_EQ(collapseGapVerdict(gap(-4)), V::laidOut);
  // The ejection jump outranks a generous pin tolerance.
  EXPECT_EQ(collapseGapVerdict(gap(56, 100, 100)), V::ejected);
  EXPECT_EQ(collapseGapVerdict(gap(15, 100, 100)), V::laidOut);
}

TEST(CollapseGapVerdict, OnlyAFullyReadStaleMeasurementIsUnread) {
  auto in = gap(3);
  in.windowWidth = 800;
  EXPECT_EQ(collapseGapVerdict(in), V::laidOut);
  in.buttonWidth = 10;
  EXPECT_EQ(collapseGapVerdict(in), V::unread);
}

TEST(FoldAccounting, OnlyHoldingLayoutsBecomeUnderfold) {
  EXPECT_EQ(menusRightForFold(std::nullopt, 12), 12);
  EXPECT_EQ(menusRightForFold(5, 12), 12);
  EXPECT_EQ(menusRightForFold(300, 12), 300);
  EXPECT_EQ(verdictAccountingForFold(V::laidOut, 308, 300), V::laidOut);
  EXPECT_EQ(verdictAccountingForFold(V::laidOut, 308.5, 300), V::underfold);
  EXPECT_EQ(verdictAccountingForFold(V::shifted, 400, 300), V::underfold);
  for (V verdict : {V::ejected, V::unread, V::untracked, V::unknown, V::menusEvicted, V::underfold}) {
    EXPECT_EQ(verdictAccountingForFold(verdict, 5000, 0), verdict) << rawValue(verdict);
    EXPECT_EQ(verdictAccountingForFold(verdict, -5000, 0), verdict) << rawValue(verdict);
  }
}

// A gap-less judgement is only "unknown" when neither a short reference nor a known gap is at hand.
TEST(GapBookkeeping, UnknownOnlyWithoutReferenceOrGapAndLayoutAOnlyWithFreshReference) {
  EXPECT_EQ(verdictWhenGapUnknown(ShortReference::none, GapKnowledge::unknown), V::unknown);
  EXPECT_EQ(verdictWhenGapUnknown(ShortReference::fresh, GapKnowledge::unknown), std::nullopt);
  EXPECT_EQ(verdictWhenGapUnknown(ShortReference::none, GapKnowledge::known), std::nullopt);
  EXPECT_TRUE(recordsVerifiedLayoutA(V::laidOut, ShortReference::fresh));
  EXPECT_FALSE(recordsVerifiedLayoutA(V::laidOut, ShortReference::none));
  EXPECT_FALSE(recordsVerifiedLayoutA(V::shifted, ShortReference::fresh));
}

TEST(GapBookkeeping, ACachedLengthGoesWithTheScreensOrAProvenEjectionOutsideADrag) {
  EXPECT_TRUE(shouldInvalidateCachedLength(ScreenMatch::other, Ejection::unproven, Drag::inProgress));
  EXPECT_TRUE(shouldInvalidateCachedLength(ScreenMatch::same, Ejection::proven, Drag::none));
  EXPECT_FALSE(shouldInvalidateCachedLength(ScreenMatch::same, Ejection::proven, Drag::inProgress));
  EXPECT_FALSE(shouldInvalidateCachedLength(ScreenMatch::same, Ejection::unproven, Drag::none));
}

}  // namespace
}  // namespace tarvolo::MenuBarVisibilityPolicy
