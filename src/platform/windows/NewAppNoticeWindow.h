#pragma once

// The panel that tells of a newly started app whose icon may have landed in a hidden zone.

#include <functional>
#include <optional>
#include <string>

namespace tarvolo::platform {

struct NewAppNoticeViewState {
  std::string bundleId;
  std::string title;
  std::string message;
  std::optional<std::string> iconPath;
  std::string arrangeTitle;
  std::string ignoreTitle;
  friend bool operator==(const NewAppNoticeViewState&, const NewAppNoticeViewState&) = default;
};

struct NewAppNoticeCallbacks {
  std::function<void()> arrange;
  std::function<void()> ignore;
};

class NewAppNoticeWindow {
 public:
  virtual ~NewAppNoticeWindow() = default;
  // Shows the panel without taking focus from the app the user just opened.
  virtual void show(const NewAppNoticeViewState& state, NewAppNoticeCallbacks callbacks) = 0;
  virtual void close() = 0;
  virtual bool isShown() const = 0;
};

}  // namespace tarvolo::platform
