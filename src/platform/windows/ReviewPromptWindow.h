#pragma once

// The small panel that asks, once in a long while, whether the user would rate Tarvolo.

#include <functional>
#include <optional>
#include <string>

#include "base/Geometry.h"

namespace tarvolo::platform {

struct ReviewPromptViewState {
  std::string message;
  std::string rateTitle;
  std::string laterTitle;
  std::string neverTitle;
  // The toggle's frame, to hang the panel under; absent while unknown.
  std::optional<Rect> anchor;
  friend bool operator==(const ReviewPromptViewState&, const ReviewPromptViewState&) = default;
};

struct ReviewPromptCallbacks {
  std::function<void()> rate;
  // Also what closing the panel any other way means.
  std::function<void()> later;
  std::function<void()> never;
};

class ReviewPromptWindow {
 public:
  virtual ~ReviewPromptWindow() = default;
  // Shows the panel without taking focus from the app in front.
  virtual void show(const ReviewPromptViewState& state, ReviewPromptCallbacks callbacks) = 0;
  virtual void update(const ReviewPromptViewState& state) = 0;
  virtual void close() = 0;
  virtual bool isShown() const = 0;
};

}  // namespace tarvolo::platform
