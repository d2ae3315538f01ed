#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>

#include "visibility/CollapseLengthSearch.h"

namespace tarvolo::MenuBarVisibilityPolicy {
namespace {

using V = SeparatorLayoutVerdict;

struct SearchRun {
  CollapseLengthSearch search;
  int probes = 0;
};

// Runs a search against a system that lays out up to `cliff` and answers `beyond` past it.
SearchRun runAgainstCliff(CollapseLengthSearch search, double cliff, V beyond = V::ejected) {
  int probes = 0;
  while (auto probe = search.nextProbe()) {
    if (++probes > cliffProbeLimit) break;
    search = search.advancing(*probe <= cliff ? V::laidOut : beyond, *probe);
  }
  return {search, probes};
}

TEST(CollapseLengthSearch, WideScreenReachesPrecisionWithinSevenProbes) {
  const auto start = CollapseLengthSearch::starting(688, std::nullopt);
  EXPECT_EQ(start, (CollapseLengthSearch{.low = 32, .high = 688, .precision = 8}));
  for (double cliff : {32.0, 33.0, 100.0, 359.0, 360.0, 687.0, 688.0, 5000.0}) {
    const auto run = runAgainstCliff(start, cliff);
    EXPECT_LE(run.probes, 7) << cliff;
    EXPECT_TRUE(run.search.isFinished()) << cliff;
  }
}

TEST(CollapseLengthSearch, FloorBecomesTheLowEndButNeverPassesTheBound) {
  EXPECT_EQ(CollapseLengthSearch::starting(688, 32.0).low, 32);
  EXPECT_EQ(CollapseLengthSearch::starting(688, 40.0).low, 40);
  const auto capped = CollapseLengthSearch::starting(688, 800.0);
  EXPECT_EQ(capped.low, 688);
  EXPECT_TRUE(capped.isFinished());
  EXPECT_FALSE(capped.nextProbe().has_value());
}

TEST(CollapseLengthSearch, AdvancingFollowsTheVerdict) {
  const CollapseLengthSearch s{.low = 100, .high = 200};
  EXPECT_EQ(s.nextProbe(), 150);
  EXPECT_EQ((CollapseLengthSearch{.low = 100, .high = 201}).nextProbe(), 150);  // rounds down

  EXPECT_EQ(s.advancing(V::underfold, 150), (CollapseLengthSearch{.low = 150, .high = 200}));
  EXPECT_EQ(s.advancing(V::laidOut, 250), (CollapseLengthSearch{.low = 250, .high = 250}));
  EXPECT_EQ(s.advancing(V::ejected, 150), (CollapseLengthSearch{.low = 100, .high = 150, .hitEjection = true}));
  EXPECT_EQ(s.advancing(V::ejected, 250).high, 200);
  // A menu eviction below what already laid out collapses the range onto low.
  EXPECT_EQ(s.advancing(V::menusEvicted, 90), (CollapseLengthSearch{.low = 100, .high = 100, .hitMenus = true}));
  EXPECT_EQ(s.advancing(V::unread, 150), s);
  EXPECT_EQ(s.advancing(V::untracked, 150), s);
  EXPECT_FALSE(s.advancing(V::menusEvicted, 150).advancing(V::ejected, 120).isMenuLimited());
}

TEST(CollapseLengthSearch, AimsHalfThePrecisionEitherSideOfTheMenusSettleInTwoVerdicts) {
  CollapseLengthSearch aimed = CollapseLengthSearch::starting(1072, std::nullopt);
  aimed.menusMeetLength = 560;
  aimed.aimMargin = aimed.precision / 2;
  for (double cliff : {556.0, 559.0, 560.0, 563.0}) {
    const auto run = runAgainstCliff(aimed, cliff, V::menusEvicted);
    EXPECT_EQ(run.probes, 2) << cliff;
    EXPECT_TRUE(run.search.isFinished()) << cliff;
    EXPECT_TRUE(run.search.isMenuLimited()) << cliff;
    EXPECT_EQ(run.search.low, 556) << cliff;
  }
  // Wherever the limit really is, the verdicts still lead the bracket to it.
  for (double cliff : {300.0, 540.0, 900.0}) {
    const auto run = runAgainstCliff(aimed, cliff);
    EXPECT_TRUE(run.search.isFinished()) << cliff;
    EXPECT_LE(run.search.low, cliff);
    EXPECT_GT(run.search.high, cliff);
  }
}

TEST(CollapseLengthSearch, TheOpeningGoesFirstAndIsTriedOnce) {
  CollapseLengthSearch search = CollapseLengthSearch::starting(1248, std::nullopt);
  search.opening = search.high;
  const auto laidOut = runAgainstCliff(search, 1300);
  EXPECT_EQ(laidOut.probes, 1);
  EXPECT_EQ(laidOut.search.low, 1248);

  EXPECT_EQ(search.nextProbe(), 1248);
  const auto ejected = search.advancing(V::ejected, 1248);
  EXPECT_EQ(ejected.high, 1248);
  EXPECT_FALSE(ejected.opening.has_value());
  EXPECT_EQ(ejected.nextProbe(), 640);
  const auto run = runAgainstCliff(search, 700);
  EXPECT_TRUE(run.search.isFinished());
  EXPECT_LE(run.probes, 1 + 8);
  EXPECT_LE(run.search.low, 700);
  EXPECT_GT(run.search.high, 700);
}

// For any screen and any cliff the search settles within precision below the cliff, in no more
// probes than halving the range needs.
RC_GTEST_PROP(CollapseLengthSearchProperty, ConvergesOntoAnyCliff, ()) {
  const double upper = *rc::gen::inRange(33, 10001);
  const double cliff = *rc::gen::inRange(32, 12000);
  const bool menus = *rc::gen::arbitrary<bool>();
  const auto run = runAgainstCliff(CollapseLengthSearch::starting(upper, std::nullopt), cliff,
                                   menus ? V::menusEvicted : V::ejected);
  const double range = upper - collapseSearchLowerBound;
  const int bound = range <= collapseSearchPrecision ? 0 : static_cast<int>(std::ceil(std::log2(range / 8)));
  RC_ASSERT(run.probes <= bound);
  RC_ASSERT(run.probes <= cliffProbeLimit);
  RC_ASSERT(run.search.isFinished());
  RC_ASSERT(run.search.low <= std::max(cliff, collapseSearchLowerBound));
  if (cliff < upper) RC_ASSERT(run.search.high > cliff);
  if (cliff >= upper) RC_ASSERT(run.search.low >= upper - collapseSearchPrecision);
}

// Whatever the system answers, the range never inverts and low never falls.
RC_GTEST_PROP(CollapseLengthSearchProperty, AnyVerdictsKeepTheRangeOrdered, ()) {
  auto search = CollapseLengthSearch::starting(*rc::gen::inRange(33, 2000), std::nullopt);
  const auto verdicts = *rc::gen::container<std::vector<V>>(
      rc::gen::element(V::laidOut, V::ejected, V::unread, V::untracked, V::shifted, V::unknown, V::menusEvicted,
                       V::underfold));
  for (V verdict : verdicts) {
    const auto probe = search.nextProbe();
    if (!probe) break;
    const auto next = search.advancing(verdict, *probe);
    RC_ASSERT(next.low <= next.high);
    RC_ASSERT(next.low >= search.low);
    RC_ASSERT(next.high - next.low <= search.high - search.low);
    search = next;
  }
}

}  // namespace
}  // namespace tarvolo::MenuBarVisibilityPolicy
