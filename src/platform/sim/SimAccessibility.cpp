#include "platform/sim/SimAccessibility.h"

#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimWindowList.h"

namespace tarvolo::sim {

namespace {
// From this major version items the system hides are not in the tree.
constexpr int kHiddenItemsAbsentFromOSMajor = 27;
}  // namespace

void SimAccessibility::setUnresponsive(int pid, bool unresponsive) {
  if (unresponsive) {
    unresponsive_.insert(pid);
  } else {
    unresponsive_.erase(pid);
  }
}

std::optional<std::vector<platform::AccessibilityMenuBarItem>> SimAccessibility::extrasMenuBarItems(int pid) const {
  if (!trusted_ || unresponsive_.contains(pid)) return std::nullopt;
  bool running = pid == kOwnPid ? desktop_.ownAppRunning() : false;
  if (pid != kOwnPid) {
    auto bundle = desktop_.bundleIdOfPid(pid);
    for (const auto& app : desktop_.apps()) {
      if (bundle && app.bundleId == *bundle && app.running) running = true;
    }
  }
  if (!running) return std::nullopt;

  const bool hiddenAbsent = desktop_.settings().osMajor >= kHiddenItemsAbsentFromOSMajor;
  std::vector<platform::AccessibilityMenuBarItem> out;
  for (const SimItemState* item : desktop_.itemsOf(pid)) {
    if (!item->visible) continue;
    if (hiddenAbsent && !item->onScreen) continue;
    platform::AccessibilityMenuBarItem element;
    if (auto frame = desktop_.reportedFrame(*item)) element.frame = desktop_.simWindowList().topLeftFrame(*frame);
    element.title = item->title.empty() ? item->autosaveName : item->title;
    element.identifier = item->autosaveName;
    out.push_back(std::move(element));
  }
  return out;
}

}  // namespace tarvolo::sim
