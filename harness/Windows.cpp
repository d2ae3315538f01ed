#include "harness/Windows.h"

#include <cmath>

namespace tarvolo::scenario {

using json = nlohmann::ordered_json;

namespace {

json optionalText(const std::optional<std::string>& text) { return text ? json(*text) : json(nullptr); }

json switchJson(const std::optional<platform::PreferencesSwitch>& control) {
  if (!control) return nullptr;
  return {{"title", control->title}, {"on", control->on}, {"enabled", control->enabled}};
}

json rowJson(const platform::PreferencesItemRow& row) {
  return {{"bundleId", row.bundleId},
          {"name", row.name},
          {"zone", row.zone},
          {"pinned", row.pinned},
          {"outOfPlace", row.outOfPlaceNote.has_value()}};
}

std::string titleOf(const std::vector<platform::PreferencesChoice>& choices, const std::string& id) {
  for (const auto& choice : choices) {
    if (choice.id == id) return choice.title;
  }
  return id;
}

std::string onOff(bool on) { return on ? "on" : "off"; }

std::string points(double value) { return std::to_string(std::llround(value)); }

}  // namespace

json toJson(const platform::PreferencesViewState& state) {
  const auto& general = state.general;
  const auto& items = state.items;
  json rows = json::array();
  for (const auto& row : items.rows) rows.push_back(rowJson(row));
  json other = json::array();
  for (const auto& row : items.otherRunningRows) other.push_back(rowJson(row));
  return {{"title", state.windowTitle},
          {"tab", platform::rawValue(state.tab)},
          {"tabTitle", titleOf(state.tabs, std::string(platform::rawValue(state.tab)))},
          {"general",
           {{"language", general.selectedLanguage},
            {"autoCollapseDelay", general.selectedDelay.empty() ? json(nullptr) : json(std::stod(general.selectedDelay))},
            {"launchAtLogin", switchJson(general.launchAtLogin)},
            {"launchAtLoginNote", optionalText(general.launchAtLoginNote)},
            {"revealOnHover", switchJson(general.revealOnHover)},
            {"newAppNotices", general.newAppNotices.on}}},
          {"items",
           {{"search", items.searchText},
            {"rows", std::move(rows)},
            {"otherRunningShown", items.otherRunningShown},
            {"otherRunning", std::move(other)},
            {"empty", optionalText(items.emptyText)},
            {"toast", optionalText(items.toast)}}},
          {"hotkeys",
           {{"chord", state.hotkeys.chord},
            {"recording", state.hotkeys.recording},
            {"conflict", optionalText(state.hotkeys.conflict)}}},
          {"about", {{"version", state.about.version}}}};
}

json toJson(const platform::NewAppNoticeViewState& state) {
  return {{"bundleId", state.bundleId},
          {"message", state.message},
          {"arrange", state.arrangeTitle},
          {"ignore", state.ignoreTitle}};
}

json toJson(const platform::ReviewPromptViewState& state) {
  return {{"message", state.message}, {"rate", state.rateTitle}, {"later", state.laterTitle}, {"never", state.neverTitle}};
}

json toJson(const platform::PlacementGuideViewState& state) {
  json target = nullptr;
  if (state.target) target = {{"minX", state.target->minX()}, {"maxX", state.target->maxX()}};
  return {{"title", state.title},
          {"app", optionalText(state.appName)},
          {"progress", optionalText(state.progress)},
          {"target", std::move(target)},
          {"detected", state.detected.has_value()}};
}

std::string renderWindow(const platform::PreferencesViewState& state) {
  std::string out = "  ▣ " + state.windowTitle + " —";
  for (const auto& tab : state.tabs) {
    out += tab.id == platform::rawValue(state.tab) ? " [" + tab.title + "]" : " " + tab.title;
  }
  out += "\n";
  switch (state.tab) {
    case platform::PreferencesTab::general: {
      const auto& general = state.general;
      out += "    " + general.languageTitle + ": " + titleOf(general.languages, general.selectedLanguage);
      if (!general.selectedDelay.empty()) {
        out += " · " + general.delayTitle + ": " + titleOf(general.delays, general.selectedDelay);
      }
      out += "\n    ";
      if (general.launchAtLogin) out += general.launchAtLogin->title + ": " + onOff(general.launchAtLogin->on) + " · ";
      if (general.revealOnHover) out += general.revealOnHover->title + ": " + onOff(general.revealOnHover->on) + " · ";
      out += general.newAppNotices.title + ": " + onOff(general.newAppNotices.on) + "\n";
      if (general.launchAtLoginNote) out += "    " + *general.launchAtLoginNote + "\n";
      break;
    }
    case platform::PreferencesTab::items: {
      const auto& items = state.items;
      if (!items.searchText.empty()) out += "    🔍 " + items.searchText + "\n";
      auto rowLine = [&](const platform::PreferencesItemRow& row) {
        std::string line = "    " + row.name + " — " + titleOf(items.zones, row.zone);
        if (row.pinned) line += " · " + items.pinnedBadge;
        if (row.outOfPlaceNote) line += " · ⚠ " + *row.outOfPlaceNote;
        return line + "\n";
      };
      for (const auto& row : items.rows) out += rowLine(row);
      if (items.emptyText) out += "    " + *items.emptyText + "\n";
      for (const auto& row : items.otherRunningRows) out += rowLine(row);
      if (items.toast) out += "    » " + *items.toast + "\n";
      break;
    }
    case platform::PreferencesTab::hotkeys:
      out += "    " + state.hotkeys.actionTitle + ": " + state.hotkeys.chord + "\n";
      if (state.hotkeys.conflict) out += "    ⚠ " + *state.hotkeys.conflict + "\n";
      break;
    case platform::PreferencesTab::about:
      out += "    " + state.about.appName + " " + state.about.version + " · " + state.about.privacyTitle + "\n";
      break;
  }
  return out;
}

std::string renderWindow(const platform::NewAppNoticeViewState& state) {
  return "  ▤ " + state.message + "  [" + state.arrangeTitle + "] [" + state.ignoreTitle + "]\n";
}

std::string renderWindow(const platform::ReviewPromptViewState& state) {
  return "  ☆ " + state.message + "  [" + state.rateTitle + "] [" + state.laterTitle + "] [" + state.neverTitle + "]\n";
}

std::string renderWindow(const platform::PlacementGuideViewState& state) {
  std::string out = "  ◎ " + state.title;
  if (state.appName) out += " — " + *state.appName;
  if (state.progress) out += " (" + *state.progress + ")";
  if (state.target) out += " · target " + points(state.target->minX()) + "–" + points(state.target->maxX());
  out += "\n    " + state.body + "\n";
  if (state.detected) out += "    ✓ " + *state.detected + "\n";
  return out + "    [" + state.cancelTitle + "] [" + state.confirmTitle + "]\n";
}

}  // namespace tarvolo::scenario
