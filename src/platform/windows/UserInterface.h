#pragma once

// The app's own windows and the notices it posts. Their contents are drawn by the backend from
// what the core hands it; a backend only draws and calls back what the user did.

#include <functional>
#include <optional>
#include <string>

#include "platform/windows/FirstLaunchCoachWindow.h"
#include "platform/windows/IconShelfPanel.h"
#include "platform/windows/NewAppNoticeWindow.h"
#include "platform/windows/PlacementGuideWindow.h"
#include "platform/windows/PreferencesWindow.h"
#include "platform/windows/ReviewPromptWindow.h"
#include "platform/windows/UpdateWindow.h"

namespace tarvolo::platform {

struct NoticeRequest {
  std::string message;
  std::optional<std::string> actionTitle;
  std::string kind;  // which notice this is, for replacing and dismissing
  std::function<void()> onAction;
};

// Hands out each window; the backend keeps one of each for the app's whole life.
class UserInterface {
 public:
  virtual ~UserInterface() = default;
  virtual FirstLaunchCoachWindow& firstLaunchCoach() = 0;
  virtual PreferencesWindow& preferences() = 0;
  virtual NewAppNoticeWindow& newAppNotice() = 0;
  virtual PlacementGuideWindow& placementGuide() = 0;
  virtual IconShelfPanel& iconShelfPanel() = 0;
  virtual void presentNotice(NoticeRequest notice) = 0;
  virtual void dismissNotice(const std::string& kind) = 0;
  virtual ReviewPromptWindow& reviewPrompt() = 0;
  virtual UpdateWindow& updateWindow() = 0;
};

}  // namespace tarvolo::platform
