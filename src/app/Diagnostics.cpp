#include "app/Diagnostics.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string_view>

#include "app/AppEnvironment.h"
#include "native/owners/NativeVisibilityEngine.h"
#include "permissions/AccessibilityPermission.h"
#include "statusbar/StatusBarController.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo::Diagnostics {

namespace {

std::string number(double value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.1f", value);
  return buffer;
}

std::string rect(const std::optional<Rect>& frame) {
  if (!frame) return "unreadable";
  return number(frame->x) + "," + number(frame->y) + " " + number(frame->width) + "x" + number(frame->height);
}

std::string yesNo(bool value) { return value ? "yes" : "no"; }

void check(std::vector<std::string>& lines, std::string_view name, bool passed, std::string_view why) {
  std::string line = "check " + std::string(name) + ": ";
  line += passed ? "ok" : "FAILED (" + std::string(why) + ")";
  lines.push_back(std::move(line));
}

}  // namespace

std::vector<std::string> report(AppEnvironment& environment) {
  platform::Platform& platform = environment.platform();
  std::vector<std::string> lines;
  lines.push_back("macOS: " + std::to_string(platform.system().osMajorVersion()));

  const auto screens = platform.screens().screens();
  lines.push_back("screens: " + std::to_string(screens.size()));
  for (std::size_t i = 0; i < screens.size(); ++i) {
    const auto& screen = screens[i];
    lines.push_back("screen " + std::to_string(i + 1) + ": " + rect(screen.frame) + " menu bar " +
                    number(screen.menuBarHeight) + " notch " + number(screen.notchWidth()));
  }

  lines.push_back("accessibility: " + yesNo(environment.accessibilityPermission().isTrusted.get()));
  lines.push_back("post events: " + yesNo(platform.events().mayPostEvents()));

  StatusBarController* bar = environment.statusBarController();
  if (!bar) {
    lines.push_back("status items: not created yet");
    return lines;
  }
  const OwnStatusItems& items = bar->ownItems();
  lines.push_back("toggle: " + rect(items.toggleFrame()));
  lines.push_back("separator: " + rect(items.separatorFrame()) + " length " + number(items.separatorLength()));
  lines.push_back("always-hidden separator: " + rect(items.alwaysHiddenSeparatorFrame()) + " length " +
                  number(items.alwaysHiddenSeparatorLength()));
  lines.push_back("engine: " + std::string(rawValue(bar->hidingEngines().hidingEngine())) +
                  " (system engine " + std::string(rawValue(environment.nativeVisibilityEngine().state())) + ")");
  lines.push_back("expanded: " + yesNo(bar->state().isExpanded));

  const CollapseEngine& engine = bar->collapseEngine();
  const auto& cache = engine.lengths().perAppLengths();
  if (const auto& cliff = engine.lengths().cliffCache()) {
    lines.push_back("cliff: " + cliff->screenKey.text() + " " + number(cliff->length));
  } else {
    lines.push_back("cliff: none");
  }
  for (const auto& [key, length] : cache.perApp) lines.push_back("length " + key.text() + ": " + number(length));
  for (const auto& [key, length] : cache.knownGoodMinByScreen) {
    lines.push_back("known good " + key.text() + ": " + number(length));
  }
  lines.push_back("collapse length now: " + number(engine.chooser().lengthForFrontmost()));
  const auto verdict = engine.verifier().lastCollapseVerdict();
  lines.push_back("last collapse: " +
                  (verdict ? std::string(MenuBarVisibilityPolicy::rawValue(*verdict)) : std::string("none")));
  lines.push_back("collapse attempts: " + std::to_string(engine.collapseAttempts()));

  // The platform's promises the engine builds on, read as they stand.
  check(lines, "a screen with a menu bar", !screens.empty() && screens.front().menuBarHeight > 0, "no menu bar");
  const auto toggle = items.toggleFrame();
  const auto separator = items.separatorFrame();
  check(lines, "own items have frames", toggle && separator, "a frame is unreadable");
  // Read from the frames, which a collapse leaves in order however long the separator is.
  check(lines, "own items in order", toggle && separator && separator->maxX() <= toggle->minX() + 1,
        "the separator is not left of the toggle");
  const bool onScreen = toggle && std::any_of(screens.begin(), screens.end(), [&](const platform::ScreenInfo& screen) {
                          return toggle->midX() >= screen.frame.minX() && toggle->midX() <= screen.frame.maxX();
                        });
  check(lines, "toggle on a screen", onScreen, "the toggle has no place on any screen");
  const double before = platform.clock().now();
  check(lines, "clock runs forward", platform.clock().now() >= before, "the clock went back");
  check(lines, "frontmost application readable", platform.workspace().frontmostApplication().has_value(),
        "no frontmost application");
  return lines;
}

std::string text(AppEnvironment& environment) {
  std::string out;
  for (const auto& line : report(environment)) out += line + "\n";
  return out;
}

}  // namespace tarvolo::Diagnostics
