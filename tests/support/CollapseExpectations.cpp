#include "support/CollapseExpectations.h"

#include <optional>

#include "statusbar/StatusBarController.h"

namespace tarvolo::testing {

namespace {

std::optional<double> ownPosition(sim::SimDesktop& desktop, const char* autosaveName) {
  return desktop.defaults().getDouble(StatusBarController::preferredPositionKey(autosaveName));
}

}  // namespace

std::vector<std::string> collapseProblems(sim::SimDesktop& desktop) {
  std::vector<std::string> problems;
  const auto* toggle = desktop.ownItem(StatusBarController::toggleAutosaveName);
  const auto* separator = desktop.ownItem(StatusBarController::separatorAutosaveName);
  if (!toggle || !toggle->onScreen) problems.push_back("toggle off screen");
  if (!separator || !separator->onScreen) problems.push_back("separator off screen");
  if (desktop.menuTitlesDropped() > 0) {
    problems.push_back(std::to_string(desktop.menuTitlesDropped()) + " menu titles dropped");
  }
  auto fold = ownPosition(desktop, StatusBarController::separatorAutosaveName);
  if (!fold) {
    problems.push_back("separator has no stored position");
    return problems;
  }
  for (const auto* item : desktop.allItems()) {
    if (item->ownerPid == sim::kOwnPid) continue;
    const bool alwaysVisible = item->preferredPosition && *item->preferredPosition < *fold;
    if (alwaysVisible == item->onScreen) continue;
    std::string who = desktop.bundleIdOfPid(item->ownerPid).value_or("?") + "/" + item->autosaveName;
    problems.push_back(who + (alwaysVisible ? " (always visible) off screen" : " (hidden) on screen"));
  }
  return problems;
}

int countLogLines(const sim::SimDesktop& desktop, const std::string& needle, std::size_t from) {
  int count = 0;
  const auto& lines = desktop.logLines();
  for (std::size_t i = from; i < lines.size(); ++i) {
    if (lines[i].message.find(needle) != std::string::npos) ++count;
  }
  return count;
}

}  // namespace tarvolo::testing
