#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "platform/sim/SimBar.h"
#include "shelf/owners/IconMover.h"
#include "shelf/owners/NativeStatusItemClick.h"
#include "support/SimFixture.h"

namespace tarvolo::testing {
namespace {

using Refusal = IconMover::Refusal;

// The sample bar on a plain display: icon3 (position 40) sits in the hidden zone, between the
// separator (35) and the always-hidden separator (55).
class IconMoverTest : public SimAppTest {
 protected:
  void start(sim::SimSettings settings = {}) {
    boot({.screens = {plainDisplay()}, .settings = std::move(settings)});
    launch();
    run(1);
    controller().expandBar(ExpandDepth::deep, Initiator::user);
    run(0.5);
    mover_ = std::make_unique<IconMover>(IconMover::Dependencies{.platform = desktop(), .statusBar = controller()});
  }
  void move(const std::string& bundle, std::function<bool()> wanted = nullptr) {
    mover_->move(BundleID(bundle), std::move(wanted),
                 [this](std::optional<Refusal> refusal) { results_.push_back(refusal); });
  }
  const std::vector<sim::SimPostedEvent>& posted() { return desktop().events().postedEvents(); }
  double iconMinX(const std::string& bundle) { return desktop().bar().draggableItem(bundle)->frame->minX(); }
  double separatorMaxX() { return controller().ownItems().separatorFrame()->maxX(); }

  std::unique_ptr<IconMover> mover_;
  std::vector<std::optional<Refusal>> results_;
};

TEST_F(IconMoverTest, AStillPointerGetsOneMarkedDragBesideTheSeparatorAndItsCursorBack) {
  start();
  desktop().events().movePointer({900, 500});
  const Point cursor = desktop().events().cursorTopLeft();
  ASSERT_LT(iconMinX("com.example.icon3"), separatorMaxX());
  move("com.example.icon3");
  run(2);
  ASSERT_EQ(results_.size(), 1u);
  EXPECT_EQ(results_.front(), std::nullopt);
  ASSERT_GE(posted().size(), 3u);
  for (const auto& event : posted()) {
    EXPECT_EQ(event.event.userData, NativeStatusItemClick::eventMarker);
    EXPECT_TRUE(event.event.modifierFlags.has(platform::Modifier::command));
  }
  EXPECT_GE(iconMinX("com.example.icon3"), separatorMaxX()) << "seated right of the separator";
  EXPECT_EQ(desktop().events().cursorTopLeft(), cursor);
}

TEST_F(IconMoverTest, APointerMovingBeforeTheDragRefusesItWithNothingPosted) {
  start();
  desktop().events().movePointer({900, 500});
  move("com.example.icon3");
  run(IconMover::settleDelay + IconMover::stillnessWindow / 2);
  desktop().events().movePointer({910, 505});
  run(2);
  ASSERT_EQ(results_.size(), 1u);
  EXPECT_EQ(results_.front(), Refusal::pointerMoving);
  EXPECT_TRUE(posted().empty());
  EXPECT_LT(iconMinX("com.example.icon3"), separatorMaxX());
}

TEST_F(IconMoverTest, AHeldButtonRefusesAndASecondRequestWhileOneRunsIsTurnedAway) {
  start();
  desktop().events().pressMouseButton(sim::MouseButton::left);
  move("com.example.icon3");
  move("com.example.icon4");
  run(2);
  ASSERT_EQ(results_.size(), 2u);
  EXPECT_EQ(results_[0], Refusal::busy);
  EXPECT_EQ(results_[1], Refusal::buttonHeld);
  EXPECT_TRUE(posted().empty());
}

TEST_F(IconMoverTest, AnIconAlreadyRightOfTheSeparatorIsNotDragged) {
  start();
  move("com.example.icon1");  // position 20: already always visible
  run(2);
  ASSERT_EQ(results_.size(), 1u);
  EXPECT_EQ(results_.front(), Refusal::unverifiedTarget);
  EXPECT_TRUE(posted().empty());
}

TEST_F(IconMoverTest, ARequestGivenUpWhileTheBarSettlesMovesNothing) {
  start();
  bool wanted = true;
  move("com.example.icon3", [&wanted] { return wanted; });
  run(IconMover::settleDelay / 2);
  wanted = false;
  run(2);
  ASSERT_EQ(results_.size(), 1u);
  EXPECT_EQ(results_.front(), Refusal::withdrawn);
  EXPECT_TRUE(posted().empty());
}

TEST_F(IconMoverTest, WithoutTheRightToPostEventsNothingIsTried) {
  start({.postEventAccess = false});
  move("com.example.icon3");
  run(2);
  ASSERT_EQ(results_.size(), 1u);
  EXPECT_EQ(results_.front(), Refusal::cannotPost);
}

}  // namespace
}  // namespace tarvolo::testing
