// The Icon Shelf's panel: opening it on a tier, and what its controls do (typing into the
// search field, picking a tier, a key, a click on a row, the "identify" button).

#include <algorithm>

#include "app/AppEnvironment.h"
#include "harness/SimSession.h"
#include "harness/WindowEntry.h"
#include "shelf/owners/MenuBarAccessController.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;

constexpr const char* kNotShown = "the Icon Shelf is not shown";

// The panel's controls while it is shown.
const platform::IconShelfActions* shownControls(StepContext& context) {
  const auto& panel = context.desktop().userInterface().iconShelfPanel();
  return panel.shown() ? &panel.controls() : nullptr;
}

struct OpenShelf {
  std::optional<MenuBarAccessTier> tier;
  std::string describe() const {
    return tier ? "open the Icon Shelf on " + std::string(rawValue(*tier)) : "open the Icon Shelf";
  }
  std::optional<std::string> perform(StepContext& context) const {
    MenuBarAccessController* shelf = context.environment()->iconShelf();
    if (!shelf) return std::string("Tarvolo has no Icon Shelf yet");
    shelf->showShelf(tier);
    return std::nullopt;
  }
};

struct ShelfType {
  std::string text;
  std::string describe() const { return "type " + inQuotes(text) + " into the shelf"; }
  std::optional<std::string> perform(StepContext& context) const {
    const auto* controls = shownControls(context);
    if (!controls) return std::string(kNotShown);
    press(controls->showSearch);
    press(controls->setQuery, text);
    return std::nullopt;
  }
};

struct ShelfTier {
  MenuBarAccessTier tier = MenuBarAccessTier::all;
  std::string describe() const { return "shelf tier " + std::string(rawValue(tier)); }
  std::optional<std::string> perform(StepContext& context) const {
    const auto* controls = shownControls(context);
    if (!controls) return std::string(kNotShown);
    press(controls->selectTier, std::string(rawValue(tier)));
    return std::nullopt;
  }
};

enum class ShelfKey { up, down, enter, escape, find };
constexpr std::pair<const char*, ShelfKey> kShelfKeys[] = {{"up", ShelfKey::up},
                                                           {"down", ShelfKey::down},
                                                           {"return", ShelfKey::enter},
                                                           {"escape", ShelfKey::escape},
                                                           {"find", ShelfKey::find}};

struct ShelfPressKey {
  ShelfKey key = ShelfKey::down;
  std::string describe() const {
    switch (key) {
      case ShelfKey::up: return "shelf key ↑";
      case ShelfKey::down: return "shelf key ↓";
      case ShelfKey::enter: return "shelf key ↩";
      case ShelfKey::escape: return "shelf key ⎋";
      case ShelfKey::find: return "shelf key ⌘F";
    }
    return "shelf key";
  }
  std::optional<std::string> perform(StepContext& context) const {
    const auto* controls = shownControls(context);
    if (!controls) return std::string(kNotShown);
    switch (key) {
      case ShelfKey::up: press(controls->moveSelection, -1); break;
      case ShelfKey::down: press(controls->moveSelection, 1); break;
      case ShelfKey::enter: press(controls->activateSelection); break;
      case ShelfKey::escape: press(controls->escape); break;
      case ShelfKey::find: press(controls->showSearch); break;
    }
    return std::nullopt;
  }
};

// A row by its name as the shelf shows it, or by its id.
struct ShelfChoose {
  std::string row;
  std::string describe() const { return "choose shelf row " + row; }
  std::optional<std::string> perform(StepContext& context) const {
    const auto* controls = shownControls(context);
    const auto& state = context.desktop().userInterface().iconShelfPanel().lastState();
    if (!controls || !state) return std::string(kNotShown);
    auto named = [&](const platform::IconShelfRow& shown) { return shown.name == row || shown.id == row; };
    auto chosen = std::find_if(state->rows.begin(), state->rows.end(), named);
    if (chosen == state->rows.end()) return "the Icon Shelf shows no row " + row;
    press(controls->chooseRow, std::string(chosen->id));
    return std::nullopt;
  }
};

struct ShelfDiscover {
  std::string describe() const { return "identify hidden icons"; }
  std::optional<std::string> perform(StepContext& context) const {
    const auto* controls = shownControls(context);
    if (!controls) return std::string(kNotShown);
    press(controls->discover);
    return std::nullopt;
  }
};

Action parseOpenShelf(const StepInput& in) {
  if (in.value.isString()) return makeAction(OpenShelf{parseTier(in.value)});
  expectTrue(in.value);
  return makeAction(OpenShelf{});
}

Action parseShelfKey(const StepInput& in) {
  const std::string name = in.value.string();
  for (const auto& [text, key] : kShelfKeys) {
    if (name == text) return makeAction(ShelfPressKey{key});
  }
  in.value.fail("unknown key " + inQuotes(name) + " (expected up, down, return, escape or find)");
}

class IconShelfView final : public WindowView {
 public:
  explicit IconShelfView(const sim::SimDesktop& desktop) : shown_(desktop.userInterface().iconShelfPanel().shown()) {
    const auto* state = desktop.userInterface().iconShelfPanel().showing();
    if (!state) return;
    state_ = *state;
    for (const auto& row : state->rows) {
      json drawn = json::object();
      addDrawnIcon(drawn, row.icon, desktop);
      icons_.push_back(std::move(drawn));
    }
  }

  void report(json& ui) const override {
    ui["iconShelfShown"] = shown_;
    ui["iconShelfTier"] = textOrNull(tier());
  }

  std::optional<json> section() const override {
    if (!state_) return json(nullptr);
    json rows = json::array();
    std::optional<std::string> selection;
    for (std::size_t i = 0; i < state_->rows.size(); ++i) {
      const auto& row = state_->rows[i];
      json shown = {{"id", row.id}, {"name", row.name}, {"label", textOrNull(row.systemLabel)}, {"selected", row.selected}};
      shown.update(icons_[i]);
      rows.push_back(std::move(shown));
      if (row.selected) selection = row.id;
    }
    return json{{"tier", textOrNull(tier())},
                {"query", state_->query},
                {"searchExpanded", state_->searchExpanded},
                {"rows", std::move(rows)},
                {"selection", textOrNull(selection)},
                {"error", textOrNull(state_->errorText)},
                {"empty", textOrNull(state_->emptyText)},
                {"permissionRequested", state_->permissionText.has_value()},
                {"loading", state_->loading},
                {"discovering", state_->discovering},
                {"panelHeight", state_->panelHeight}};
  }

  std::string headline() const override { return shown_ ? " · Icon Shelf open" : ""; }

  // The panel: tier, query, rows (the selection marked) and the error line.
  std::string render() const override {
    if (!state_) return {};
    std::string out = "  ┌ Icon Shelf · " + tier().value_or("all");
    if (state_->searchExpanded || !state_->query.empty()) out += " · search \"" + state_->query + "\"";
    if (state_->loading) out += " · scanning";
    if (state_->discovering) out += " · identifying";
    out += "\n";
    if (state_->permissionText) out += "  │ needs the Accessibility permission\n";
    if (state_->emptyText) out += "  │ " + *state_->emptyText + "\n";
    for (const auto& row : state_->rows) {
      out += std::string("  │ ") + (row.selected ? "▸ " : "  ") + row.name;
      if (row.systemLabel) out += " (" + *row.systemLabel + ")";
      out += "   " + row.id + "\n";
    }
    if (state_->errorText) out += "  │ ⚠ " + *state_->errorText + "\n";
    return out + "  └\n";
  }

 private:
  // The tier the panel shows, while it is up.
  std::optional<std::string> tier() const {
    if (!state_) return std::nullopt;
    std::optional<std::string> selected;
    for (const auto& option : state_->tiers) {
      if (option.selected) selected = option.rawValue;
    }
    return selected;
  }

  bool shown_ = false;
  std::optional<platform::IconShelfViewState> state_;
  std::vector<json> icons_;  // each row's icon as drawn, in row order
};

}  // namespace

const WindowEntry& iconShelfEntry() {
  static const WindowEntry entry{
      .name = "shelf",
      .steps = {{"openShelf", {}, parseOpenShelf},
                {"shelfType", {}, [](const StepInput& in) { return makeAction(ShelfType{in.value.string()}); }},
                {"shelfTier", {}, [](const StepInput& in) { return makeAction(ShelfTier{parseTier(in.value)}); }},
                {"shelfKey", {}, parseShelfKey},
                {"shelfChoose", {},
                 [](const StepInput& in) { return makeAction(ShelfChoose{in.value.nonEmptyString()}); }},
                {"shelfDiscover", {},
                 [](const StepInput& in) {
                   expectTrue(in.value);
                   return makeAction(ShelfDiscover{});
                 }}},
      .view = [](const sim::SimDesktop& desktop) -> std::shared_ptr<const WindowView> {
        return std::make_shared<IconShelfView>(desktop);
      }};
  return entry;
}

}  // namespace tarvolo::scenario
