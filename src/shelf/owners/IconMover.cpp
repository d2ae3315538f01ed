#include "shelf/owners/IconMover.h"

#include <cmath>
#include <utility>
#include <vector>

#include "base/Log.h"
#include "base/vocabulary/OwnBundle.h"
#include "shelf/owners/NativeStatusItemClick.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

namespace {

using Kind = platform::SyntheticMouseEvent::Kind;

// Which process the hit test finds at `point`; absent when it finds nothing.
std::optional<int> processAt(platform::Accessibility& accessibility, Point point) {
  const auto systemWide = accessibility.systemWideElement();
  accessibility.setMessagingTimeout(systemWide, IconMover::probeTimeout);
  auto hit = accessibility.elementAtPosition(systemWide, point);
  if (!hit.value) return std::nullopt;
  return accessibility.processID(*hit.value);
}

std::optional<int> pidOf(const std::vector<platform::RunningApplication>& apps, const BundleID& bundle) {
  for (const auto& app : apps) {
    if (!app.isTerminated && app.bundleIdentifier && BundleID(*app.bundleIdentifier) == bundle) return app.pid;
  }
  return std::nullopt;
}

}  // namespace

// One request's snapshot, taken on the main thread and carried through the queue's steps.
struct IconMover::Attempt {
  platform::Accessibility& accessibility;
  platform::Events& events;
  std::shared_ptr<platform::SerialQueue> queue;
  int pid = 0;
  std::optional<int> ownPid;
  Rect separator;  // its x span is what counts; the bar's row comes from the icon
  std::vector<NativeStatusItemClick::MenuBarStrip> strips;
  Point cursor;  // where the pointer was when the move began
  std::function<void(std::optional<Refusal>)> finish;
};

std::string_view IconMover::refusalName(Refusal refusal) {
  switch (refusal) {
    case Refusal::busy: return "busy";
    case Refusal::withdrawn: return "withdrawn";
    case Refusal::notRunning: return "not-running";
    case Refusal::buttonHeld: return "button-held";
    case Refusal::pointerMoving: return "pointer-moving";
    case Refusal::unverifiedIcon: return "unverified-icon";
    case Refusal::unverifiedTarget: return "unverified-target";
    case Refusal::cannotPost: return "cannot-post";
  }
  return "busy";
}

IconMover::IconMover(Dependencies dependencies)
    : platform_(dependencies.platform),
      statusBar_(dependencies.statusBar),
      queue_(dependencies.platform.makeSerialQueue(std::string(queueLabel))),
      settleWork_(dependencies.platform.mainQueue()) {}

IconMover::~IconMover() = default;

void IconMover::move(const BundleID& bundle, std::function<bool()> wanted,
                     std::function<void(std::optional<Refusal>)> done) {
  mainThread_.check();
  if (running_) {
    MenuBarLog::log(LogLine("move-for-me refused").add("bundle", bundle.key()).add("reason", refusalName(Refusal::busy)));
    done(Refusal::busy);
    return;
  }
  running_ = true;
  done_ = std::move(done);
  const std::uint64_t generation = ++generation_;
  MenuBarLog::log(LogLine("move-for-me begin").add("bundle", bundle.key()));
  settleWork_.schedule(settleDelay, bindWeak(weakFactory_.handle(), [generation, bundle, wanted](IconMover& self) {
                         if (generation == self.generation_) self.begin(bundle, wanted);
                       }));
}

void IconMover::begin(const BundleID& bundle, const std::function<bool()>& wanted) {
  auto& events = platform_.events();
  auto& accessibility = platform_.accessibility();
  const std::uint64_t generation = generation_;
  auto refuse = [this, generation](Refusal refusal) { finished(generation, refusal); };
  if (wanted && !wanted()) return refuse(Refusal::withdrawn);
  // The user's hand on the mouse comes first.
  if (events.mouseButtonHeld()) return refuse(Refusal::buttonHeld);
  if (!accessibility.isProcessTrusted() || !events.mayPostEvents()) return refuse(Refusal::cannotPost);
  const auto apps = platform_.workspace().runningApplications();
  const auto pid = pidOf(apps, bundle);
  if (!pid) return refuse(Refusal::notRunning);
  const auto separator = statusBar_.ownItems().separatorFrame();
  if (!separator) return refuse(Refusal::unverifiedTarget);
  auto ownPid = pidOf(apps, BundleID(ownBundleID));
  if (!ownPid) ownPid = pidOf(apps, BundleID(ownDirectBundleID));

  auto finish = [queue = std::weak_ptr<platform::SerialQueue>(queue_),
                 done = bindWeak(weakFactory_.handle(), &IconMover::finished, generation)](std::optional<Refusal> refusal) {
    if (auto alive = queue.lock()) alive->postToMain([done, refusal] { done(refusal); });
  };
  auto attempt = std::make_shared<Attempt>(Attempt{
      .accessibility = accessibility,
      .events = events,
      .queue = queue_,
      .pid = *pid,
      .ownPid = ownPid,
      .separator = *separator,
      .strips = NativeStatusItemClick::menuBarStrips(platform_.screens().screens(), platform_.statusBar().thickness()),
      .cursor = events.cursorPosition(),
      .finish = std::move(finish)});

  queue_->post(stillnessWindow, [attempt] {
    auto& events = attempt->events;
    auto& accessibility = attempt->accessibility;
    const Point now = events.cursorPosition();
    if (std::abs(now.x - attempt->cursor.x) > stillnessSlop || std::abs(now.y - attempt->cursor.y) > stillnessSlop) {
      return attempt->finish(Refusal::pointerMoving);
    }
    if (events.mouseButtonHeld()) return attempt->finish(Refusal::buttonHeld);

    // The press: the middle of the application's first icon that the hit test gives back to it.
    std::optional<Rect> icon;
    if (auto items = accessibility.extrasMenuBarItems(attempt->pid)) {
      for (const auto& item : *items) {
        if (!item.frame || !NativeStatusItemClick::qualifies(*item.frame, attempt->strips)) continue;
        if (processAt(accessibility, {item.frame->midX(), item.frame->y + item.frame->height / 2}) != attempt->pid) continue;
        icon = item.frame;
        break;
      }
    }
    if (!icon) return attempt->finish(Refusal::unverifiedIcon);
    const Point from{icon->midX(), icon->y + icon->height / 2};

    // The drop: just right of the separator, on the icon's own row of the bar. Nothing of another
    // application may cover the separator, and the slot must be bar the system can reach.
    const double row = from.y;
    const auto atSeparator = processAt(accessibility, {attempt->separator.midX(), row});
    const bool separatorClear = !atSeparator || atSeparator == attempt->ownPid;
    const Point to{attempt->separator.maxX() + targetInset, row};
    const Rect slot{to.x - 0.5, icon->y, 1, icon->height};
    const bool slotReachable = NativeStatusItemClick::qualifies(slot, attempt->strips) &&
                               processAt(accessibility, to) != attempt->pid;
    if (!separatorClear || !slotReachable || !(from.x < attempt->separator.minX())) {
      return attempt->finish(Refusal::unverifiedTarget);
    }
    if (events.mouseButtonHeld()) return attempt->finish(Refusal::buttonHeld);

    const platform::ModifierFlags command = platform::ModifierFlags{}.with(platform::Modifier::command);
    MenuBarLog::log(LogLine("move-for-me drag").add("pid", attempt->pid).integer("fromX", from.x).integer("toX", to.x));
    events.postMouseEvent(platform::SyntheticMouseEvent{.kind = Kind::leftMouseDown,
                                                        .location = from,
                                                        .modifierFlags = command,
                                                        .clickState = 1,
                                                        .userData = NativeStatusItemClick::eventMarker});
    drag(attempt, {.from = from, .to = to, .command = command}, 1, pressToDragDelay);
  });
}

void IconMover::drag(const std::shared_ptr<Attempt>& attempt, Path path, int step, double delay) {
  attempt->queue->post(delay, [attempt, path, step] {
    auto& events = attempt->events;
    auto event = [&path](Kind kind, Point at) {
      return platform::SyntheticMouseEvent{.kind = kind,
                                           .location = at,
                                           .modifierFlags = path.command,
                                           .clickState = 1,
                                           .userData = NativeStatusItemClick::eventMarker};
    };
    if (step <= dragSteps) {
      const double fraction = static_cast<double>(step) / dragSteps;
      events.postMouseEvent(event(Kind::leftMouseDragged, {path.from.x + (path.to.x - path.from.x) * fraction, path.from.y}));
      drag(attempt, path, step + 1, dragStepInterval);
      return;
    }
    events.postMouseEvent(event(Kind::leftMouseUp, path.to));
    attempt->queue->post(releaseToRestoreDelay, [attempt] {
      attempt->events.warpCursor(attempt->cursor);
      attempt->finish(std::nullopt);
    });
  });
}

void IconMover::finished(std::uint64_t generation, std::optional<Refusal> refusal) {
  mainThread_.check();
  if (generation != generation_ || !running_) return;
  running_ = false;
  if (refusal) {
    MenuBarLog::log(LogLine("move-for-me refused").add("reason", refusalName(*refusal)));
  } else {
    MenuBarLog::log("move-for-me dragged");
  }
  // The caller may ask again from here.
  auto done = std::exchange(done_, nullptr);
  if (done) done(refusal);
}

}  // namespace tarvolo
