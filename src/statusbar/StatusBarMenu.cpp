// The state machine's clicks and context menu. What concerns the bar itself is done here; what
// another owner carries out (the Icon Shelf, the settings, the placement guide) goes up as a
// command event, which the app layer routes.

#include "base/Log.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

namespace Policy = MenuBarVisibilityPolicy;
using platform::EventType;

// --- clicks ------------------------------------------------------------------------------------

void StatusBarController::statusItemClicked(std::optional<platform::Event> sent) {
  mainThread_.check();
  MenuBarLog::log(LogLine("statusItemClicked fired,")
                      .add("currentEvent", sent ? platform::eventTypeName(sent->type) : "none"));
  // Pressed through Accessibility: what a plain left click does.
  const platform::Event event =
      sent.value_or(platform::Event{.type = EventType::leftMouseUp, .timestamp = platform_.clock().now()});
  if (event.type == EventType::rightMouseUp) {
    showContextMenu();
    return;
  }
  if (event.type == EventType::leftMouseDown) {
    clicks_.recordArrowPress();
    return;
  }
  if (event.type != EventType::leftMouseUp) return;
  auto action = clicks_.readClick(event, surroundings_.placementInProgress());
  if (!action) {
    // The user dragged the toggle: the order may have changed.
    orderRepair_.scheduleOrderRepairCheck(OwnOrderRepair::Trigger::detected);
    return;
  }
  performArrowClickAction(*action);
}

void StatusBarController::performArrowClickAction(Policy::ArrowClickAction action) {
  using Action = Policy::ArrowClickAction;
  switch (action) {
    case Action::openShelf:
      publish(BarEvent::ToggleIconShelf{});
      return;
    case Action::openShelfAll:
      publish(BarEvent::ShowIconShelf{.tier = MenuBarAccessTier::all});
      return;
    case Action::expandFolded:
      publish(BarEvent::CloseIconShelf{});
      toggleBar(ExpandDepth::normal);
      return;
    case Action::expandAll:
      publish(BarEvent::CloseIconShelf{});
      expandBar(ExpandDepth::deep, Initiator::user);
      return;
  }
}

void StatusBarController::separatorClicked(std::optional<platform::Event> event) {
  if (event && event->type == EventType::rightMouseUp) {
    showContextMenu();
    return;
  }
  if (separatorWasDragged(SeparatorClicks::Which::separator, event)) return;
  toggleBar(ExpandDepth::normal);
}

void StatusBarController::alwaysHiddenSeparatorClicked(std::optional<platform::Event> event) {
  if (event && event->type == EventType::rightMouseUp) {
    showContextMenu();
    return;
  }
  if (separatorWasDragged(SeparatorClicks::Which::alwaysHidden, event)) return;
  toggleBar(ExpandDepth::deep);
}

bool StatusBarController::separatorWasDragged(SeparatorClicks::Which which, const std::optional<platform::Event>& event) {
  if (!event) return false;
  if (event->type == EventType::leftMouseDown) {
    separatorClicks_.recordPress(which);
    return true;
  }
  if (!separatorClicks_.endsCommandDrag(which, *event)) return false;
  // A long separator hides where it now stands: the order is read again before anything hides.
  orderUnsureAfterDrag_ = true;
  MenuBarLog::log(LogLine("separator click ignored: command drag")
                      .add("item", which == SeparatorClicks::Which::separator ? "separator" : "alwaysHiddenSeparator"));
  return true;
}

// --- context menu ------------------------------------------------------------------------------

// One row per command, in the order the menu shows them: the title's key, the action's name and
// what choosing it does.
platform::Menu StatusBarController::buildContextMenu() {
  auto item = [this](const char* key, const char* action, void (StatusBarController::*method)(),
                     const char* keyEquivalent = "") {
    return platform::MenuItem{.title = text(key), .action = action, .keyEquivalent = keyEquivalent,
                              .perform = bindWeak(weak(), method)};
  };
  platform::Menu menu;
  menu.items.push_back(item("iconbar.title", "menuOpenIconBar", &StatusBarController::menuOpenIconBar));
  menu.items.push_back(item("iconbar.expand", "menuExpandFolded", &StatusBarController::menuExpandFolded));
  menu.items.push_back(item("menu_show_all", "menuShowAll", &StatusBarController::menuShowAll));
  menu.items.push_back(item("menu_collapse", "menuCollapse", &StatusBarController::menuCollapse));
  menu.items.push_back(item("menu_arrange", "menuArrange", &StatusBarController::menuArrange));
  // Offered while icons are shown, the moment a user notices one they would rather hide.
  if (state_.isExpanded) {
    menu.items.push_back(item("menu_hide_in_settings", "menuHideInSettings", &StatusBarController::menuHideInSettings));
  }
  if (orderRepair_.repairOffered()) {
    menu.items.push_back(item("menu_repair_order", "repairMenuBarOrder", &StatusBarController::repairMenuBarOrder));
  }
  menu.items.push_back(platform::MenuItem::separator());
  if (updatesAvailable_) {
    menu.items.push_back(item("menu_check_updates", "checkForUpdates", &StatusBarController::menuCheckForUpdates));
  }
  menu.items.push_back(item("menu_preferences", "openPreferences", &StatusBarController::menuPreferences, ","));
  menu.items.push_back(item("menu_quit", "quitApp", &StatusBarController::quitApp, "q"));
  return menu;
}

void StatusBarController::showContextMenu() {
  if (!items_.hasToggle()) return;
  items_.popUpToggleMenu(buildContextMenu());
}

void StatusBarController::menuOpenIconBar() { publish(BarEvent::ShowIconShelf{}); }
void StatusBarController::menuExpandFolded() { expandBar(ExpandDepth::normal, Initiator::user); }
void StatusBarController::menuShowAll() { expandBar(ExpandDepth::deep, Initiator::user); }
void StatusBarController::menuCollapse() { collapseBar(CollapseReason::menu); }

void StatusBarController::menuArrange() {
  MenuBarLog::log("arrange requested");
  publish(BarEvent::Arrange{});
}

void StatusBarController::menuHideInSettings() { openPreferences(std::string("items")); }
void StatusBarController::menuPreferences() { openPreferences(std::nullopt); }
void StatusBarController::menuCheckForUpdates() { publish(BarEvent::CheckForUpdates{}); }

void StatusBarController::openPreferences(std::optional<std::string> focusing) {
  Diag::log(LogLine("openPreferences").add("focus", focusing));
  publish(BarEvent::OpenPreferences{.focus = std::move(focusing)});
}

void StatusBarController::repairMenuBarOrder() { orderRepair_.repairMenuBarOrder(); }

std::function<void()> StatusBarController::repairAction() {
  return bindWeak(weak(), &StatusBarController::repairMenuBarOrder);
}

void StatusBarController::quitApp() { platform_.application().terminate(); }

}  // namespace tarvolo
