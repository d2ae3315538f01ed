#include "shelf/owners/NativeStatusItemClick.h"

#include <cmath>

#include "base/Log.h"
#include "shelf/owners/MenuVisibilityProbe.h"

namespace tarvolo::NativeStatusItemClick {

namespace {

// Below the bar's content area the menu bar keeps a margin on each side.
constexpr double kPlainBarMargin = 2;
constexpr double kNotchedBarMargin = 5;

struct Attempt {
  Context context;
  platform::AXElement element;
  std::optional<platform::AXElement> application;
  int pid = 0;
  std::vector<MenuBarStrip> strips;
  std::weak_ptr<ShelfOperation> operation;
  std::function<void(bool)> done;
};
using AttemptPtr = std::shared_ptr<Attempt>;

bool menuShown(const Attempt& attempt) {
  if (visibleMenu(attempt.context.accessibility, attempt.element)) return true;
  return attempt.application && visibleMenu(attempt.context.accessibility, *attempt.application);
}

bool hitMatches(const Attempt& attempt, Point point) {
  auto& accessibility = attempt.context.accessibility;
  const auto systemWide = accessibility.systemWideElement();
  accessibility.setMessagingTimeout(systemWide, probeTimeout);
  auto hit = accessibility.elementAtPosition(systemWide, point);
  if (!hit.value) return false;
  platform::AXElement current = *hit.value;
  for (int compared = 1; compared <= hitTestDepth; ++compared) {
    if (current == attempt.element) return true;
    if (compared == hitTestDepth) break;
    auto parent = accessibility.attribute(current, "AXParent");
    const auto* next = parent.value ? parent.value->element() : nullptr;
    if (!next) return false;
    current = *next;
  }
  return false;
}

void pollMenu(const AttemptPtr& attempt, int poll) {
  attempt->context.queue.post(menuPollInterval, [attempt, poll] {
    if (operationStopped(attempt->operation)) {
      attempt->done(false);
      return;
    }
    if (menuShown(*attempt)) {
      MenuBarLog::log("iconShelf nativeClick menuVisible=true");
      attempt->done(true);
      return;
    }
    if (poll + 1 < menuPolls) {
      pollMenu(attempt, poll + 1);
      return;
    }
    MenuBarLog::log("iconShelf nativeClick menuVisible=false");
    attempt->done(false);
  });
}

void click(const AttemptPtr& attempt, Point point) {
  auto& events = attempt->context.events;
  if (events.mouseButtonHeld()) {
    attempt->done(false);
    return;
  }
  const Point cursor = events.cursorPosition();
  const auto event = [&](platform::SyntheticMouseEvent::Kind kind) {
    return platform::SyntheticMouseEvent{
        .kind = kind, .location = point, .modifierFlags = {}, .clickState = 1, .userData = eventMarker};
  };
  events.postMouseEvent(event(platform::SyntheticMouseEvent::Kind::leftMouseDown));
  attempt->context.queue.post(downToUpDelay, [attempt, point, cursor, up = event(platform::SyntheticMouseEvent::Kind::leftMouseUp)] {
    attempt->context.events.postMouseEvent(up);
    attempt->context.queue.post(afterUpDelay, [attempt, point, cursor] {
      auto& events = attempt->context.events;
      const Point now = events.cursorPosition();
      // The click must not leave the pointer on the menu bar.
      if (std::abs(now.x - point.x) <= cursorReturnSlop && std::abs(now.y - point.y) <= cursorReturnSlop) {
        events.warpCursor(cursor);
      }
      pollMenu(attempt, 0);
    });
  });
}

void tryTarget(const AttemptPtr& attempt, int number) {
  if (operationStopped(attempt->operation)) {
    attempt->done(false);
    return;
  }
  if (menuShown(*attempt)) {
    attempt->done(true);
    return;
  }
  if (auto frame = elementFrame(attempt->context.accessibility, attempt->element); frame && qualifies(*frame, attempt->strips)) {
    const Point centre{frame->midX(), frame->y + frame->height / 2};
    if (hitMatches(*attempt, centre) && !operationStopped(attempt->operation)) {
      click(attempt, centre);
      return;
    }
  }
  if (number + 1 >= targetAttempts) {
    MenuBarLog::log(LogLine("iconShelf nativeClick refused").add("pid", attempt->pid).add("reason", "unverified-target"));
    attempt->done(false);
    return;
  }
  attempt->context.queue.post(targetAttemptInterval, [attempt, number] { tryTarget(attempt, number + 1); });
}

}  // namespace

std::vector<MenuBarStrip> menuBarStrips(const std::vector<platform::ScreenInfo>& screens, double statusBarThickness) {
  std::vector<MenuBarStrip> out;
  if (screens.empty()) return out;
  const double primaryHeight = screens.front().frame.height + screens.front().frame.y;
  for (const auto& screen : screens) {
    const double height = screen.safeAreaTop > 0 ? screen.safeAreaTop + kNotchedBarMargin
                                                 : statusBarThickness + kPlainBarMargin;
    const double top = primaryHeight - screen.frame.maxY();
    MenuBarStrip strip{.strip = Rect{screen.frame.x, top, screen.frame.width, height}};
    if (screen.auxiliaryTopLeftArea && screen.auxiliaryTopRightArea) {
      const double minX = screen.auxiliaryTopLeftArea->maxX();
      const double maxX = screen.auxiliaryTopRightArea->minX();
      if (maxX > minX) strip.blocked = Rect{minX, top, maxX - minX, height};
    }
    out.push_back(strip);
  }
  return out;
}

bool qualifies(const Rect& frame, const std::vector<MenuBarStrip>& strips) {
  if (!(frame.width > 0) || !(frame.height > 0)) return false;
  for (const auto& candidate : strips) {
    const Rect& strip = candidate.strip;
    const bool inside = frame.minX() >= strip.minX() && frame.maxX() <= strip.maxX() && frame.minY() >= strip.minY() &&
                        frame.maxY() <= strip.maxY();
    if (!inside) continue;
    return !candidate.blocked || !frame.intersects(*candidate.blocked);
  }
  return false;
}

void perform(const Context& context, const platform::AXElement& element, bool canContinue,
             std::weak_ptr<ShelfOperation> operation, std::function<void(bool)> done) {
  auto& accessibility = context.accessibility;
  auto pid = accessibility.processID(element);
  if (!accessibility.isProcessTrusted() || !context.events.mayPostEvents() || !pid) {
    done(false);
    return;
  }
  auto attempt = std::make_shared<Attempt>(Attempt{.context = context,
                                                   .element = element,
                                                   .application = accessibility.applicationElement(*pid),
                                                   .pid = *pid,
                                                   .operation = std::move(operation),
                                                   .done = std::move(done)});
  accessibility.setMessagingTimeout(*attempt->application, probeTimeout);
  context.queue.runOnMainSync([&] {
    attempt->strips = menuBarStrips(context.screens.screens(), context.statusBar.thickness());
  });
  if (!canContinue) {
    attempt->done(false);
    return;
  }
  tryTarget(attempt, 0);
}

}  // namespace tarvolo::NativeStatusItemClick
