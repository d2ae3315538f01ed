#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "base/WorkItem.h"
#include "platform/sim/SimMainQueue.h"

namespace tarvolo {
namespace {

using Steps = std::vector<std::string>;

TEST(WorkItem, SchedulingAgainCancelsThePendingStep) {
  sim::SimMainQueue queue;
  Steps ran;
  WorkItem item(queue);
  item.schedule(0.2, [&] { ran.push_back("first"); });
  item.schedule(0.3, [&] { ran.push_back("second"); });
  EXPECT_EQ(queue.pendingCount(), 1u);
  queue.runFor(0.25);
  EXPECT_TRUE(ran.empty());
  queue.runFor(1);
  EXPECT_EQ(ran, (Steps{"second"}));
}

TEST(WorkItem, DestroyingOrCancellingTheItemDropsItsStep) {
  sim::SimMainQueue queue;
  Steps ran;
  {
    WorkItem item(queue);
    item.schedule(0.1, [&] { ran.push_back("dropped with its owner"); });
  }
  WorkItem cancelled(queue);
  cancelled.schedule(0.1, [&] { ran.push_back("cancelled"); });
  cancelled.cancel();
  EXPECT_FALSE(cancelled.isScheduled());
  EXPECT_EQ(queue.pendingCount(), 0u);
  queue.runFor(1);
  EXPECT_TRUE(ran.empty());
}

// A periodic step schedules its successor from inside itself.
TEST(WorkItem, AStepRunsUnscheduledAndMayScheduleTheNext) {
  sim::SimMainQueue queue;
  WorkItem item(queue);
  std::vector<bool> scheduledWhileRunning;
  std::function<void()> tick = [&] {
    scheduledWhileRunning.push_back(item.isScheduled());
    if (scheduledWhileRunning.size() < 3) item.schedule(0.5, tick);
  };
  item.schedule(0.5, tick);
  EXPECT_TRUE(item.isScheduled());
  queue.runFor(2);
  EXPECT_EQ(scheduledWhileRunning, (std::vector<bool>{false, false, false}));
  EXPECT_FALSE(item.isScheduled());
}

}  // namespace
}  // namespace tarvolo
