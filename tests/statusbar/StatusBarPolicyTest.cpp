#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>

#include "statusbar/AutoCollapsePolicy.h"
#include "statusbar/FrontmostPolicy.h"
#include "statusbar/OrderRepairPolicy.h"

namespace tarvolo {
namespace {

namespace Policy = MenuBarVisibilityPolicy;
using Action = Policy::AutoCollapseAction;
using Deferral = Policy::AutoCollapseDeferral;

Action waitFor(Deferral reason) { return Action{Action::Kind::wait, reason}; }

TEST(AutoCollapseAction, BusyUserComesFirstThenChromeAndToggleThenDeep) {
  // Everything at once: the open menu wins.
  Policy::AutoCollapseInput all{.deepOrPlacement = true, .commandHeld = true, .pointerInMenuBar = true,
                                .pointerOverChrome = true, .pointerOnToggle = true, .menuTracking = true,
                                .mouseButtonDown = true, .pointerInMenuBarRecently = true};
  EXPECT_EQ(Policy::autoCollapseAction(all), waitFor(Deferral::menu));
  all.menuTracking = false;
  EXPECT_EQ(Policy::autoCollapseAction(all), waitFor(Deferral::mouse));
  all.mouseButtonDown = false;
  EXPECT_EQ(Policy::autoCollapseAction(all), waitFor(Deferral::command));
  all.commandHeld = false;
  EXPECT_EQ(Policy::autoCollapseAction(all), waitFor(Deferral::menuBar));
  all.pointerInMenuBar = false;
  EXPECT_EQ(Policy::autoCollapseAction(all), waitFor(Deferral::menuBarRecent));
  all.pointerInMenuBarRecently = false;
  EXPECT_EQ(Policy::autoCollapseAction(all), waitFor(Deferral::chrome));
  all.pointerOverChrome = false;
  EXPECT_EQ(Policy::autoCollapseAction(all), waitFor(Deferral::toggle));
  all.pointerOnToggle = false;
  EXPECT_EQ(Policy::autoCollapseAction(all).kind, Action::Kind::keepDeepOrPlacement);
  all.deepOrPlacement = false;
  EXPECT_EQ(Policy::autoCollapseAction(all), Action{});
  EXPECT_EQ(Policy::rawValue(Deferral::menuBarRecent), "menubar-recent");
}

TEST(AutoCollapseDelay, ClampedToOneAndThirtySecondsWithEightByDefault) {
  EXPECT_EQ(Policy::autoCollapseDelay(std::nullopt), 8);
  EXPECT_EQ(Policy::autoCollapseDelay(std::nan("")), 8);
  EXPECT_EQ(Policy::autoCollapseDelay(0.2), 1);
  EXPECT_EQ(Policy::autoCollapseDelay(45), 30);
  EXPECT_EQ(Policy::autoCollapseDelay(12.5), 12.5);
}

TEST(PointerInMenuBarRecently, WithinThreeSecondsAndNotFromTheFuture) {
  EXPECT_FALSE(Policy::pointerInMenuBarRecently(std::nullopt, 10));
  EXPECT_TRUE(Policy::pointerInMenuBarRecently(8, 10));
  EXPECT_FALSE(Policy::pointerInMenuBarRecently(7, 10));
  EXPECT_FALSE(Policy::pointerInMenuBarRecently(11, 10));
}

TEST(OrderRepair, ForcedPositionsKeepTheOrderWhateverTheSlots) {
  for (auto slots : {std::array<double, 3>{5, 35, 55}, std::array<double, 3>{55, 5, 35},
                     std::array<double, 3>{10, 10, 10}, std::array<double, 3>{3, 3.5, 200}}) {
    auto positions = Policy::forcedRepairPositions(slots);
    EXPECT_GE(positions.separator, positions.toggle + 1);
    EXPECT_GE(positions.alwaysHidden, positions.separator + 1);
    EXPECT_EQ(positions.toggle, std::min({slots[0], slots[1], slots[2]}));
  }
}

TEST(OrderRepair, SlotsComeFromStoredPositionsOrFromTheButtonsRightEdges) {
  // The toggle's stored position was dropped; its edge and the separator's pair give it one.
  auto slots = Policy::positiveRepairSlots({.toggle = std::nullopt, .separator = 40, .alwaysHidden = 60},
                                           {.toggle = 1700, .separator = 1660, .alwaysHidden = 1640});
  // The right end lies at 1660 + 40 = 1700: the toggle there stands at 0, taken as 1.
  ASSERT_TRUE(slots);
  EXPECT_EQ(*slots, (std::array<double, 3>{1, 40, 60}));
  slots = Policy::positiveRepairSlots({.toggle = std::nullopt, .separator = 40, .alwaysHidden = 60},
                                      {.toggle = 1690, .separator = 1660, .alwaysHidden = 1640});
  ASSERT_TRUE(slots);
  EXPECT_EQ(*slots, (std::array<double, 3>{10, 40, 60}));
  // Nothing stored and nothing laid out: no slots.
  EXPECT_FALSE(Policy::positiveRepairSlots({}, {}));
  // Non-positive stored values do not count as slots.
  auto derived = Policy::positiveRepairSlots({.toggle = 0, .separator = -3, .alwaysHidden = 0},
                                             {.toggle = 1700, .separator = 1690, .alwaysHidden = 1650});
  ASSERT_TRUE(derived);
  EXPECT_EQ(*derived, (std::array<double, 3>{1, 11, 51}));
}

TEST(RevealOnHover, OnlyTheEmptyStretchOfTheBarCounts) {
  Policy::HoverRevealInput input{.pointer = {900, 1070}, .menuBar = {0, 1056, 1920, 24}, .emptyMinX = 600,
                                 .emptyMaxX = 1600};
  EXPECT_TRUE(Policy::pointerOnEmptyStatusSide(input));
  input.pointer = {500, 1070};  // over the app menus
  EXPECT_FALSE(Policy::pointerOnEmptyStatusSide(input));
  input.pointer = {1650, 1070};  // over the visible icons
  EXPECT_FALSE(Policy::pointerOnEmptyStatusSide(input));
  input.pointer = {900, 500};  // below the bar
  EXPECT_FALSE(Policy::pointerOnEmptyStatusSide(input));
}

namespace P = MenuBarVisibilityPolicy;

// ---- Preferred positions --------------------------------------------------------------------

TEST(PreferredPositions, OrderedCompleteSetNeedsNoSeeding) {
  EXPECT_EQ(P::seededPreferredPositions(10, 20, 30), std::nullopt);
  EXPECT_EQ(P::seededPreferredPositions(std::nullopt, std::nullopt, std::nullopt),
            (P::PreferredPositionSeeding{0, 1, 2, true, true, true}));
  EXPECT_EQ(P::seededPreferredPositions(10, 10, 30), (P::PreferredPositionSeeding{10, 11, 30, false, true, false}));
  EXPECT_EQ(P::seededPreferredPositions(10, 20, 20), (P::PreferredPositionSeeding{10, 20, 21, false, false, true}));
  EXPECT_EQ(P::seededPreferredPositions(std::nullopt, 5, 3), (P::PreferredPositionSeeding{0, 5, 6, true, false, true}));
}

RC_GTEST_PROP(PreferredPositions, SeedingIsOrderedAndWritesExactlyWhatChanged, ()) {
  auto position = [] {
    return *rc::gen::arbitrary<bool>() ? std::optional<double>(*rc::gen::inRange(-5, 40)) : std::nullopt;
  };
  const std::optional<double> arrow = position(), fold = position(), hidden = position();
  const auto seeding = P::seededPreferredPositions(arrow, fold, hidden);
  if (!seeding) {
    RC_ASSERT(arrow && fold && hidden && *arrow < *fold && *fold < *hidden);
    return;
  }
  RC_ASSERT(seeding->arrow < seeding->fold && seeding->fold < seeding->hidden);
  RC_ASSERT(seeding->writeArrow == (arrow != seeding->arrow));
  RC_ASSERT(seeding->writeFold == (fold != seeding->fold));
  RC_ASSERT(seeding->writeHidden == (hidden != seeding->hidden));
}

// ---- Frontmost-app predicates ---------------------------------------------------------------

TEST(FrontmostPredicates, OwnershipIgnoresCaseAndMissingOwnerCountsAsOwned) {
  const BundleID app("com.example.app");
  EXPECT_TRUE(P::frontmostOwnsMenuBar(BundleID("Com.Example.App"), app));
  EXPECT_FALSE(P::frontmostOwnsMenuBar(app, BundleID("com.example.other")));
  EXPECT_TRUE(P::frontmostOwnsMenuBar(app, std::nullopt));
  EXPECT_TRUE(P::frontmostOwnsMenuBar(app, BundleID("")));
}

TEST(FrontmostPredicates, OnlyARegularForeignMenuOwnerIsLasting) {
  const BundleID a("com.a");
  EXPECT_FALSE(P::frontmostChangeIsTransient({a, false, true, true}));
  EXPECT_TRUE(P::frontmostChangeIsTransient({std::nullopt, false, true, true}));
  EXPECT_TRUE(P::frontmostChangeIsTransient({BundleID(""), false, true, true}));
  EXPECT_TRUE(P::frontmostChangeIsTransient({a, true, true, true}));
  EXPECT_TRUE(P::frontmostChangeIsTransient({a, false, false, true}));
  EXPECT_TRUE(P::frontmostChangeIsTransient({a, false, true, false}));
}

TEST(FrontmostPredicates, CommitActionTable) {
  auto action = [](std::optional<std::string> released, bool collapsed, bool matches) {
    return rawValue(P::frontmostCommitAction({BundleID::from(released), BundleID("com.a.App"), collapsed, matches}));
  };
  EXPECT_EQ(action("com.b.Other", true, true), "collapse");
  EXPECT_EQ(action("COM.A.APP", false, false), "released");
  EXPECT_EQ(action(std::nullopt, false, true), "expanded");
  EXPECT_EQ(action("com.a.app", true, true), "hold");
  EXPECT_EQ(action(std::nullopt, true, false), "apply");
}

// ---- Reading the order ----------------------------------------------------------------------

TEST(GeometryPredicates, AnchorProtectionNeedsReadableExpandedSeparators) {
  using In = P::AnchorProtectsAlwaysVisibleSlotInput;
  const In good{.toggleMaxX = 1200, .normalSeparatorMaxX = 1150, .alwaysHiddenSeparatorMaxX = 1100,
                .normalSeparatorWidth = 16, .alwaysHiddenSeparatorWidth = 16, .expandedLength = 16};
  EXPECT_EQ(P::anchorProtectsAlwaysVisibleSlot(good), true);
  In unread = good;
  unread.alwaysHiddenSeparatorMaxX = 0;
  EXPECT_EQ(P::anchorProtectsAlwaysVisibleSlot(unread), std::nullopt);
  In wide = good;
  wide.normalSeparatorWidth = 64;  // limit is max(64, 4 x 16)
  EXPECT_EQ(P::anchorProtectsAlwaysVisibleSlot(wide), true);
  wide.normalSeparatorWidth = 64.5;
  EXPECT_EQ(P::anchorProtectsAlwaysVisibleSlot(wide), std::nullopt);
  wide.expandedLength = 20;  // limit 80
  EXPECT_EQ(P::anchorProtectsAlwaysVisibleSlot(wide), true);
  In stacked = good;
  stacked.normalSeparatorMaxX = 1201;
  stacked.alwaysHiddenSeparatorMaxX = 1199;
  EXPECT_EQ(P::anchorProtectsAlwaysVisibleSlot(stacked), std::nullopt);
  stacked.alwaysHiddenSeparatorMaxX = 1198.5;
  EXPECT_EQ(P::anchorProtectsAlwaysVisibleSlot(stacked), false);
}

}  // namespace
}  // namespace tarvolo
