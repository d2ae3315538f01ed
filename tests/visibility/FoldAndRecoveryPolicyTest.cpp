#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "visibility/CollapseRecoveryPolicy.h"
#include "visibility/FoldPolicy.h"

namespace tarvolo {
namespace {

namespace P = MenuBarVisibilityPolicy;
namespace F = FoldPlaceholderPolicy;
using V = P::SeparatorLayoutVerdict;
using Phase = P::CollapseRecoveryPhase;
using Action = P::CollapseRecoveryAction;
using Presentation = MenuBarPresentation;

// ---- Fold placeholder

TEST(FoldPlaceholder, CollapsedLengthIsBoundedByTheRoomAndAThirdOfTheScreen) {
  EXPECT_EQ(F::collapsedLength(140, 100, 1440), 16);
  EXPECT_EQ(F::collapsedLength(700, 100, 1440), 480);
  EXPECT_EQ(F::collapsedLength(400.9, 100, 1440), 248);  // 300.9 - 52, rounded down
  EXPECT_EQ(F::collapsedLength(700, 100, 30), 16);
  // Without an overflow chevron only the safety margin is kept free: it ends 8 pt short.
  EXPECT_EQ(F::collapsedLengthWithoutChevron(639, 300, 6016), 331);
  EXPECT_EQ(F::collapsedLengthWithoutChevron(110, 100, 1440), 16);
  EXPECT_EQ(F::collapsedLengthWithoutChevron(4000, 100, 1440), 480);
}

TEST(FoldPlaceholder, OlderSystemsUseItOnlyWhereTheEjectionLengthStopsTheCollapse) {
  EXPECT_FALSE(F::isActive(std::nullopt, 15, false));
  EXPECT_TRUE(F::isActive(std::nullopt, 15, true));
  EXPECT_FALSE(F::isActive(false, 15, true));
  EXPECT_TRUE(F::isActive(std::nullopt, 27, false));
  EXPECT_EQ(F::isActive(true, 27, false), F::isActive(true, 27));
}

TEST(FoldPlaceholder, LengthPerPresentationAndPlacement) {
  EXPECT_EQ(F::length(Presentation::collapsed, 200, std::nullopt), 4);
  EXPECT_EQ(F::length(Presentation::collapsed, 200, true), 200);
  EXPECT_EQ(F::length(Presentation::collapsed, 200, false), 4);
  EXPECT_EQ(F::length(Presentation::shelfExpanded, 200, true), 4);
  EXPECT_EQ(F::length(Presentation::deepExpanded, 200, false), 18);
}

TEST(FoldPlaceholder, PlacementAgainstTheFold) {
  auto at = [](double maxX, std::optional<double> hiddenMaxX = std::nullopt) {
    return F::placement({.placeholderMinX = maxX - 4, .placeholderMaxX = maxX, .foldMinX = 500,
                         .hiddenMaxX = hiddenMaxX});
  };
  EXPECT_EQ(at(490), F::Placement::adjacent());
  EXPECT_EQ(at(489.5), F::Placement::separated(10.5));
  EXPECT_EQ(at(504), F::Placement::rightOfFold());  // its left edge sits on the fold
  EXPECT_EQ(at(300, 400), F::Placement::leftOfHidden());
  EXPECT_EQ(at(450, 400), F::Placement::separated(50));
  EXPECT_EQ(F::placement({.placeholderMinX = 1, .placeholderMaxX = 5}), F::Placement::unread());
}

TEST(FoldPlaceholder, CollapsedReadingOnlyConfirmsWhatIsBelieved) {
  EXPECT_TRUE(F::collapsedReadingConfirms(true, F::Placement::adjacent()));
  EXPECT_FALSE(F::collapsedReadingConfirms(false, F::Placement::adjacent()));
  EXPECT_FALSE(F::collapsedReadingConfirms(std::nullopt, F::Placement::adjacent()));
}

// ---- Fold tail

P::CollapseTailExtraInput tail(double separatorLeading, double length = 690) {
  return {.length = length, .separatorLeading = separatorLeading, .menusRight = 100, .upperBound = 688,
          .screenWidth = 1440, .slack = 8, .margin = 8};
}

TEST(HiddenPlaceholder, ReachesPastTheScreenEdgeElseStopsShortOfTheMenus) {
  using HiddenPlaceholderPolicy::shelfLength;
  EXPECT_FALSE(HiddenPlaceholderPolicy::isActive(26));
  EXPECT_TRUE(HiddenPlaceholderPolicy::isActive(27));
  // The separator already reaches the screen's edge: nothing to add.
  EXPECT_EQ(shelfLength({.hiddenLeadingEdge = -4, .screenMinX = 0, .menusRight = 330, .cap = 1264}), 0);
  // Within the cap the far edge goes past the screen's left edge, clearing every menu title.
  EXPECT_EQ(shelfLength({.hiddenLeadingEdge = 1087, .screenMinX = 0, .menusRight = 330, .cap = 1264}), 1095);
  EXPECT_EQ(shelfLength({.hiddenLeadingEdge = 3587, .screenMinX = 2560, .menusRight = 330, .cap = 1264}), 1035);
  // Beyond it the item stops short of the menus, never longer than the system lays out.
  EXPECT_EQ(shelfLength({.hiddenLeadingEdge = 2000, .screenMinX = 0, .menusRight = 900, .cap = 1264}), 1048);
  EXPECT_EQ(shelfLength({.hiddenLeadingEdge = 3000, .screenMinX = 0, .menusRight = 900, .cap = 1264}), 1264);
  EXPECT_EQ(shelfLength({.hiddenLeadingEdge = 2000, .screenMinX = 0, .menusRight = std::nullopt, .cap = 1264}), 0);
  EXPECT_EQ(shelfLength({.hiddenLeadingEdge = 1400, .screenMinX = 0, .menusRight = 1380, .cap = 1264}), 0);
}

TEST(FoldTail, ExtraCoversTheFoldUpToTheTailCeiling) {
  EXPECT_FALSE(P::collapseTailExtra(tail(109)).has_value());  // 1 point uncovered is noise
  EXPECT_EQ(P::collapseTailExtra(tail(110)), 2);
  EXPECT_EQ(P::collapseTailExtra(tail(200)), 14);  // ceiling 704 - 690
  EXPECT_FALSE(P::collapseTailExtra(tail(200, 679.9)).has_value());  // still room for a search
  EXPECT_EQ(P::collapseTailExtra(tail(200, 680)), 24);
  EXPECT_FALSE(P::collapseTailExtra(tail(200, 703.5)).has_value());
  auto menuLimited = tail(200);
  menuLimited.menuLimited = true;
  EXPECT_FALSE(P::collapseTailExtra(menuLimited).has_value());
}

TEST(FoldTail, RememberedTailOnlyWhenItStillFitsAndReaches) {
  const P::RememberedFoldTailInput base{.preferredLength = 650, .storedTail = 700, .screenWidth = 1440};
  EXPECT_EQ(P::rememberedFoldTail(base), 700);
  auto in = base;
  in.storedTail = 704.5;
  EXPECT_EQ(P::rememberedFoldTail(in), 704.5);
  in.storedTail = 704.6;
  EXPECT_EQ(P::rememberedFoldTail(in), 650);
  in.storedTail = 640;
  EXPECT_EQ(P::rememberedFoldTail(in), 650);
  in = base;
  in.tailRejected = true;
  EXPECT_EQ(P::rememberedFoldTail(in), 650);
}

TEST(FoldTail, UnderfoldSearchesOnlyWellBelowTheBound) {
  EXPECT_TRUE(P::underfoldShouldSearch({.length = 679.9, .upperBound = 688, .margin = 8}));
  EXPECT_FALSE(P::underfoldShouldSearch({.length = 680, .upperBound = 688, .margin = 8}));
  EXPECT_FALSE(P::underfoldShouldSearch({.length = 300, .upperBound = 688, .margin = 8, .menuLimited = true}));
  EXPECT_FALSE(P::underfoldShouldSearch({.length = 300, .upperBound = 688, .margin = 8, .searchAlreadyRan = true}));
}

// ---- Collapse recovery

P::NextCollapseRecoveryInput rejected(V verdict, double length, std::optional<double> knownGoodMin = std::nullopt) {
  return {.verdict = verdict, .length = length, .knownGoodMin = knownGoodMin};
}

TEST(CollapseRecovery, MenuEvictionStepsDownFirst) {
  EXPECT_EQ(P::nextCollapseRecovery(rejected(V::menusEvicted, 100)),
            (P::CollapseRecoveryDecision{Phase::stepped, Action::stepDown(84)}));
  // 40 - 16 lands on the floor, which hides nothing: the screen's good minimum instead.
  EXPECT_EQ(P::nextCollapseRecovery(rejected(V::menusEvicted, 40, 36)),
            (P::CollapseRecoveryDecision{Phase::stepped, Action::applyKnownGood(36)}));
  EXPECT_EQ(P::nextCollapseRecovery(rejected(V::menusEvicted, 40)),
            (P::CollapseRecoveryDecision{Phase::searched, Action::search()}));
  EXPECT_EQ(P::nextCollapseRecovery(rejected(V::menusEvicted, 33)),
            (P::CollapseRecoveryDecision{Phase::searched, Action::search()}));  // no step of under half a point
}

TEST(CollapseRecovery, EjectionGoesToKnownGoodOrSearchThenCaps) {
  EXPECT_EQ(P::nextCollapseRecovery(rejected(V::ejected, 600, 500)),
            (P::CollapseRecoveryDecision{Phase::searched, Action::applyKnownGood(500)}));
  // A minimum within a point of the rejected length is no way out.
  EXPECT_EQ(P::nextCollapseRecovery(rejected(V::ejected, 501, 500)),
            (P::CollapseRecoveryDecision{Phase::searched, Action::search()}));
  auto in = rejected(V::ejected, 600);
  in.phase = Phase::searched;
  EXPECT_EQ(P::nextCollapseRecovery(in), (P::CollapseRecoveryDecision{Phase::capped, Action::noticeEjected()}));
  in = rejected(V::menusEvicted, 600);
  in.sessionDidStep = in.sessionDidSearch = true;
  EXPECT_EQ(P::nextCollapseRecovery(in), (P::CollapseRecoveryDecision{Phase::capped, Action::noticeMenus()}));
  in = rejected(V::menusEvicted, 600);
  in.phase = Phase::stepped;
  EXPECT_EQ(P::nextCollapseRecovery(in), (P::CollapseRecoveryDecision{Phase::searched, Action::search()}));
}

TEST(CollapseRecovery, HoldingVerdictsAndUnderfold) {
  for (V verdict : {V::laidOut, V::unread, V::untracked, V::shifted, V::unknown}) {
    auto in = rejected(verdict, 600);
    in.phase = Phase::stepped;
    EXPECT_EQ(P::nextCollapseRecovery(in), (P::CollapseRecoveryDecision{Phase::stepped, Action::hold()}));
  }
  EXPECT_EQ(P::nextCollapseRecovery(rejected(V::underfold, 600)),
            (P::CollapseRecoveryDecision{Phase::searched, Action::search()}));
  auto in = rejected(V::underfold, 600);
  in.sessionDidSearch = true;
  EXPECT_EQ(P::nextCollapseRecovery(in), (P::CollapseRecoveryDecision{Phase::observing, Action::hold()}));
  in = rejected(V::underfold, 600);
  in.phase = Phase::capped;
  EXPECT_EQ(P::nextCollapseRecovery(in), (P::CollapseRecoveryDecision{Phase::capped, Action::hold()}));
}

// However the system keeps rejecting, one collapse reaches a notice within three rejections and
// never steps to a length that hides nothing or is not shorter.
RC_GTEST_PROP(CollapseRecoveryProperty, RepeatedRejectionsEndInANotice, ()) {
  P::NextCollapseRecoveryInput in{.length = double(*rc::gen::inRange(33, 2000))};
  if (*rc::gen::arbitrary<bool>()) in.knownGoodMin = double(*rc::gen::inRange(20, 2000));
  for (int rejection = 0; rejection < 3; ++rejection) {
    in.verdict = *rc::gen::element(V::ejected, V::menusEvicted);
    const auto decision = P::nextCollapseRecovery(in);
    RC_ASSERT(decision.phase >= in.phase);
    if (decision.action.length) {
      RC_ASSERT(*decision.action.length > 32);
      RC_ASSERT(*decision.action.length < in.length);
      in.length = *decision.action.length;
    }
    if (decision.phase == Phase::capped) return;
    in.sessionDidStep |= decision.phase == Phase::stepped;
    in.sessionDidSearch |= decision.phase == Phase::searched;
    in.phase = decision.phase;
  }
  RC_FAIL("no notice after three rejections");
}

TEST(CollapseRecoveryRules, KnownGoodLengthsMustBeClearlyShorterAndHideSomething) {
  EXPECT_EQ(P::safeCollapseLength(600, 500, 32), 500);
  EXPECT_EQ(P::safeCollapseLength(501, 500, 32), 32);
  EXPECT_EQ(P::safeCollapseLength(600, 32, 40), 40);
  EXPECT_EQ(P::usableKnownGoodMin(500, 501.5), 500);
  EXPECT_FALSE(P::usableKnownGoodMin(500, 501).has_value());
  EXPECT_FALSE(P::usableKnownGoodMin(std::nullopt, 600).has_value());

  EXPECT_EQ(P::recoveryKnownGood({.perApp = 630, .screenMin = 650, .upperBound = 688, .margin = 64}), 630);
  EXPECT_EQ(P::recoveryKnownGood({.perApp = 620, .screenMin = 650, .upperBound = 688, .margin = 64}), 650);
  EXPECT_FALSE(P::recoveryKnownGood({.perApp = 630, .menuLimited = true, .upperBound = 688, .margin = 64}));
  EXPECT_FALSE(P::recoveryKnownGood({.screenMin = 32, .upperBound = 60, .margin = 64}));

}

TEST(CollapseRecoveryRules, BadUpperBoundKeepsTheShortestFailureAndItsCooldown) {
  EXPECT_EQ(P::notedBadUpperBound(600, 500), 500);
  EXPECT_EQ(P::notedBadUpperBound(500, 600), 500);
  EXPECT_FALSE(P::notedBadUpperBound(std::nullopt, 32).has_value());

  EXPECT_EQ(P::lengthAfterBadUpperBound({.current = 400, .badUpperBound = 500}), 400);
  EXPECT_EQ(P::lengthAfterBadUpperBound({.current = 500, .badUpperBound = 500, .knownGoodMax = 450}), 450);
  EXPECT_EQ(P::lengthAfterBadUpperBound({.current = 600, .badUpperBound = 500, .knownGoodMax = 550}), 484);
  EXPECT_FALSE(P::lengthAfterBadUpperBound({.current = 600, .badUpperBound = 48}).has_value());

  const P::ShouldRetryCollapsedLengthInput retry{.length = 500, .badUpperBound = 500,
                                                 .badUpperBoundRecordedAt = 1000, .now = 1599.9};
  EXPECT_FALSE(P::shouldRetryCollapsedLength(retry));
  auto later = retry;
  later.now = 1600;
  EXPECT_TRUE(P::shouldRetryCollapsedLength(later));
  auto shorter = retry;
  shorter.length = 499;
  EXPECT_TRUE(P::shouldRetryCollapsedLength(shorter));
}

TEST(ShelfHiddenLength, DistanceOnlyBetweenShortSeparators) {
  EXPECT_EQ(P::shortDividerDistance({.foldMaxX = 900, .hiddenMaxX = 700, .foldWidth = 40, .hiddenWidth = 16}), 200);
  EXPECT_FALSE(P::shortDividerDistance({.foldMaxX = 900, .hiddenMaxX = 700, .foldWidth = 40.5, .hiddenWidth = 16}));
  EXPECT_FALSE(P::shortDividerDistance({.foldMaxX = 700, .hiddenMaxX = 700, .foldWidth = 16, .hiddenWidth = 16}));

  EXPECT_EQ(P::shelfHiddenSeparatorLength({.cliffLimit = 688, .dividerDistance = 200, .floorLength = 16}), 464);
  EXPECT_EQ(P::shelfHiddenSeparatorLength({.cliffLimit = 688, .dividerDistance = 680, .floorLength = 16}), 16);
  EXPECT_EQ(P::shelfHiddenSeparatorLength({.cliffLimit = 688, .dividerDistance = 0, .floorLength = 16}), 16);
}

TEST(ShelfHiddenLength, BisectsBetweenAcceptedAndEjected) {
  EXPECT_FALSE(P::nextShelfHiddenLength({.accepted = 100, .ejected = 108, .floorLength = 50, .precision = 8}));
  EXPECT_EQ(P::nextShelfHiddenLength({.accepted = 100, .ejected = 109, .floorLength = 50, .precision = 8}), 104);
  EXPECT_EQ(P::nextShelfHiddenLength({.ejected = 200, .floorLength = 50, .precision = 8}), 125);
  EXPECT_EQ(P::nextShelfHiddenLength({.accepted = 20, .ejected = 200, .floorLength = 50, .precision = 8}), 125);

  EXPECT_FALSE(P::shelfRoomGrew({.room = 500}));
  EXPECT_TRUE(P::shelfRoomGrew({.cap = 300, .room = 308.5}));
  EXPECT_FALSE(P::shelfRoomGrew({.cap = 300, .room = 308}));
  EXPECT_FALSE(P::shelfRoomGrew({.cap = 300, .room = 308.5, .capRoom = 310}));
}

}  // namespace
}  // namespace tarvolo
