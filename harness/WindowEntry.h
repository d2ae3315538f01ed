#pragma once

// One of the app's windows as the harness knows it, in one place: the steps that act on it,
// what the report shows of it and how a rendering draws it. The entries are listed in
// WindowEntries.cpp; the report and the renderings go through them and know no window by name.

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "harness/Step.h"
#include "harness/StepContext.h"

#include "platform/windows/RowIcon.h"

namespace tarvolo::sim {
class SimDesktop;
}

namespace tarvolo::scenario {

// A window as a checkpoint saw it.
class WindowView {
 public:
  virtual ~WindowView() = default;
  // Adds its keys to the report's "ui" object.
  virtual void report(nlohmann::ordered_json& ui) const = 0;
  // Its own object at the report's top level, if it has one.
  virtual std::optional<nlohmann::ordered_json> section() const { return std::nullopt; }
  // What the headline of a rendering says of it (" · rating prompt"); empty while it is not up.
  virtual std::string headline() const { return {}; }
  // Its lines under the bar, each ending in a newline; empty while it is not up.
  virtual std::string render() const { return {}; }
};

struct WindowEntry {
  // Names it in the report and the renderings' order (the key of its section, if it has one).
  std::string_view name;
  std::vector<StepKind> steps;
  // The window as it stands on the desktop now.
  std::shared_ptr<const WindowView> (*view)(const sim::SimDesktop& desktop);
};

// Every window, in the order a rendering draws them under the bar.
const std::vector<const WindowEntry*>& windowEntries();

// Runs one of a window's controls as a click would, on a copy: what it does may replace the
// window's controls.
template <typename Control, typename... Args>
void press(const Control& control, Args&&... args) {
  Control run = control;
  run(std::forward<Args>(args)...);
}

// JSON null for absent text.
inline nlohmann::ordered_json textOrNull(const std::optional<std::string>& text) {
  return text ? nlohmann::ordered_json(*text) : nlohmann::ordered_json(nullptr);
}

// A row's icon as the desktop draws it: `icon` names the owning app's own icon (null for the
// generic glyph: no app, or one the desktop does not know), and a system item's row also carries
// the `symbol` drawn instead.
void addDrawnIcon(nlohmann::ordered_json& row, const platform::RowIcon& icon, const sim::SimDesktop& desktop);

}  // namespace tarvolo::scenario
