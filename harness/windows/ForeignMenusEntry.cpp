// Menus of other applications' items, opened through Accessibility or a click: every one that
// opened and how it closed, and the ways the user closes the open one.

#include "harness/SimSession.h"
#include "harness/WindowEntry.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;

constexpr std::uint16_t kReturnKeyCode = 36;
constexpr std::uint16_t kEscapeKeyCode = 53;
// A click on the desktop, away from every menu and item.
constexpr Point kDesktopPoint{400, 300};

// Escape, Return, a click elsewhere, or choosing an entry.
enum class MenuCloser { escape, enter, clickElsewhere, choose };
constexpr std::pair<const char*, MenuCloser> kClosers[] = {{"escape", MenuCloser::escape},
                                                           {"return", MenuCloser::enter},
                                                           {"click", MenuCloser::clickElsewhere},
                                                           {"choose", MenuCloser::choose}};

struct CloseMenu {
  MenuCloser how = MenuCloser::escape;
  std::string describe() const {
    switch (how) {
      case MenuCloser::escape: return "close the open menu with ⎋";
      case MenuCloser::enter: return "close the open menu with ↩";
      case MenuCloser::clickElsewhere: return "close the open menu by clicking elsewhere";
      case MenuCloser::choose: return "choose an entry of the open menu";
    }
    return "close the open menu";
  }
  std::optional<std::string> perform(StepContext& context) const {
    sim::SimDesktop& desktop = context.desktop();
    if (!desktop.menus().foreignMenu()) return std::string("no menu of another app is open");
    switch (how) {
      case MenuCloser::escape: desktop.events().pressKey(kEscapeKeyCode); break;
      case MenuCloser::enter: desktop.events().pressKey(kReturnKeyCode); break;
      case MenuCloser::clickElsewhere: desktop.events().clickElsewhere(kDesktopPoint); break;
      case MenuCloser::choose: desktop.events().chooseForeignMenuEntry(); break;
    }
    return std::nullopt;
  }
};

Action parseCloseMenu(const StepInput& in) {
  const std::string name = in.value.string();
  for (const auto& [text, closer] : kClosers) {
    if (name == text) return makeAction(CloseMenu{closer});
  }
  in.value.fail("unknown way " + inQuotes(name) + " (expected escape, return, click or choose)");
}

// Oldest first.
class ForeignMenusView final : public WindowView {
 public:
  explicit ForeignMenusView(std::vector<sim::SimForeignMenuRecord> menus) : menus_(std::move(menus)) {}

  void report(json&) const override {}

  std::optional<json> section() const override {
    json menus = json::array();
    for (const auto& menu : menus_) {
      menus.push_back({{"bundleId", menu.ownerBundleId},
                       {"item", menu.itemName},
                       {"openedBy", menu.openedBy},
                       {"openedAt", menu.openedAt},
                       {"closedBy", textOrNull(menu.closedBy)},
                       {"closedAt", menu.closedAt ? json(*menu.closedAt) : json(nullptr)}});
    }
    return menus;
  }

  std::string render() const override {
    if (menus_.empty() || menus_.back().closedBy) return {};
    const auto& menu = menus_.back();
    return "  open menu        " + menu.ownerBundleId + " " + menu.itemName + " (opened by " + menu.openedBy + ")\n";
  }

 private:
  std::vector<sim::SimForeignMenuRecord> menus_;
};

}  // namespace

const WindowEntry& foreignMenusEntry() {
  static const WindowEntry entry{
      .name = "foreignMenus",
      .steps = {{"closeMenu", {}, parseCloseMenu}},
      .view = [](const sim::SimDesktop& desktop) -> std::shared_ptr<const WindowView> {
        return std::make_shared<ForeignMenusView>(desktop.menus().foreignMenus());
      }};
  return entry;
}

}  // namespace tarvolo::scenario
