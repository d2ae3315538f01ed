#include "statusbar/ToggleClicks.h"

#include <utility>

#include "base/Log.h"
#include "statusbar/OwnStatusItems.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using platform::Modifier;

namespace {
constexpr double kArrowPressWindow = 1.0;
constexpr double kDragTolerance = 3.0;
}  // namespace

ToggleClicks::ToggleClicks(platform::Platform& platform, const OwnStatusItems& items)
    : platform_(platform), items_(items) {}

void ToggleClicks::recordArrowPress() {
  arrowPressPoint_ = platform_.events().mouseLocation();
  if (auto frame = items_.toggleFrame()) {
    arrowPressFrameOrigin_ = frame->origin();
  } else {
    arrowPressFrameOrigin_.reset();
  }
  arrowPressAt_ = platform_.clock().now();
}

void ToggleClicks::clearArrowPress() {
  arrowPressPoint_.reset();
  arrowPressFrameOrigin_.reset();
  arrowPressAt_.reset();
}

bool ToggleClicks::toggleScreenHasNotch() const {
  auto screen = items_.statusItemScreen();
  return screen && screen->notchWidth() > 0;
}

std::optional<Policy::ArrowClickAction> ToggleClicks::readClick(const platform::Event& event, bool arrangingIcons) {
  auto session = platform_.events().modifierFlags();
  bool option = session.has(Modifier::option) || event.modifierFlags.has(Modifier::option);
  bool command = session.has(Modifier::command) || event.modifierFlags.has(Modifier::command);
  MenuBarLog::log(LogLine("statusItemClicked:").add("isOption", option).add("isCommand", command));

  if (command && arrowPressAt_ && platform_.clock().now() - *arrowPressAt_ < kArrowPressWindow) {
    bool pointerMoved = arrowPressPoint_ &&
                        Policy::pointsDiffer(*arrowPressPoint_, platform_.events().mouseLocation(), kDragTolerance);
    auto frame = items_.toggleFrame();
    bool frameMoved = arrowPressFrameOrigin_ && frame &&
                      Policy::pointsDiffer(*arrowPressFrameOrigin_, frame->origin(), kDragTolerance);
    if (pointerMoved || frameMoved) {
      MenuBarLog::log("statusItemClicked: ignored command drag or guide");
      clearArrowPress();
      return std::nullopt;
    }
  }

  bool commandReveal = Policy::commandClickRevealsHidden(command, arrangingIcons);
  MenuBarLog::log(LogLine("statusItemClicked:").add("optionReveal", option).add("commandReveal", commandReveal));
  bool reveal = option || commandReveal;
  bool notch = toggleScreenHasNotch();
  using Action = Policy::ArrowClickAction;
  Action action = notch ? (reveal ? Action::openShelfAll : Action::openShelf)
                        : (reveal ? Action::expandAll : Action::expandFolded);
  MenuBarLog::log(
      LogLine("status click").add("option", option).add("notch", notch).add("action", Policy::logName(action)));
  clearArrowPress();
  return action;
}

SeparatorClicks::SeparatorClicks(platform::Platform& platform, const OwnStatusItems& items)
    : platform_(platform), items_(items) {}

std::optional<Rect> SeparatorClicks::frame(Which which) const {
  return which == Which::separator ? items_.separatorFrame() : items_.alwaysHiddenSeparatorFrame();
}

void SeparatorClicks::recordPress(Which which) {
  auto current = frame(which);
  press_ = Press{.which = which,
                 .pointer = platform_.events().mouseLocation(),
                 .frameOrigin = current ? std::optional<Point>(current->origin()) : std::nullopt,
                 .at = platform_.clock().now()};
}

bool SeparatorClicks::endsCommandDrag(Which which, const platform::Event& event) {
  auto press = std::exchange(press_, std::nullopt);
  const bool command = platform_.events().modifierFlags().has(Modifier::command) ||
                       event.modifierFlags.has(Modifier::command);
  if (!command || !press || press->which != which || platform_.clock().now() - press->at >= kArrowPressWindow) {
    return false;
  }
  auto current = frame(which);
  const bool pointerMoved = Policy::pointsDiffer(press->pointer, platform_.events().mouseLocation(), kDragTolerance);
  const bool frameMoved =
      press->frameOrigin && current && Policy::pointsDiffer(*press->frameOrigin, current->origin(), kDragTolerance);
  return pointerMoved || frameMoved;
}

}  // namespace tarvolo
