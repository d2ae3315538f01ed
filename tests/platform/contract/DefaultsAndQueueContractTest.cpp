#include <algorithm>
#include <string>
#include <variant>

#include "platform/contract/PlatformContract.h"

namespace tarvolo::contract {
namespace {

template <typename T>
bool holds(const std::optional<DefaultsValue>& value) {
  return value && std::holds_alternative<T>(value->storage());
}

using DefaultsContract = PlatformContractTest;

// Property lists keep Booleans, integers and reals apart, and a whole real stays a real.
TEST_F(DefaultsContract, ValuesReadBackWithTheirTypes) {
  auto& defaults = platform().defaults();
  const DefaultsValue nested(DefaultsValue::Dictionary{
      {"flags", DefaultsValue::Array{true, false}}, {"length", 512.5}, {"count", 3}, {"title", "Caf\u00E9\u2026"}});
  const std::string flag = key("flag"), count = key("count"), whole = key("whole"), list = key("list"),
                    dictionary = key("dictionary");
  defaults.set(flag, true);
  defaults.set(count, 1);
  defaults.set(whole, 10000.0);
  defaults.set(list, DefaultsValue::fromStrings({"com.example.a", "com.example.b"}));
  defaults.set(dictionary, nested);

  EXPECT_TRUE(holds<bool>(defaults.object(flag)));
  EXPECT_TRUE(holds<std::int64_t>(defaults.object(count)));
  EXPECT_TRUE(holds<double>(defaults.object(whole)));
  EXPECT_EQ(defaults.object(whole), DefaultsValue(10000.0));
  EXPECT_EQ(defaults.getStringArray(list), (std::vector<std::string>{"com.example.a", "com.example.b"}));
  EXPECT_EQ(defaults.object(dictionary), nested);
  // Typed reads convert numbers and Booleans into each other, and nothing else.
  EXPECT_EQ(defaults.getDouble(count), 1.0);
  EXPECT_EQ(defaults.getBool(count), true);
  EXPECT_FALSE(defaults.getString(count).has_value());
  EXPECT_FALSE(defaults.getDouble(list).has_value());
}

TEST_F(DefaultsContract, KeysListWhatIsStoredAndRemovingForgetsIt) {
  auto& defaults = platform().defaults();
  const std::string kept = key("kept"), removed = key("removed"), retyped = key("retyped");
  defaults.set(kept, "x");
  defaults.set(removed, 2.5);
  defaults.set(retyped, 7);
  defaults.set(retyped, "now text");
  defaults.remove(removed);
  defaults.remove(key("never-written"));
  const auto keys = defaults.keys();
  EXPECT_NE(std::find(keys.begin(), keys.end(), kept), keys.end());
  EXPECT_EQ(std::find(keys.begin(), keys.end(), removed), keys.end());
  EXPECT_FALSE(defaults.contains(removed));
  EXPECT_EQ(defaults.getString(retyped), "now text");
}

using MainQueueContract = PlatformContractTest;

TEST_F(MainQueueContract, TasksRunByDueTimeThenInPostingOrderAndNeverInsidePost) {
  auto& queue = platform().mainQueue();
  std::string order;
  queue.post(0.12, [&] { order += "d"; });
  queue.post(0, [&] { order += "a"; });
  queue.post(0, [&] { order += "b"; });
  const TaskId cancelled = queue.post(0.04, [&] { order += "x"; });
  queue.post(0.08, [&] {
    order += "c";
    queue.post(0, [&] { order += "+"; });  // posted from a task: after it, before later ones
  });
  EXPECT_EQ(order, "");
  queue.cancel(cancelled);
  queue.cancel(cancelled);
  queue.cancel(987654321);
  runUntil([&] { return order.size() >= 5; });
  runFor(0.1);
  EXPECT_EQ(order, "abc+d");
}

TEST_F(MainQueueContract, ADelayedTaskWaitsItsDelayAndACancelledOneNeverRuns) {
  auto& queue = platform().mainQueue();
  int ran = 0;
  queue.post(0.3, [&] { ++ran; });
  const TaskId finished = queue.post(0, [&] {});
  const TaskId cancelled = queue.post(0.1, [&] { ran += 100; });
  runFor(0.05);
  queue.cancel(finished);
  queue.cancel(cancelled);
  runFor(0.1);
  EXPECT_EQ(ran, 0);
  EXPECT_TRUE(runUntil([&] { return ran == 1; }));
  runFor(0.1);
  EXPECT_EQ(ran, 1);
}

TEST_F(MainQueueContract, TheClockAndTheDateAdvanceTogetherWithTheQueue) {
  auto& clock = platform().clock();
  const double now = clock.now();
  const double offset = clock.currentDate() - now;
  runFor(0.1);
  EXPECT_GE(clock.now() - now, 0.09);
  EXPECT_NEAR(clock.currentDate() - clock.now(), offset, 0.05);
  EXPECT_GT(clock.currentDate(), 1672531200);  // after 2023-01-01, in seconds since 1970
}

}  // namespace
}  // namespace tarvolo::contract
