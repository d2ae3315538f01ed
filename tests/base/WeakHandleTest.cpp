#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "base/WeakHandle.h"
#include "platform/sim/SimMainQueue.h"

namespace tarvolo {
namespace {

// Records into storage outside itself, so a call after its destruction would still show.
struct Owner {
  explicit Owner(std::vector<int>& calls) : calls(calls) {}
  void hit(int a, int b) { calls.insert(calls.end(), {a, b}); }
  std::vector<int>& calls;
  WeakHandleFactory<Owner> weak{this};
};

TEST(WeakHandle, TurnsNullOnceItsOwnerIsGone) {
  std::vector<int> calls;
  auto owner = std::make_unique<Owner>(calls);
  WeakHandle<Owner> handle = owner->weak.handle();
  EXPECT_EQ(handle.get(), owner.get());
  owner.reset();
  EXPECT_FALSE(handle);
  EXPECT_FALSE(WeakHandle<Owner>());
}

TEST(WeakHandle, InvalidateDropsTheHandlesGivenSoFarButNotLaterOnes) {
  std::vector<int> calls;
  Owner owner(calls);
  auto before = owner.weak.handle();
  owner.weak.invalidate();
  auto after = owner.weak.handle();
  EXPECT_FALSE(before);
  EXPECT_EQ(after.get(), &owner);
}

TEST(BindWeak, CallsWithTheBoundArgumentsFirstWhileTheOwnerLivesAndDoesNothingAfter) {
  std::vector<int> calls;
  auto owner = std::make_unique<Owner>(calls);
  auto member = bindWeak(owner->weak.handle(), &Owner::hit, 1);
  auto lambda = bindWeak(owner->weak.handle(), [](Owner& o, int a) { o.hit(a, a); }, 7);
  member(2);
  lambda();
  owner.reset();
  member(3);
  lambda();
  EXPECT_EQ(calls, (std::vector<int>{1, 2, 7, 7}));
}

TEST(BindWeak, AQueuedCallWhoseOwnerWentMeanwhileDoesNothing) {
  sim::SimMainQueue queue;
  std::vector<int> calls;
  auto owner = std::make_unique<Owner>(calls);
  queue.post(0.1, bindWeak(owner->weak.handle(), &Owner::hit, 4, 5));
  queue.post(0.3, bindWeak(owner->weak.handle(), &Owner::hit, 6, 7));
  queue.runFor(0.2);
  owner.reset();
  queue.runFor(1);
  EXPECT_EQ(calls, (std::vector<int>{4, 5}));
}

}  // namespace
}  // namespace tarvolo
