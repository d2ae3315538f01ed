#include "harness/Report.h"

#include "app/AppEnvironment.h"
#include "hotkeys/AppShortcuts.h"
#include "hotkeys/HotkeyManager.h"
#include "intents/LaunchAtLogin.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "harness/Scenario.h"
#include "platform/sim/SimAccessibility.h"
#include "discovery/owners/StatusItemManager.h"
#include "native/owners/NativeVisibilityEngine.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo::scenario {

using json = nlohmann::ordered_json;

namespace {

std::optional<OwnItemFrame> ownItemFrame(const sim::SimDesktop& desktop, OwnItem which) {
  const sim::SimItemState* item = desktop.bar().ownItem(autosaveName(which));
  if (!item || !item->frame) return std::nullopt;
  return OwnItemFrame{.minX = item->frame->minX(),
                      .maxX = item->frame->maxX(),
                      .length = item->frame->width,
                      .onScreen = item->onScreen};
}

std::string appNameOf(const sim::SimDesktop& desktop, const std::string& bundleId) {
  for (const auto& app : desktop.processes().apps()) {
    if (app.bundleId == bundleId) return app.name;
  }
  return bundleId;
}

json frameJson(const std::optional<OwnItemFrame>& frame) {
  if (!frame) return nullptr;
  return {{"minX", frame->minX}, {"maxX", frame->maxX}, {"length", frame->length}, {"onScreen", frame->onScreen}};
}

// The order the report has always listed the windows' keys of "ui" in; keys of windows added
// since follow in the order of their entries.
constexpr std::string_view kUiKeyOrder[] = {
    "iconShelfShown",    "iconShelfTier", "preferencesVisible", "coachPresentations", "contextMenuOpen",
    "notices",           "preferencesOpened", "preferences",    "newAppNotice",       "newAppNotices",
    "reviewPrompt",      "reviewPrompts", "placementGuide",     "coach"};

json uiJson(const std::vector<WindowShot>& windows) {
  json keys = json::object();
  for (const WindowShot& window : windows) window.view->report(keys);
  json ui = json::object();
  for (std::string_view key : kUiKeyOrder) {
    auto found = keys.find(std::string(key));
    if (found == keys.end()) continue;
    ui[std::string(key)] = std::move(*found);
    keys.erase(found);
  }
  for (auto& [key, value] : keys.items()) ui[key] = std::move(value);
  return ui;
}

}  // namespace

std::optional<PlacementZone> barZone(double minX, double maxX, const BarSnapshot& bar) {
  if (!bar.toggle || !bar.separator || !bar.alwaysHiddenSeparator) return std::nullopt;
  const OwnItemFrame& toggle = *bar.toggle;
  const OwnItemFrame& separator = *bar.separator;
  const OwnItemFrame& hidden = *bar.alwaysHiddenSeparator;
  constexpr double tolerance = 1;
  bool ordered = hidden.maxX <= separator.minX + tolerance && separator.maxX <= toggle.minX + tolerance;
  if (!ordered) return std::nullopt;
  double mid = (minX + maxX) / 2;
  if (toggle.minX <= mid) return PlacementZone::systemSide;
  if (separator.maxX <= mid) return PlacementZone::alwaysVisible;
  if (hidden.maxX <= mid) return PlacementZone::folded;
  return PlacementZone::alwaysHidden;
}

namespace {

void snapshotEveryday(BarSnapshot& bar, const sim::SimDesktop& desktop, const StatusBarController* controller,
                      AppEnvironment* environment) {
  bar.loginItem.status = std::string(platform::rawValue(desktop.loginItems().status()));
  bar.loginItem.registrations = desktop.loginItems().record().registrations;
  bar.loginItem.unregistrations = desktop.loginItems().record().unregistrations;
  if (controller) {
    const AutoCollapse& timer = controller->autoCollapse();
    bar.autoCollapse = AutoCollapseState{.armed = timer.armed(),
                                         .delay = timer.configuredAutoCollapseDelay(),
                                         .revealOnHover = timer.revealOnHover()};
    if (timer.armed() && timer.lastDeferralReason()) {
      bar.autoCollapse->waitingFor = std::string(MenuBarVisibilityPolicy::rawValue(*timer.lastDeferralReason()));
    }
    const OwnOrderRepair& repair = controller->orderRepair();
    bar.orderRepair = OrderRepairState{.attempts = repair.ownOrderRepairAttempt(), .inFlight = repair.ownOrderRepairInFlight()};
    if (repair.repairNoticeKind()) bar.orderRepair->notice = std::string(OwnOrderRepair::noticeKindName(*repair.repairNoticeKind()));
  }
  if (environment) {
    HotkeyManager& hotkeys = environment->hotkeys();
    auto chord = hotkeys.deepChord.get();
    bar.hotkey = HotkeyState{.chord = hotkeys.display(chord),
                             .keyCode = chord.keyCode,
                             .modifiers = chord.modifiers,
                             .systemHotKey = hotkeys.systemHotKeyInForce(),
                             .fallbackMonitor = hotkeys.fallbackMonitorInstalled(),
                             .conflict = hotkeys.hasHotkeyConflict.get(),
                             .conflictMessage = hotkeys.conflictMessage.get()};
    const AppShortcuts& shortcuts = environment->appShortcuts();
    for (const auto& [bundle, appChord] : shortcuts.chords.get()) {
      bar.hotkey->apps.push_back(AppShortcutState{.bundleId = bundle,
                                                  .chord = HotkeyManager::describe(appChord),
                                                  .systemHotKey = shortcuts.registered(bundle)});
    }
    if (auto result = environment->launchAtLogin().applyResult()) bar.loginItem.lastResult = std::string(rawValue(*result));
  }
}

}  // namespace

BarSnapshot snapshotBar(const sim::SimDesktop& desktop, const StatusBarController* controller,
                        const StatusItemManager* catalog, double now, AppEnvironment* environment) {
  BarSnapshot bar;
  bar.time = now;
  bar.tarvoloRunning = desktop.processes().ownAppRunning();
  if (controller) {
    bar.state = ControllerState{.isExpanded = controller->state().isExpanded,
                                .isDeepExpanded = controller->state().isDeepExpanded,
                                .foldingEffective = controller->state().foldingEffective};
  }
  bar.toggle = ownItemFrame(desktop, OwnItem::toggle);
  bar.separator = ownItemFrame(desktop, OwnItem::separator);
  bar.alwaysHiddenSeparator = ownItemFrame(desktop, OwnItem::alwaysHiddenSeparator);

  for (const sim::SimItemState* item : desktop.bar().allItems()) {
    if (item->ownerPid == sim::kOwnPid) continue;
    ForeignItemFrame foreign;
    foreign.bundleId = desktop.processes().bundleIdOfPid(item->ownerPid).value_or("");
    foreign.appName = appNameOf(desktop, foreign.bundleId);
    foreign.autosaveName = item->autosaveName;
    foreign.frame = item->frame;
    foreign.onScreen = item->onScreen;
    if (item->frame) foreign.zone = barZone(item->frame->minX(), item->frame->maxX(), bar);
    if (const MenuBarAppItem* row = catalog ? catalog->item(foreign.bundleId) : nullptr) {
      foreign.category = row->category;
      foreign.observedZone = catalog->observedZone(foreign.bundleId);
      foreign.outOfPlace = catalog->isOutOfPlace(foreign.bundleId);
    }
    bar.items.push_back(std::move(foreign));
  }
  std::stable_sort(bar.items.begin(), bar.items.end(), [](const ForeignItemFrame& a, const ForeignItemFrame& b) {
    if (a.frame.has_value() != b.frame.has_value()) return a.frame.has_value();
    return a.frame && a.frame->minX() < b.frame->minX();
  });

  if (catalog) {
    for (const auto* rows : {&catalog->items.get(), &catalog->otherRunningItems.get()}) {
      for (const MenuBarAppItem& row : *rows) bar.catalog.push_back({row.bundleId, row.name, row.catalogSection});
    }
  }
  bar.menus = MenusState{.frontmost = desktop.processes().frontmostBundleId(),
                         .width = desktop.bar().frontmostMenusWidth(),
                         .titlesDropped = desktop.bar().menuTitlesDropped()};
  if (controller) {
    bar.probes = controller->collapseEngine().cliff().cliffProbesMade();
    const auto& native = controller->hidingEngines().nativeEngine();
    const auto presentation = native.presentation();
    const auto& assessment = desktop.assessmentMode();
    bar.hiding = HidingState{.engine = std::string(rawValue(controller->hidingEngines().hidingEngine())),
                             .nativeState = std::string(rawValue(native.state())),
                             .symbol = presentation.symbol,
                             .badge = presentation.badge,
                             .allowList = native.allowList(),
                             .assertionsMade = static_cast<int>(assessment.assertions().size()),
                             .assertionsActivated = assessment.activations()};
  }
  const sim::SimDefaultsStore& store = desktop.defaults();
  auto read = [&store](const std::string& key) { return store.object(key); };
  bar.cache.cliff = decodeCliffRecord(read);
  bar.cache.perApp = decodeLengthMap(read(cliffPerAppDefaultsKey));

  for (const WindowEntry* entry : windowEntries()) bar.windows.push_back({entry->name, entry->view(desktop)});
  bar.postedEvents = desktop.events().postedEvents();
  bar.cursor = desktop.events().cursorTopLeft();
  bar.accessibility = {.trusted = desktop.accessibility().isProcessTrusted(),
                       .prompts = desktop.accessibility().promptsShown(),
                       .openedURLs = desktop.workspace().openedURLs()};
  bar.pasteboard.copies = desktop.application().copies();
  if (bar.pasteboard.copies > 0) {
    std::istringstream copied(desktop.application().pasteboard());
    for (std::string line; std::getline(copied, line);) bar.pasteboard.lines.push_back(line);
  }
  snapshotEveryday(bar, desktop, controller, environment);
  return bar;
}

std::string logLineText(const sim::SimLogLine& line) {
  char time[32];
  std::snprintf(time, sizeof time, "%.3f", line.time);
  return std::string(time) + " [" + line.channel + "] " + line.message;
}

namespace {

std::string_view syntheticKindName(platform::SyntheticMouseEvent::Kind kind) {
  switch (kind) {
    case platform::SyntheticMouseEvent::Kind::leftMouseDown: return "leftMouseDown";
    case platform::SyntheticMouseEvent::Kind::leftMouseUp: return "leftMouseUp";
    case platform::SyntheticMouseEvent::Kind::leftMouseDragged: return "leftMouseDragged";
  }
  return "leftMouseDown";
}

}  // namespace

json toJson(const BarSnapshot& bar) {
  json out;
  out["time"] = bar.time;
  out["tarvoloRunning"] = bar.tarvoloRunning;
  if (bar.state) {
    out["state"] = {{"isExpanded", bar.state->isExpanded},
                    {"isDeepExpanded", bar.state->isDeepExpanded},
                    {"foldingEffective", bar.state->foldingEffective}};
  } else {
    out["state"] = nullptr;
  }
  out["ownItems"] = {{"toggle", frameJson(bar.toggle)},
                     {"separator", frameJson(bar.separator)},
                     {"alwaysHiddenSeparator", frameJson(bar.alwaysHiddenSeparator)}};
  json items = json::array();
  for (const auto& item : bar.items) {
    json entry = {{"bundleId", item.bundleId}, {"name", item.appName}, {"autosaveName", item.autosaveName}};
    entry["minX"] = item.frame ? json(item.frame->minX()) : json(nullptr);
    entry["maxX"] = item.frame ? json(item.frame->maxX()) : json(nullptr);
    entry["onScreen"] = item.onScreen;
    entry["zone"] = item.zone ? json(std::string(rawValue(*item.zone))) : json(nullptr);
    entry["category"] = item.category ? json(std::string(rawValue(*item.category))) : json(nullptr);
    entry["observedZone"] = item.observedZone ? json(*item.observedZone) : json(nullptr);
    entry["outOfPlace"] = item.outOfPlace ? json(*item.outOfPlace) : json(nullptr);
    items.push_back(std::move(entry));
  }
  out["items"] = std::move(items);
  json catalog = json::array();
  for (const auto& entry : bar.catalog) {
    catalog.push_back(
        {{"bundleId", entry.bundleId}, {"name", entry.name}, {"section", std::string(rawValue(entry.section))}});
  }
  out["catalog"] = std::move(catalog);
  out["menus"] = {{"frontmost", bar.menus.frontmost ? json(*bar.menus.frontmost) : json(nullptr)},
                  {"width", bar.menus.width},
                  {"titlesDropped", bar.menus.titlesDropped}};
  out["probes"] = bar.probes ? json(*bar.probes) : json(nullptr);
  json cliff = nullptr;
  if (bar.cache.cliff) {
    cliff = {{"screen", bar.cache.cliff->screenKey.text()}, {"length", bar.cache.cliff->length}, {"gap", bar.cache.cliff->gap}};
  }
  json perApp = json::object();
  for (const auto& [key, length] : bar.cache.perApp) perApp[key] = length;
  out["cache"] = {{"cliff", std::move(cliff)}, {"perApp", std::move(perApp)}};
  out["ui"] = uiJson(bar.windows);
  out["accessibility"] = {{"trusted", bar.accessibility.trusted},
                          {"prompts", bar.accessibility.prompts},
                          {"openedURLs", bar.accessibility.openedURLs}};
  // Only in runs where the app copied something, so that other reports read as before.
  if (bar.pasteboard.copies > 0) {
    out["pasteboard"] = {{"copies", bar.pasteboard.copies}, {"lines", bar.pasteboard.lines}};
  }
  for (const WindowShot& window : bar.windows) {
    if (auto section = window.view->section()) out[std::string(window.name)] = std::move(*section);
  }
  json posted = json::array();
  for (const auto& event : bar.postedEvents) {
    posted.push_back({{"at", event.time},
                      {"type", syntheticKindName(event.event.kind)},
                      {"x", event.event.location.x},
                      {"y", event.event.location.y},
                      {"flags", event.event.modifierFlags.raw},
                      {"clickState", event.event.clickState},
                      {"userData", event.event.userData}});
  }
  const bool postedAny = !posted.empty();
  out["postedEvents"] = std::move(posted);
  // Where the pointer ended up matters only once Tarvolo has moved it with events of its own.
  if (postedAny) out["cursor"] = {{"x", bar.cursor.x}, {"y", bar.cursor.y}};
  if (bar.hiding) {
    const HidingState& hiding = *bar.hiding;
    out["hiding"] = {{"engine", hiding.engine},
                     {"nativeState", hiding.nativeState},
                     {"symbol", hiding.symbol},
                     {"badge", hiding.badge ? json(*hiding.badge) : json(nullptr)},
                     {"allowList", hiding.allowList ? json(*hiding.allowList) : json(nullptr)},
                     {"assertionsMade", hiding.assertionsMade},
                     {"assertionsActivated", hiding.assertionsActivated}};
  } else {
    out["hiding"] = nullptr;
  }
  if (bar.autoCollapse) {
    const auto& timer = *bar.autoCollapse;
    out["autoCollapse"] = {{"armed", timer.armed},
                           {"waitingFor", timer.waitingFor ? json(*timer.waitingFor) : json(nullptr)},
                           {"delay", timer.delay},
                           {"revealOnHover", timer.revealOnHover}};
  } else {
    out["autoCollapse"] = nullptr;
  }
  if (bar.hotkey) {
    const auto& hotkey = *bar.hotkey;
    out["hotkey"] = {{"chord", hotkey.chord},
                     {"keyCode", hotkey.keyCode},
                     {"modifiers", hotkey.modifiers},
                     {"systemHotKey", hotkey.systemHotKey},
                     {"fallbackMonitor", hotkey.fallbackMonitor},
                     {"conflict", hotkey.conflict},
                     {"conflictMessage", hotkey.conflictMessage ? json(*hotkey.conflictMessage) : json(nullptr)}};
    if (!hotkey.apps.empty()) {
      json apps = json::array();
      for (const auto& app : hotkey.apps) {
        apps.push_back({{"bundleId", app.bundleId}, {"chord", app.chord}, {"systemHotKey", app.systemHotKey}});
      }
      out["hotkey"]["apps"] = std::move(apps);
    }
  } else {
    out["hotkey"] = nullptr;
  }
  if (bar.orderRepair) {
    out["orderRepair"] = {{"attempts", bar.orderRepair->attempts},
                          {"inFlight", bar.orderRepair->inFlight},
                          {"notice", bar.orderRepair->notice ? json(*bar.orderRepair->notice) : json(nullptr)}};
  } else {
    out["orderRepair"] = nullptr;
  }
  out["loginItem"] = {{"status", bar.loginItem.status},
                      {"registrations", bar.loginItem.registrations},
                      {"unregistrations", bar.loginItem.unregistrations},
                      {"lastResult", bar.loginItem.lastResult ? json(*bar.loginItem.lastResult) : json(nullptr)}};
  return out;
}

json toJson(const Report& report) {
  json out = {{"scenario", report.scenario}};
  out.update(toJson(report.atQuit));
  out["defaults"] = json(report.defaults);
  json log = json::array();
  json standardOutput = json::array();
  for (const auto& line : report.log) {
    log.push_back(logLineText(line));
    if (line.channel == "stdout") standardOutput.push_back(line.message);
  }
  out["log"] = std::move(log);
  out["stdout"] = std::move(standardOutput);
  json steps = json::array();
  for (const auto& step : report.steps) {
    json entry = {{"at", step.at}, {"action", step.action}, {"performed", step.performed}};
    if (!step.note.empty()) entry["note"] = step.note;
    steps.push_back(std::move(entry));
  }
  out["steps"] = std::move(steps);
  out["warnings"] = report.warnings;
  return out;
}

}  // namespace tarvolo::scenario
