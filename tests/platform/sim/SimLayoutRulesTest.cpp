#include <gtest/gtest.h>

#include <numeric>

#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimLayoutRules.h"

namespace tarvolo::sim {
namespace {

SimAppSetup iconApp(const std::string& bundle, double position) {
  return SimAppSetup{.bundleId = bundle, .name = bundle, .activation = platform::ActivationPolicy::accessory,
                    .menusWidth = 0, .items = {SimItemSetup{.width = 30, .position = position}}};
}

const SimItemState& firstItemOf(SimDesktop& desktop, const std::string& bundle) {
  for (const auto* item : desktop.bar().allItems()) {
    if (desktop.processes().bundleIdOfPid(item->ownerPid) == bundle) return *item;
  }
  throw std::logic_error("no item of " + bundle);
}

// A desktop with an editor frontmost, one icon right of a spacer ("sep", position 20) and one
// left of it.
struct Bar {
  explicit Bar(SimScreenSetup screen, SimSettings settings = {}, double menusWidth = 400)
      : desktop({screen},
                {SimAppSetup{.bundleId = "com.example.editor", .name = "Editor", .menusWidth = menusWidth},
                 iconApp("right", 10), iconApp("left", 30)},
                settings) {
    desktop.setFrontmost("com.example.editor");
    desktop.defaults().set("NSStatusItem Preferred Position sep", DefaultsValue(20.0));
    item = desktop.statusBar().createStatusItem(16, "sep");
  }
  const SimItemState& spacer() { return *desktop.bar().ownItem("sep"); }
  // The spacer's right edge is pinned by its right neighbour.
  double pinnedRight() { return firstItemOf(desktop, "right").frame->minX(); }

  SimDesktop desktop;
  std::unique_ptr<platform::StatusItem> item;
};

SimSettings onSystem(int major) {
  SimSettings settings;
  settings.osMajor = major;
  return settings;
}

TEST(SimMenuTitles, AreDeterministicPerAppAndFillTheMenusWidth) {
  auto titles = menuTitleWidths("com.example.editor", 400);
  EXPECT_EQ(titles, menuTitleWidths("com.example.editor", 400));
  EXPECT_NE(titles, menuTitleWidths("com.example.mail", 400));
  EXPECT_DOUBLE_EQ(std::accumulate(titles.begin(), titles.end(), 0.0), 400);
  EXPECT_EQ(titles.front(), 36);  // the Apple menu
  for (std::size_t i = 1; i < titles.size(); ++i) {
    EXPECT_GE(titles[i], 20) << i;
    EXPECT_LE(titles[i], 45) << i;
  }
  SimAppSetup explicitTitles{.bundleId = "x", .menusWidth = 999, .menuTitleWidths = {36, 50, 21}};
  EXPECT_EQ(menuTitleWidths(explicitTitles), (std::vector<double>{36, 50, 21}));
}

TEST(SimMenuTitles, ALongItemEndingAmongTheTitlesDropsThemFromTheRightOneAtATime) {
  Bar bar({.width = 1440, .height = 900});
  auto titles = bar.desktop.bar().frontmostMenuTitles();
  const double menusRight = 400;
  const double pinnedRight = bar.pinnedRight();
  // Ten points into the last title: that title goes, and the spacer stands its width further left.
  bar.item->setLength(pinnedRight - (menusRight - 10));
  EXPECT_EQ(bar.desktop.bar().menuTitlesDropped(), 1);
  EXPECT_DOUBLE_EQ(bar.desktop.bar().droppedMenuTitlesWidth(), titles.back());
  EXPECT_DOUBLE_EQ(bar.desktop.bar().menusRightEdge(), menusRight - titles.back());
  EXPECT_DOUBLE_EQ(bar.spacer().frame->maxX(), pinnedRight - titles.back());
  EXPECT_TRUE(bar.spacer().onScreen);

  // Deeper: as many titles as it takes, right to left.
  double deeper = titles.back() + titles[titles.size() - 2] - 5;
  bar.item->setLength(pinnedRight - (menusRight - deeper));
  EXPECT_EQ(bar.desktop.bar().menuTitlesDropped(), 2);

  // Shorter again: the titles come back.
  bar.item->setLength(200);
  EXPECT_EQ(bar.desktop.bar().menuTitlesDropped(), 0);
  EXPECT_DOUBLE_EQ(bar.spacer().frame->maxX(), pinnedRight);
}

TEST(SimMenuTitles, ASpacerThatNoDroppingCanFitIsEjectedAndTheTitlesStay) {
  Bar bar({.width = 1440, .height = 900});
  // Its far edge would come to rest inside the Apple menu, which is never dropped.
  bar.item->setLength(bar.pinnedRight() - 10);
  EXPECT_TRUE(bar.spacer().rejected);
  EXPECT_FALSE(bar.spacer().onScreen);
  EXPECT_EQ(bar.desktop.bar().menuTitlesDropped(), 0);
  EXPECT_TRUE(firstItemOf(bar.desktop, "left").onScreen);  // it pushes nothing
}

TEST(SimMenuTitles, AFarEdgePastTheLeftScreenEdgeDisturbsNoTitle) {
  Bar bar({.width = 1440, .height = 900});
  bar.item->setLength(3000);
  EXPECT_FALSE(bar.spacer().rejected);
  EXPECT_EQ(bar.desktop.bar().menuTitlesDropped(), 0);
  EXPECT_FALSE(firstItemOf(bar.desktop, "left").onScreen);
  EXPECT_TRUE(bar.spacer().onScreen);
  // Before macOS 27 frames keep their negative origin.
  EXPECT_LT(bar.spacer().reported->minX(), 0);
}

TEST(SimMenuTitles, OrdinaryIconsRunningIntoTheMenusAreHiddenNotMadeRoomFor) {
  std::vector<SimAppSetup> apps = {SimAppSetup{.bundleId = "com.example.editor", .name = "Editor", .menusWidth = 1200}};
  for (int i = 0; i < 10; ++i) apps.push_back(iconApp("icon" + std::to_string(i), 10.0 * (i + 1)));
  SimDesktop desktop({SimScreenSetup{.width = 1440, .height = 900}}, apps, {});
  desktop.setFrontmost("com.example.editor");
  EXPECT_EQ(desktop.bar().menuTitlesDropped(), 0);
  EXPECT_FALSE(firstItemOf(desktop, "icon9").onScreen);
}

TEST(SimEjection, BeforeMacOS27ALengthPastTheCliffIsEjectedAndPushesNothing) {
  Bar bar({.width = 1440, .height = 900});
  const double pinnedRight = bar.pinnedRight();
  bar.item->setLength(5000);
  EXPECT_FALSE(bar.spacer().rejected);
  bar.item->setLength(5001);
  EXPECT_TRUE(bar.spacer().rejected);
  EXPECT_FALSE(bar.spacer().onScreen);
  // Its window waits at the screen's left edge, where new items wait.
  EXPECT_EQ(bar.spacer().frame->minX(), 0);
  EXPECT_EQ(bar.spacer().frame->width, 5001);
  EXPECT_TRUE(firstItemOf(bar.desktop, "left").onScreen);
  EXPECT_EQ(firstItemOf(bar.desktop, "left").frame->maxX(), pinnedRight);
}

TEST(SimEjection, TheCliffIsASetting) {
  SimSettings settings;
  settings.ejectionLength = 400;
  Bar bar({.width = 1440, .height = 900}, settings);
  bar.item->setLength(400);
  EXPECT_FALSE(bar.spacer().rejected);
  bar.item->setLength(401);
  EXPECT_TRUE(bar.spacer().rejected);
}

TEST(SimEjection, FromMacOS27AnItemReachingHalfTheDisplayIsDropped) {
  struct Case {
    double screen, laidOut, dropped;
  };
  for (Case c : {Case{2056, 1000, 1028}, Case{3008, 1480, 1500}}) {
    Bar bar({.width = c.screen, .height = 1200}, onSystem(27));
    bar.item->setLength(c.laidOut);
    EXPECT_FALSE(bar.spacer().rejected) << c.screen;
    EXPECT_EQ(firstItemOf(bar.desktop, "left").frame->maxX(), bar.spacer().frame->minX()) << c.screen;
    bar.item->setLength(c.dropped);
    EXPECT_TRUE(bar.spacer().rejected) << c.screen;
    EXPECT_EQ(bar.spacer().frame->minX(), 0) << c.screen;
    EXPECT_EQ(firstItemOf(bar.desktop, "left").frame->maxX(), bar.pinnedRight()) << c.screen;
  }
  // The same lengths lay out before macOS 27.
  Bar older({.width = 2056, .height = 1200}, onSystem(26));
  older.item->setLength(1028);
  EXPECT_FALSE(older.spacer().rejected);
}

TEST(SimEjection, FromMacOS27TheReportedOriginNeverReadsLeftOfTheScreen) {
  SimSettings settings = onSystem(27);
  settings.dropsHalfWidthItems = false;  // to lay out a length that reaches past the left edge
  Bar bar({.width = 1440, .height = 900}, settings);
  const double pinnedRight = bar.pinnedRight();
  bar.item->setLength(3000);
  EXPECT_EQ(bar.spacer().reported->minX(), 0);
  EXPECT_EQ(bar.spacer().reported->maxX(), pinnedRight);
}

TEST(SimDisplacement, ItemsWithoutRoomAreParkedAtTheLeftEndOfTheVisibleStretch) {
  Bar bar({.width = 1512, .height = 982, .notchWidth = 185});
  bar.item->setLength(900);
  const auto& left = firstItemOf(bar.desktop, "left");
  EXPECT_TRUE(left.displaced);
  EXPECT_FALSE(left.onScreen);
  EXPECT_DOUBLE_EQ(left.reported->maxX(), bar.desktop.bar().statusAreaMinX());
  EXPECT_DOUBLE_EQ(bar.desktop.bar().statusAreaMinX(), 848);  // the notch's right edge
  EXPECT_FALSE(bar.desktop.bar().overflowChevronShown());
}

TEST(SimDisplacement, FromMacOS27TheOverflowChevronTakesRoomAtTheLeftEnd) {
  Bar bar({.width = 1512, .height = 982, .notchWidth = 185}, onSystem(27));
  bar.item->setLength(500);
  EXPECT_TRUE(bar.desktop.bar().overflowChevronShown());
  EXPECT_DOUBLE_EQ(bar.desktop.bar().statusAreaMinX(), 848 + 44);
  EXPECT_DOUBLE_EQ(firstItemOf(bar.desktop, "left").reported->maxX(), 848 + 44);
  bar.item->setLength(16);
  EXPECT_FALSE(bar.desktop.bar().overflowChevronShown());
}

TEST(SimWindows, ASharedWindowAlsoHoldsTheRightNeighbour) {
  SimSettings settings;
  settings.frameLatency = 0;
  settings.sharedWindowItems = {"sep"};
  Bar bar({.width = 1440, .height = 900}, settings);
  bar.item->setLength(200);
  auto button = bar.item->buttonFrameOnScreen();
  auto window = bar.item->windowFrame();
  ASSERT_TRUE(button && window);
  EXPECT_EQ(button->width, 200);
  EXPECT_EQ(window->minX(), button->minX());
  EXPECT_EQ(window->maxX(), firstItemOf(bar.desktop, "right").frame->maxX());
}

}  // namespace
}  // namespace tarvolo::sim
