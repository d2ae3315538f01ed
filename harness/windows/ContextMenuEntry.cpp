// The toggle's context menu: opened with a right click, and one of its items chosen.

#include <algorithm>

#include "harness/Scenario.h"
#include "harness/SimSession.h"
#include "harness/WindowEntry.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;

// The context-menu actions a `menu` step may choose.
const std::vector<std::string>& knownMenuActions() {
  static const std::vector<std::string> actions = {
      "menuOpenIconBar", "menuExpandFolded",   "menuShowAll",     "menuCollapse",
      "menuArrange",     "menuHideInSettings", "openPreferences", "quitApp", "repairMenuBarOrder", "checkForUpdates",
  };
  return actions;
}

// Opens the context menu with a right click on the toggle, then chooses `action`.
struct ChooseMenuAction {
  std::string action;
  std::string describe() const { return "menu " + action; }
  std::optional<std::string> perform(StepContext& context) const {
    sim::SimDesktop& desktop = context.desktop();
    if (!desktop.events().clickOwnItem(autosaveName(OwnItem::toggle), sim::MouseButton::right)) {
      return std::string("the toggle is not on screen");
    }
    // The menu opens on the mouse-up; the item is chosen as soon as it shows.
    context.session().runFor(desktop.settings().clickDuration);
    if (!desktop.menus().openMenu()) return std::string("no context menu opened");
    if (desktop.menus().chooseMenuAction(action)) return std::nullopt;
    desktop.menus().dismissMenu();
    return "the context menu has no " + action + " item";
  }
  bool endsTheRun() const { return action == "quitApp"; }
};

Action parseMenu(const StepInput& in) {
  std::string action = in.value.string();
  const auto& known = knownMenuActions();
  if (std::find(known.begin(), known.end(), action) == known.end()) {
    in.value.fail("unknown action " + inQuotes(action) + " (expected " + joined(known) + ")");
  }
  return makeAction(ChooseMenuAction{action});
}

class ContextMenuView final : public WindowView {
 public:
  explicit ContextMenuView(bool open) : open_(open) {}
  void report(json& ui) const override { ui["contextMenuOpen"] = open_; }
  std::string headline() const override { return open_ ? " · context menu open" : ""; }

 private:
  bool open_ = false;
};

}  // namespace

const WindowEntry& contextMenuEntry() {
  static const WindowEntry entry{
      .name = "contextMenu",
      .steps = {{"menu", {}, parseMenu}},
      .view = [](const sim::SimDesktop& desktop) -> std::shared_ptr<const WindowView> {
        return std::make_shared<ContextMenuView>(desktop.menus().openMenu().has_value());
      }};
  return entry;
}

}  // namespace tarvolo::scenario
