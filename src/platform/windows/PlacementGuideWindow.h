#pragma once

// The placement guide's panel: what to drag where, a ring around the zone it belongs in, and
// the ways out.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Geometry.h"

namespace tarvolo::platform {

struct PlacementGuideViewState {
  std::string title;
  std::string body;
  std::vector<std::string> steps;         // how to drag, one line each
  std::optional<std::string> appName;     // the app whose icon is moved; none for the tour
  std::optional<std::string> iconPath;
  std::optional<std::string> progress;    // "2 / 3" in a tour of several apps
  // The stretch of the bar the icon belongs in, in the status items' coordinates; absent while
  // the own items cannot be read.
  std::optional<Rect> target;
  std::optional<std::string> note;        // a side remark, e.g. other icons beside the target
  std::optional<std::string> detected;    // set once the icon sits in its zone
  std::string confirmTitle;
  std::string confirmHint;
  bool confirmEnabled = true;
  std::string cancelTitle;
  std::string cancelHint;
  friend bool operator==(const PlacementGuideViewState&, const PlacementGuideViewState&) = default;
};

struct PlacementGuideCallbacks {
  std::function<void()> confirm;  // Return
  std::function<void()> cancel;   // Esc, or the close box
};

class PlacementGuideWindow {
 public:
  virtual ~PlacementGuideWindow() = default;
  virtual void show(const PlacementGuideViewState& state, PlacementGuideCallbacks callbacks) = 0;
  virtual void update(const PlacementGuideViewState& state) = 0;
  virtual void close() = 0;
  virtual bool isShown() const = 0;
  // The panel's and the ring's frames while shown, for telling whether the pointer is on them.
  virtual std::vector<Rect> chromeFrames() const = 0;
};

}  // namespace tarvolo::platform
