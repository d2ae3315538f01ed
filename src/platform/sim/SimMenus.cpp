#include "platform/sim/SimMenus.h"

#include <algorithm>

#include "platform/sim/SimBar.h"
#include "platform/sim/SimProcesses.h"
#include "platform/sim/SimSinkSlot.h"

namespace tarvolo::sim {

SimMenus::SimMenus(Parts parts)
    : clock_(parts.clock), sink_(parts.sink), bar_(parts.bar), processes_(parts.processes) {}

void SimMenus::openContextMenu(const std::string& ownerAutosaveName, const platform::Menu& menu) {
  if (openMenu_) dismissMenu();
  openMenu_ = SimMenuRecord{ownerAutosaveName, menu, clock_.now()};
  ++menuOpenCount_;
  sink_.report([](platform::SystemEventSink& sink) { sink.menuDidBeginTracking(); });
}

bool SimMenus::chooseMenuAction(const std::string& action) {
  if (!openMenu_) return false;
  const auto& items = openMenu_->menu.items;
  auto chosen = std::find_if(items.begin(), items.end(), [&](const platform::MenuItem& item) {
    return !item.isSeparator && item.action == action;
  });
  if (chosen == items.end()) return false;
  std::function<void()> perform = chosen->perform;
  openMenu_.reset();
  sink_.report([](platform::SystemEventSink& sink) { sink.menuDidEndTracking(); });
  if (perform) perform();
  return true;
}

void SimMenus::dismissMenu() {
  if (!openMenu_) return;
  openMenu_.reset();
  sink_.report([](platform::SystemEventSink& sink) { sink.menuDidEndTracking(); });
}

void SimMenus::beginMenuTracking() {
  ++menuTrackingDepth_;
  sink_.report([](platform::SystemEventSink& sink) { sink.menuDidBeginTracking(); });
}

void SimMenus::endMenuTracking() {
  if (menuTrackingDepth_ == 0) return;
  --menuTrackingDepth_;
  sink_.report([](platform::SystemEventSink& sink) { sink.menuDidEndTracking(); });
}

const SimForeignMenuRecord* SimMenus::foreignMenu() const {
  if (foreignMenus_.empty() || foreignMenus_.back().closedBy) return nullptr;
  return &foreignMenus_.back();
}

bool SimMenus::openForeignMenu(int itemId, const std::string& openedBy) {
  const SimItemState* target = bar_.item(itemId);
  if (!target || target->ownerPid == kOwnPid) return false;
  if (const auto* open = foreignMenu(); open && open->itemId == itemId) return true;
  // Opening a menu ends any other menu's tracking, the app's own included.
  closeForeignMenu("click-elsewhere");
  if (openMenu_) dismissMenu();
  foreignMenus_.push_back(SimForeignMenuRecord{.itemId = itemId,
                                               .ownerBundleId = processes_.bundleIdOfPid(target->ownerPid).value_or(""),
                                               .itemName = target->autosaveName,
                                               .openedBy = openedBy,
                                               .openedAt = clock_.now()});
  return true;
}

void SimMenus::closeForeignMenu(const std::string& closedBy) {
  if (foreignMenus_.empty() || foreignMenus_.back().closedBy) return;
  SimForeignMenuRecord& menu = foreignMenus_.back();
  menu.closedBy = closedBy;
  menu.closedAt = clock_.now();
  auto pid = processes_.pidOf(menu.ownerBundleId);
  if (pid && foreignMenuClosed_) foreignMenuClosed_(*pid, menu.itemId);
}

void SimMenus::ownProcessExited() {
  menuTrackingDepth_ = 0;
  openMenu_.reset();
}

}  // namespace tarvolo::sim
