#pragma once

// Moves another application's icon beside the right separator, into the always-visible zone,
// with one synthesized ⌘-drag along the bar, for people who cannot drag it themselves. Runs only
// when the user asks, makes at most one attempt per request, and posts nothing unless both ends
// are verified by the Accessibility hit test: the press lands on the application's own icon, the
// separator stands where its frame says, and the drop point is a slot of the bar clear of the
// camera housing. The user's hand comes first: a held button or a moving pointer refuses the
// move, and the cursor goes back where it was. Whether the icon was seated is not decided here;
// the placement guide that watches the bar confirms it in the ledger. Main thread only, except
// the attempt, which runs on a queue of its own.

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "base/vocabulary/BundleID.h"
#include "platform/Platform.h"

namespace tarvolo {

class StatusBarController;

class IconMover {
 public:
  // The bar expanded for the move shows every icon by then.
  static constexpr double settleDelay = 0.5;
  // The pointer must stay put this long before the drag starts.
  static constexpr double stillnessWindow = 0.15;
  static constexpr double stillnessSlop = 1;
  static constexpr int dragSteps = 8;
  static constexpr double dragStepInterval = 0.016;
  static constexpr double pressToDragDelay = 0.05;
  static constexpr double releaseToRestoreDelay = 0.05;
  // How far right of the separator's right edge the icon is dropped.
  static constexpr double targetInset = 3;
  static constexpr double probeTimeout = 0.1;
  static constexpr std::string_view queueLabel = "com.ostrand.tarvolo.icon-mover";

  enum class Refusal {
    busy,
    withdrawn,  // the request was no longer wanted once the bar had settled
    notRunning,
    buttonHeld,
    pointerMoving,
    unverifiedIcon,
    unverifiedTarget,
    cannotPost,
  };
  static std::string_view refusalName(Refusal refusal);

  struct Dependencies {
    platform::Platform& platform;
    StatusBarController& statusBar;
  };
  explicit IconMover(Dependencies dependencies);
  ~IconMover();
  IconMover(const IconMover&) = delete;
  IconMover& operator=(const IconMover&) = delete;

  // One attempt to move `bundle`'s first icon; `done` runs on the main thread, with the refusal
  // when nothing was posted. Wants the bar expanded so the icon shows. `wanted` is asked once the
  // bar has settled: a request given up in the meantime (the guide cancelled) moves nothing.
  void move(const BundleID& bundle, std::function<bool()> wanted, std::function<void(std::optional<Refusal>)> done);
  bool busy() const { return running_; }

 private:
  struct Attempt;
  // The drag's two ends, in top-left global space, and the modifiers held along it.
  struct Path {
    Point from;
    Point to;
    platform::ModifierFlags command;
  };
  void begin(const BundleID& bundle, const std::function<bool()>& wanted);
  // Posts the `step`th dragged event after `delay`, then the next, then the release.
  static void drag(const std::shared_ptr<Attempt>& attempt, Path path, int step, double delay);
  void finished(std::uint64_t generation, std::optional<Refusal> refusal);

  platform::Platform& platform_;
  StatusBarController& statusBar_;
  MainThreadChecker mainThread_;
  // Shared with a running attempt, which finishes its drag (the button released, the cursor put
  // back) even when the mover goes first.
  std::shared_ptr<platform::SerialQueue> queue_;
  bool running_ = false;
  std::uint64_t generation_ = 0;
  std::function<void(std::optional<Refusal>)> done_;
  WorkItem settleWork_;
  WeakHandleFactory<IconMover> weakFactory_{this};
};

}  // namespace tarvolo
