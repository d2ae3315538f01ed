#include "harness/Scenario.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <numeric>
#include <set>
#include <sstream>

#include "statusbar/StatusBarController.h"

namespace tarvolo::scenario {

using json = nlohmann::json;

ScenarioError::ScenarioError(std::string path, std::string problem)
    : std::runtime_error((path.empty() ? std::string("scenario") : path) + ": " + problem),
      path_(std::move(path)),
      problem_(std::move(problem)) {}

std::string_view targetName(OwnItem item) {
  switch (item) {
    case OwnItem::toggle: return "toggle";
    case OwnItem::separator: return "separator";
    case OwnItem::alwaysHiddenSeparator: return "alwaysHiddenSeparator";
  }
  return "toggle";
}

std::optional<OwnItem> ownItemFromTargetName(std::string_view name) {
  for (OwnItem item : {OwnItem::toggle, OwnItem::separator, OwnItem::alwaysHiddenSeparator}) {
    if (targetName(item) == name) return item;
  }
  return std::nullopt;
}

std::string autosaveName(OwnItem item) {
  switch (item) {
    case OwnItem::toggle: return OwnStatusItems::toggleAutosaveName;
    case OwnItem::separator: return OwnStatusItems::separatorAutosaveName;
    case OwnItem::alwaysHiddenSeparator: return OwnStatusItems::alwaysHiddenAutosaveName;
  }
  return OwnStatusItems::toggleAutosaveName;
}

const std::vector<std::string>& knownPreferencesControls() {
  static const std::vector<std::string> controls = {"language",     "autoCollapseDelay", "launchAtLogin",
                                                    "revealOnHover", "newAppNotices",     "search",
                                                    "showOtherRunning", "pin", "unpin"};
  return controls;
}

const std::vector<std::string>& knownMenuActions() {
  static const std::vector<std::string> actions = {
      "menuOpenIconBar", "menuExpandFolded",   "menuShowAll",     "menuCollapse",
      "menuArrange",     "menuHideInSettings", "openPreferences", "quitApp", "repairMenuBarOrder",
  };
  return actions;
}

namespace {

constexpr const char* kOwnBundleId = "com.ostrand.tarvolo";
constexpr std::array<std::string_view, 45> kActionKeys = {
    "launch",      "terminate",    "activate",  "click",         "commandDrag", "menu",         "screens",
    "languages",   "category",     "coach",     "accessibility", "activateTarvolo", "relaunch", "reopen",
    "wake",        "quit",         "pointer",   "mouseDown",     "mouseUp",     "modifierDown", "modifierUp",
    "key",         "menuTracking", "openURL",   "appleScript",   "recordHotkey", "loginItem",   "revealOnHover",
    "openShelf",   "shelfType",    "shelfTier", "shelfKey",      "shelfChoose", "shelfDiscover", "closeMenu",
    "shortcut",    "preferencesTab", "preferencesSet", "pickZone", "notice",     "guide",       "closePreferences",
    "reviewPrompt", "stallAccessibility", "resumeAccessibility"};

// Virtual key codes of the ANSI letter keys, "A" to "Z".
constexpr std::array<std::uint16_t, 26> kLetterKeyCodes = {0,  11, 8,  2,  14, 3,  5,  4,  34, 38, 40, 37, 46,
                                                           45, 31, 35, 12, 15, 1,  17, 32, 9,  13, 7,  16, 6};

std::string lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

std::string inQuotes(std::string_view text) { return json(std::string(text)).dump(); }

std::string joined(const std::vector<std::string>& words, std::string_view separator = ", ") {
  std::string out;
  for (const auto& word : words) {
    if (!out.empty()) out += separator;
    out += word;
  }
  return out;
}

bool isIdentifier(std::string_view key) {
  if (key.empty() || std::isdigit(static_cast<unsigned char>(key.front()))) return false;
  return std::all_of(key.begin(), key.end(), [](unsigned char c) { return std::isalnum(c) || c == '_'; });
}

// A JSON value together with where it sits in the document, so every complaint names its field.
class Field {
 public:
  Field(const json& value, std::string path) : value_(value), path_(std::move(path)) {}

  const nlohmann::json& value() const { return value_; }
  const std::string& path() const { return path_; }
  [[noreturn]] void fail(const std::string& problem) const { throw ScenarioError(path_, problem); }

  std::string childPath(std::string_view key) const {
    std::string name = isIdentifier(key) ? std::string(key) : "[" + inQuotes(key) + "]";
    if (path_.empty()) return name;
    return isIdentifier(key) ? path_ + "." + name : path_ + name;
  }

  void expectType(nlohmann::json::value_t type, const char* expected) const {
    if (value_.type() != type) fail(std::string("expected ") + expected + ", got " + value_.type_name());
  }

  const nlohmann::json::object_t& object() const {
    expectType(nlohmann::json::value_t::object, "an object");
    return value_.get_ref<const nlohmann::json::object_t&>();
  }

  std::vector<Field> array() const {
    expectType(nlohmann::json::value_t::array, "an array");
    std::vector<Field> out;
    for (std::size_t i = 0; i < value_.size(); ++i) out.emplace_back(value_[i], path_ + "[" + std::to_string(i) + "]");
    return out;
  }

  bool has(std::string_view key) const { return object().count(std::string(key)) > 0; }
  bool isString() const { return value_.is_string(); }

  std::optional<Field> optional(std::string_view key) const {
    const auto& members = object();
    auto it = members.find(std::string(key));
    if (it == members.end()) return std::nullopt;
    return Field(it->second, childPath(key));
  }

  Field required(std::string_view key) const {
    if (auto field = optional(key)) return *field;
    throw ScenarioError(childPath(key), "required field is missing");
  }

  void allowOnly(std::initializer_list<std::string_view> keys) const {
    for (const auto& [key, value] : object()) {
      if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
        std::vector<std::string> names(keys.begin(), keys.end());
        throw ScenarioError(childPath(key), "unknown field (expected " + joined(names) + ")");
      }
    }
  }

  double number() const {
    if (!value_.is_number()) fail(std::string("expected a number, got ") + value_.type_name());
    double number = value_.get<double>();
    if (!std::isfinite(number)) fail("expected a finite number");
    return number;
  }
  double nonNegative() const {
    double value = number();
    if (value < 0) fail("must not be negative, got " + value_.dump());
    return value;
  }
  double positive() const {
    double value = number();
    if (value <= 0) fail("must be greater than 0, got " + value_.dump());
    return value;
  }
  long long integer() const {
    if (!value_.is_number_integer()) fail(std::string("expected an integer, got ") + value_.dump());
    return value_.get<long long>();
  }
  bool boolean() const {
    if (!value_.is_boolean()) fail(std::string("expected true or false, got ") + value_.type_name());
    return value_.get<bool>();
  }
  std::string string() const {
    if (!value_.is_string()) fail(std::string("expected a string, got ") + value_.type_name());
    return value_.get<std::string>();
  }
  std::string nonEmptyString() const {
    std::string text = string();
    if (text.empty()) fail("must not be empty");
    return text;
  }
  std::vector<std::string> strings() const {
    std::vector<std::string> out;
    for (const Field& element : array()) out.push_back(element.nonEmptyString());
    return out;
  }

 private:
  const nlohmann::json& value_;
  std::string path_;
};

sim::SimScreenSpec parseScreen(const Field& field) {
  field.allowOnly({"width", "height", "x", "y", "notchWidth"});
  sim::SimScreenSpec screen;
  screen.width = field.required("width").positive();
  screen.height = field.required("height").positive();
  if (auto x = field.optional("x")) screen.x = x->number();
  if (auto y = field.optional("y")) screen.y = y->number();
  if (auto notch = field.optional("notchWidth")) {
    double width = notch->positive();
    if (width >= screen.width) notch->fail("must be narrower than the screen");
    screen.notchWidth = width;
  }
  return screen;
}

std::vector<sim::SimScreenSpec> parseScreens(const Field& field) {
  std::vector<sim::SimScreenSpec> screens;
  for (const Field& element : field.array()) screens.push_back(parseScreen(element));
  if (screens.empty()) field.fail("needs at least one screen");
  return screens;
}

platform::ActivationPolicy parseActivation(const Field& field) {
  std::string name = field.string();
  for (auto policy : {platform::ActivationPolicy::regular, platform::ActivationPolicy::accessory,
                      platform::ActivationPolicy::prohibited}) {
    if (platform::activationPolicyName(policy) == name) return policy;
  }
  field.fail("unknown activation policy " + inQuotes(name) + " (expected regular, accessory or prohibited)");
}

sim::SimItemSpec parseItem(const Field& field) {
  field.allowOnly({"width", "position", "name", "title", "description"});
  sim::SimItemSpec item;
  item.width = field.required("width").positive();
  if (auto position = field.optional("position")) item.position = position->nonNegative();
  if (auto name = field.optional("name")) item.autosaveName = name->nonEmptyString();
  if (auto title = field.optional("title")) item.title = title->string();
  if (auto description = field.optional("description")) item.description = description->string();
  return item;
}

std::string nameFromBundleId(const std::string& bundleId) {
  auto dot = bundleId.find_last_of('.');
  return dot == std::string::npos ? bundleId : bundleId.substr(dot + 1);
}

sim::SimAppSpec parseApp(const Field& field) {
  field.allowOnly(
      {"bundleId", "name", "processName", "path", "activation", "menusWidth", "menuTitles", "running", "items",
       "accessibilityActions", "refusesActions", "pressBlocks", "accessibilityUnresponsive",
       "launchDuration"});
  sim::SimAppSpec app;
  app.bundleId = field.required("bundleId").nonEmptyString();
  if (lower(app.bundleId) == kOwnBundleId) {
    field.required("bundleId").fail("is Tarvolo itself, which the runner starts");
  }
  app.name = field.optional("name") ? field.required("name").nonEmptyString() : nameFromBundleId(app.bundleId);
  app.path = field.optional("path") ? field.required("path").nonEmptyString() : "/Applications/" + app.name + ".app";
  if (auto activation = field.optional("activation")) app.activation = parseActivation(*activation);
  if (auto menus = field.optional("menusWidth")) app.menusWidth = menus->nonNegative();
  if (auto titles = field.optional("menuTitles")) {
    if (field.has("menusWidth")) titles->fail("give either menuTitles or menusWidth, not both");
    app.menuTitleWidths.clear();
    for (const Field& element : titles->array()) app.menuTitleWidths.push_back(element.positive());
    app.menusWidth = std::accumulate(app.menuTitleWidths.begin(), app.menuTitleWidths.end(), 0.0);
  }
  if (auto running = field.optional("running")) app.running = running->boolean();
  if (auto actions = field.optional("accessibilityActions")) app.accessibilityActions = actions->strings();
  if (auto refuses = field.optional("refusesActions")) app.refusesActions = refuses->boolean();
  if (auto blocks = field.optional("pressBlocks")) app.pressBlocks = blocks->boolean();
  if (auto silent = field.optional("accessibilityUnresponsive")) app.accessibilityUnresponsive = silent->boolean();
  if (auto launching = field.optional("launchDuration")) app.launchDuration = launching->nonNegative();
  if (auto items = field.optional("items")) {
    std::set<std::string> names;
    for (const Field& element : items->array()) {
      app.items.push_back(parseItem(element));
      const std::string& name = app.items.back().autosaveName;
      if (!name.empty() && !names.insert(name).second) {
        element.required("name").fail("another item of this app has the name " + inQuotes(name));
      }
    }
  }
  return app;
}

void parseAssessmentMode(const Field& field, sim::SimAssessmentModeSettings& mode) {
  field.allowOnly({"offered", "activation", "activationDelay"});
  if (auto value = field.optional("offered")) mode.offered = value->boolean();
  if (auto value = field.optional("activationDelay")) mode.activationDelay = value->nonNegative();
  if (auto value = field.optional("activation")) {
    const std::string raw = value->string();
    if (raw == "succeeds") {
      mode.activation = sim::SimActivation::succeeds;
    } else if (raw == "fails") {
      mode.activation = sim::SimActivation::fails;
    } else if (raw == "neverCompletes") {
      mode.activation = sim::SimActivation::neverCompletes;
    } else if (raw == "succeedsWithoutEffect") {
      mode.activation = sim::SimActivation::succeedsWithoutEffect;
    } else {
      value->fail("unknown activation (expected succeeds, fails, neverCompletes or succeedsWithoutEffect)");
    }
  }
}

platform::ModifierFlags parseModifiers(const Field& field);

// A key by name: "A"…"Z" (either case), "escape", or a virtual key code.
std::pair<std::uint16_t, std::string> parseKey(const Field& field) {
  if (field.value().is_number()) {
    double code = field.nonNegative();
    if (code > 0xFFFF || code != static_cast<double>(static_cast<int>(code))) field.fail("not a virtual key code");
    return {static_cast<std::uint16_t>(code), "#" + std::to_string(static_cast<int>(code))};
  }
  std::string name = field.string();
  if (lower(name) == "escape") return {53, "Escape"};
  if (name.size() == 1 && std::isalpha(static_cast<unsigned char>(name[0]))) {
    char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    return {kLetterKeyCodes[static_cast<std::size_t>(upper - 'A')], std::string(1, upper)};
  }
  field.fail("unknown key " + inQuotes(name) + " (expected a letter, escape or a key code)");
}

void parseSettings(const Field& field, Scenario& scenario) {
  field.allowOnly({"frameLatency", "systemItemsWidth", "symbolItemWidth", "textCharWidth", "textItemPadding",
                   "clickDuration", "accessibilityTrusted", "framesReadable", "ejectionLength",
                   "dropsHalfWidthItems", "halfWidthDropMargin", "menuIntrusionMinLength", "dropsMenuTitles",
                   "overflowChevronWidth", "sharedWindowItems", "takenHotkeys", "loginItemStatus",
                   "loginItemNeedsApproval", "loginItemError", "assessmentMode", "postEventAccess"});
  if (auto value = field.optional("takenHotkeys")) {
    for (const Field& element : value->array()) {
      element.allowOnly({"key", "modifiers"});
      auto [keyCode, name] = parseKey(element.required("key"));
      platform::ModifierFlags modifiers;
      if (auto held = element.optional("modifiers")) modifiers = parseModifiers(*held);
      scenario.settings.takenHotkeys.push_back(platform::KeyChord{keyCode, modifiers});
    }
  }
  if (auto value = field.optional("loginItemStatus")) {
    std::string raw = value->string();
    using platform::LoginItemStatus;
    bool known = false;
    for (auto status : {LoginItemStatus::notRegistered, LoginItemStatus::enabled, LoginItemStatus::requiresApproval,
                        LoginItemStatus::notFound}) {
      if (platform::rawValue(status) == raw) {
        scenario.settings.loginItemStatus = status;
        known = true;
      }
    }
    if (!known) {
      value->fail("unknown status " + inQuotes(raw) + " (expected notRegistered, enabled, requiresApproval or notFound)");
    }
  }
  if (auto value = field.optional("loginItemNeedsApproval")) scenario.settings.loginItemNeedsApproval = value->boolean();
  if (auto value = field.optional("loginItemError")) scenario.settings.loginItemError = value->nonEmptyString();
  sim::SimSettings& settings = scenario.settings;
  if (auto value = field.optional("assessmentMode")) parseAssessmentMode(*value, settings.assessmentMode);
  if (auto value = field.optional("accessibilityTrusted")) scenario.accessibilityTrusted = value->boolean();
  if (auto value = field.optional("frameLatency")) settings.frameLatency = value->nonNegative();
  if (auto value = field.optional("systemItemsWidth")) settings.systemItemsWidth = value->nonNegative();
  if (auto value = field.optional("symbolItemWidth")) settings.symbolItemWidth = value->positive();
  if (auto value = field.optional("textCharWidth")) settings.textCharWidth = value->positive();
  if (auto value = field.optional("textItemPadding")) settings.textItemPadding = value->nonNegative();
  if (auto value = field.optional("clickDuration")) settings.clickDuration = value->nonNegative();
  if (auto value = field.optional("framesReadable")) settings.framesReadable = value->boolean();
  if (auto value = field.optional("ejectionLength")) settings.ejectionLength = value->positive();
  if (auto value = field.optional("dropsHalfWidthItems")) settings.dropsHalfWidthItems = value->boolean();
  if (auto value = field.optional("halfWidthDropMargin")) settings.halfWidthDropMargin = value->nonNegative();
  if (auto value = field.optional("menuIntrusionMinLength")) settings.menuIntrusionMinLength = value->positive();
  if (auto value = field.optional("dropsMenuTitles")) settings.dropsMenuTitles = value->boolean();
  if (auto value = field.optional("overflowChevronWidth")) settings.overflowChevronWidth = value->nonNegative();
  if (auto value = field.optional("postEventAccess")) settings.postEventAccess = value->boolean();
  if (auto value = field.optional("sharedWindowItems")) {
    settings.sharedWindowItems.clear();
    for (const Field& element : value->array()) {
      auto target = ownItemFromTargetName(element.string());
      if (!target) element.fail("unknown item (expected toggle, separator or alwaysHiddenSeparator)");
      settings.sharedWindowItems.push_back(autosaveName(*target));
    }
  }
}

std::string knownAppId(const Field& field, const Scenario& scenario) {
  std::string bundleId = field.nonEmptyString();
  if (!scenario.app(bundleId)) field.fail("unknown app " + inQuotes(bundleId) + " (not listed in apps)");
  return bundleId;
}

platform::ModifierFlags parseModifiers(const Field& field) {
  platform::ModifierFlags flags;
  for (const Field& element : field.array()) {
    std::string name = element.string();
    if (name == "command") {
      flags = flags.with(platform::Modifier::command);
    } else if (name == "option") {
      flags = flags.with(platform::Modifier::option);
    } else if (name == "shift") {
      flags = flags.with(platform::Modifier::shift);
    } else if (name == "control") {
      flags = flags.with(platform::Modifier::control);
    } else {
      element.fail("unknown modifier " + inQuotes(name) + " (expected command, option, shift or control)");
    }
  }
  return flags;
}

MenuBarAccessTier parseTier(const Field& field) {
  std::string raw = field.string();
  auto tier = menuBarAccessTier(raw);
  if (!tier) field.fail("unknown tier " + inQuotes(raw) + " (expected all, always_visible, hidden or always_hidden)");
  return *tier;
}

void expectTrue(const Field& field) {
  if (!field.boolean()) field.fail("expected true (leave the step out instead)");
}

Action parseAction(const Field& step, std::string_view key, const Scenario& scenario) {
  Field value = step.required(key);
  if (key == "launch") return step::LaunchApp{knownAppId(value, scenario)};
  if (key == "terminate") return step::TerminateApp{knownAppId(value, scenario)};
  if (key == "activate") return step::ActivateApp{knownAppId(value, scenario)};
  if (key == "click") {
    std::string name = value.string();
    auto target = ownItemFromTargetName(name);
    if (!target) {
      value.fail("unknown target " + inQuotes(name) + " (expected toggle, separator or alwaysHiddenSeparator)");
    }
    step::Click click{.target = *target};
    if (auto button = step.optional("button")) {
      std::string buttonName = button->string();
      if (buttonName == "right") {
        click.button = sim::SimDesktop::MouseButton::right;
      } else if (buttonName != "left") {
        button->fail("unknown button " + inQuotes(buttonName) + " (expected left or right)");
      }
    }
    if (auto modifiers = step.optional("modifiers")) click.modifiers = parseModifiers(*modifiers);
    return click;
  }
  if (key == "commandDrag") {
    std::string item = value.nonEmptyString();
    const sim::SimAppSpec* app = scenario.app(item);
    if (!ownItemFromTargetName(item) && !(app && !app->items.empty())) {
      value.fail("unknown item " + inQuotes(item) +
                 " (expected toggle, separator, alwaysHiddenSeparator or the bundle id of an app with items)");
    }
    return step::CommandDrag{.item = item, .toX = step.required("x").number()};
  }
  if (key == "menu") {
    std::string action = value.string();
    const auto& known = knownMenuActions();
    if (std::find(known.begin(), known.end(), action) == known.end()) {
      value.fail("unknown action " + inQuotes(action) + " (expected " + joined(known) + ")");
    }
    return step::ChooseMenuAction{action};
  }
  if (key == "category") {
    step::AssignCategory assign{.bundleId = knownAppId(value, scenario)};
    Field tier = step.required("tier");
    std::string raw = tier.string();
    if (raw != "none") {
      assign.category = itemCategoryFromRaw(raw);
      if (!assign.category) {
        tier.fail("unknown tier " + inQuotes(raw) + " (expected always_visible, hidden, always_hidden or none)");
      }
    }
    if (auto confirm = step.optional("confirm")) {
      assign.confirm = confirm->boolean();
      if (assign.confirm && !assign.category) confirm->fail("only a tier can be confirmed, not none");
    }
    return assign;
  }
  if (key == "shortcut") {
    std::string shortcut = value.string();
    if (shortcut != "," && shortcut != "q") value.fail("unknown shortcut " + inQuotes(shortcut) + " (expected , or q)");
    return step::Shortcut{shortcut};
  }
  if (key == "preferencesTab") {
    std::string name = value.string();
    auto tab = platform::preferencesTabFromRaw(name);
    if (!tab) value.fail("unknown tab " + inQuotes(name) + " (expected general, items, hotkeys or about)");
    return step::PreferencesTab{*tab};
  }
  if (key == "preferencesSet") {
    std::string control = value.string();
    const auto& known = knownPreferencesControls();
    if (std::find(known.begin(), known.end(), control) == known.end()) {
      value.fail("unknown control " + inQuotes(control) + " (expected " + joined(known) + ")");
    }
    Field setting = step.required("value");
    const bool wantsBool = control == "launchAtLogin" || control == "revealOnHover" || control == "newAppNotices" ||
                           control == "showOtherRunning";
    if (wantsBool) setting.boolean();
    if (control == "autoCollapseDelay") setting.nonNegative();
    if (control == "language" || control == "search" || control == "pin" || control == "unpin") setting.string();
    if (control == "pin" || control == "unpin") knownAppId(setting, scenario);
    return step::PreferencesSet{.control = control, .value = setting.value()};
  }
  if (key == "pickZone") {
    step::PickZone pick{.bundleId = knownAppId(value, scenario)};
    Field tier = step.required("tier");
    auto zone = itemCategoryFromRaw(tier.string());
    if (!zone) tier.fail("unknown tier " + inQuotes(tier.string()) + " (expected always_visible, hidden or always_hidden)");
    pick.zone = *zone;
    return pick;
  }
  if (key == "notice") {
    std::string button = value.string();
    if (button != "arrange" && button != "ignore") {
      value.fail("unknown button " + inQuotes(button) + " (expected arrange or ignore)");
    }
    return step::NoticeButton{.arrange = button == "arrange"};
  }
  if (key == "reviewPrompt") {
    const std::string button = value.string();
    if (button == "rate") return step::ReviewPromptButton{step::ReviewButton::rate};
    if (button == "later") return step::ReviewPromptButton{step::ReviewButton::later};
    if (button != "never") value.fail("unknown button " + inQuotes(button) + " (expected rate, later or never)");
    return step::ReviewPromptButton{step::ReviewButton::never};
  }
  if (key == "stallAccessibility") return step::SetAppAccessibility{.bundleId = knownAppId(value, scenario), .answers = false};
  if (key == "resumeAccessibility") return step::SetAppAccessibility{.bundleId = knownAppId(value, scenario), .answers = true};
  if (key == "guide") {
    std::string action = value.string();
    if (action == "drag") return step::Guide{step::GuideAction::drag};
    if (action == "confirm") return step::Guide{step::GuideAction::confirm};
    if (action != "cancel") value.fail("unknown action " + inQuotes(action) + " (expected drag, confirm or cancel)");
    return step::Guide{step::GuideAction::cancel};
  }
  if (key == "pointer") {
    if (value.value().is_string()) {
      std::string spot = value.string();
      if (spot == "emptyMenuBar") return step::MovePointer{.spot = step::MovePointer::Spot::emptyMenuBar};
      if (spot == "desktop") return step::MovePointer{.spot = step::MovePointer::Spot::desktop};
      value.fail("unknown spot " + inQuotes(spot) + " (expected emptyMenuBar, desktop or {\"x\", \"y\"})");
    }
    value.allowOnly({"x", "y"});
    return step::MovePointer{.location = {value.required("x").number(), value.required("y").number()}};
  }
  if (key == "mouseDown" || key == "mouseUp") {
    std::string buttonName = value.string();
    if (buttonName != "left" && buttonName != "right") {
      value.fail("unknown button " + inQuotes(buttonName) + " (expected left or right)");
    }
    return step::MouseButtonPress{.button = buttonName == "left" ? sim::SimDesktop::MouseButton::left
                                                                 : sim::SimDesktop::MouseButton::right,
                                  .down = key == "mouseDown"};
  }
  if (key == "modifierDown" || key == "modifierUp") {
    auto modifiers = parseModifiers(value);
    if (modifiers.raw == 0) value.fail("needs at least one modifier");
    return step::ModifierPress{.modifiers = modifiers, .down = key == "modifierDown"};
  }
  if (key == "key") {
    auto [keyCode, name] = parseKey(value);
    step::TypeKey typed{.keyCode = keyCode, .name = name};
    if (auto modifiers = step.optional("modifiers")) typed.modifiers = parseModifiers(*modifiers);
    return typed;
  }
  if (key == "menuTracking") {
    std::string phase = value.string();
    if (phase != "begin" && phase != "end") value.fail("expected begin or end");
    return step::MenuTracking{.begins = phase == "begin"};
  }
  if (key == "openURL") return step::OpenURL{value.nonEmptyString()};
  if (key == "appleScript") return step::AppleScriptCommand{value.nonEmptyString()};
  if (key == "loginItem") return step::SetLoginItem{value.boolean()};
  if (key == "revealOnHover") return step::SetRevealOnHover{value.boolean()};
  if (key == "coach") {
    using Control = sim::SimFirstLaunchCoachWindow::Control;
    const std::string control = value.string();
    if (control == "next") return step::PressCoach{Control::next};
    if (control == "done") return step::PressCoach{Control::done};
    if (control == "dismiss") return step::PressCoach{Control::dismiss};
    if (control == "permission") return step::PressCoach{Control::permission};
    value.fail("unknown control " + inQuotes(control) + " (expected next, done, dismiss or permission)");
  }
  if (key == "accessibility") {
    const std::string change = value.string();
    if (change == "grant") return step::SetAccessibility{true};
    if (change == "revoke") return step::SetAccessibility{false};
    value.fail("unknown change " + inQuotes(change) + " (expected grant or revoke)");
  }
  if (key == "screens") return step::ChangeScreens{parseScreens(value)};
  if (key == "openShelf") {
    if (value.isString()) return step::OpenShelf{parseTier(value)};
    expectTrue(value);
    return step::OpenShelf{};
  }
  if (key == "shelfType") return step::ShelfType{value.string()};
  if (key == "shelfTier") return step::ShelfTier{parseTier(value)};
  if (key == "shelfChoose") return step::ShelfChoose{value.nonEmptyString()};
  if (key == "shelfKey") {
    const std::string name = value.string();
    static const std::pair<const char*, step::ShelfKey> keys[] = {{"up", step::ShelfKey::up},
                                                                  {"down", step::ShelfKey::down},
                                                                  {"return", step::ShelfKey::enter},
                                                                  {"escape", step::ShelfKey::escape},
                                                                  {"find", step::ShelfKey::find}};
    for (const auto& [text, shelfKey] : keys) {
      if (name == text) return step::ShelfPressKey{shelfKey};
    }
    value.fail("unknown key " + inQuotes(name) + " (expected up, down, return, escape or find)");
  }
  if (key == "closeMenu") {
    const std::string name = value.string();
    static const std::pair<const char*, step::MenuCloser> closers[] = {{"escape", step::MenuCloser::escape},
                                                                       {"return", step::MenuCloser::enter},
                                                                       {"click", step::MenuCloser::clickElsewhere},
                                                                       {"choose", step::MenuCloser::choose}};
    for (const auto& [text, closer] : closers) {
      if (name == text) return step::CloseMenu{closer};
    }
    value.fail("unknown way " + inQuotes(name) + " (expected escape, return, click or choose)");
  }
  if (key == "languages") {
    auto languages = value.strings();
    if (languages.empty()) value.fail("needs at least one language");
    return step::ChangeLanguages{std::move(languages)};
  }
  expectTrue(value);
  if (key == "activateTarvolo") return step::ActivateTarvolo{};
  if (key == "relaunch") return step::Relaunch{};
  if (key == "reopen") return step::Reopen{};
  if (key == "shelfDiscover") return step::ShelfDiscover{};
  if (key == "wake") return step::Wake{};
  if (key == "closePreferences") return step::ClosePreferences{};
  if (key == "recordHotkey") return step::RecordHotkey{};
  return step::Quit{};
}

bool endsTheRun(const Action& action) {
  if (std::holds_alternative<step::Quit>(action)) return true;
  const auto* menu = std::get_if<step::ChooseMenuAction>(&action);
  return menu && menu->action == "quitApp";
}

Step parseStep(const Field& field, const Scenario& scenario) {
  std::vector<std::string> actions;
  for (const auto& [key, value] : field.object()) {
    bool isAction = std::find(kActionKeys.begin(), kActionKeys.end(), key) != kActionKeys.end();
    bool isParameter = key == "at" || key == "note" || key == "button" || key == "modifiers" || key == "x" ||
                       key == "tier" || key == "confirm" || key == "value";
    if (isAction) actions.push_back(key);
    if (!isAction && !isParameter) {
      std::vector<std::string> names(kActionKeys.begin(), kActionKeys.end());
      throw ScenarioError(field.childPath(key),
                          "unknown field (a step has \"at\", an optional \"note\" and one of " + joined(names) + ")");
    }
  }
  if (actions.empty()) field.fail("has no action");
  if (actions.size() > 1) field.fail("has more than one action (" + joined(actions) + ")");
  const std::string& key = actions.front();
  auto onlyFor = [&](const char* parameter, const char* action) {
    if (field.has(parameter) && key != action) {
      field.required(parameter).fail(std::string("only a ") + action + " step takes this field");
    }
  };
  onlyFor("button", "click");
  if (field.has("modifiers") && key != "click" && key != "key") {
    field.required("modifiers").fail("only a click or key step takes this field");
  }
  onlyFor("x", "commandDrag");
  if (field.has("tier") && key != "category" && key != "pickZone") {
    field.required("tier").fail("only a category or pickZone step takes this field");
  }
  onlyFor("confirm", "category");
  onlyFor("value", "preferencesSet");

  Step step;
  step.at = field.required("at").nonNegative();
  if (auto note = field.optional("note")) step.note = note->string();
  step.action = parseAction(field, key, scenario);
  return step;
}

std::vector<Step> parseSteps(const Field& field, const Scenario& scenario) {
  std::vector<Step> steps;
  for (const Field& element : field.array()) {
    if (!steps.empty() && endsTheRun(steps.back().action)) {
      element.fail("comes after a step that quits Tarvolo, which ends the run");
    }
    element.object();
    Step step = parseStep(element, scenario);
    if (!steps.empty() && step.at < steps.back().at) {
      element.required("at").fail("steps must not go back in time: " + json(step.at).dump() +
                                  " comes after a step at " + json(steps.back().at).dump());
    }
    steps.push_back(std::move(step));
  }
  return steps;
}

std::string modifierSymbols(platform::ModifierFlags flags) {
  std::string out;
  if (flags.has(platform::Modifier::control)) out += "⌃";
  if (flags.has(platform::Modifier::option)) out += "⌥";
  if (flags.has(platform::Modifier::shift)) out += "⇧";
  if (flags.has(platform::Modifier::command)) out += "⌘";
  return out;
}

std::string numberWord(double value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

}  // namespace

bool Scenario::endsByQuitting() const { return !steps.empty() && endsTheRun(steps.back().action); }

const sim::SimAppSpec* Scenario::app(std::string_view bundleId) const {
  for (const auto& candidate : apps) {
    if (lower(candidate.bundleId) == lower(bundleId)) return &candidate;
  }
  return nullptr;
}

std::string describe(const Action& action) {
  struct Describer {
    std::string operator()(const step::LaunchApp& a) const { return "launch " + a.bundleId; }
    std::string operator()(const step::TerminateApp& a) const { return "terminate " + a.bundleId; }
    std::string operator()(const step::ActivateApp& a) const { return "activate " + a.bundleId; }
    std::string operator()(const step::Click& a) const {
      std::string text = "click " + std::string(targetName(a.target));
      bool right = a.button == sim::SimDesktop::MouseButton::right;
      std::string modifiers = modifierSymbols(a.modifiers);
      if (right || !modifiers.empty()) {
        text += " (";
        text += right ? "right" : "left";
        if (!modifiers.empty()) text += " " + modifiers;
        text += ")";
      }
      return text;
    }
    std::string operator()(const step::CommandDrag& a) const {
      return "⌘-drag " + a.item + " to x=" + numberWord(a.toX);
    }
    std::string operator()(const step::ChooseMenuAction& a) const { return "menu " + a.action; }
    std::string operator()(const step::ChangeScreens& a) const {
      std::vector<std::string> sizes;
      for (const auto& screen : a.screens) {
        sizes.push_back(numberWord(screen.width) + "×" + numberWord(screen.height) +
                        (screen.notchWidth ? " notched" : ""));
      }
      return "screens " + joined(sizes);
    }
    std::string operator()(const step::ChangeLanguages& a) const { return "languages " + joined(a.languages); }
    std::string operator()(const step::AssignCategory& a) const {
      std::string text = "category " + a.bundleId + " " + (a.category ? std::string(rawValue(*a.category)) : "none");
      return a.confirm ? text + " (confirmed)" : text;
    }
    std::string operator()(const step::PressCoach& a) const {
      using Control = sim::SimFirstLaunchCoachWindow::Control;
      switch (a.control) {
        case Control::next: return "coach next";
        case Control::done: return "coach done";
        case Control::dismiss: return "coach dismiss";
        case Control::permission: return "coach permission";
      }
      return "coach";
    }
    std::string operator()(const step::SetAccessibility& a) const {
      return a.trusted ? "accessibility granted" : "accessibility revoked";
    }
    std::string operator()(const step::ActivateTarvolo&) const { return "Tarvolo activated"; }
    std::string operator()(const step::ReviewPromptButton& a) const {
      switch (a.button) {
        case step::ReviewButton::rate: return "rating prompt rate";
        case step::ReviewButton::later: return "rating prompt later";
        case step::ReviewButton::never: return "rating prompt never";
      }
      return "rating prompt";
    }
    std::string operator()(const step::SetAppAccessibility& a) const {
      return a.bundleId + (a.answers ? " answers Accessibility again" : " stops answering Accessibility");
    }
    std::string operator()(const step::Relaunch&) const { return "relaunch"; }
    std::string operator()(const step::Reopen&) const { return "reopen"; }
    std::string operator()(const step::Wake&) const { return "wake"; }
    std::string operator()(const step::Shortcut& a) const { return "⌘" + a.key; }
    std::string operator()(const step::PreferencesTab& a) const {
      return "preferences tab " + std::string(platform::rawValue(a.tab));
    }
    std::string operator()(const step::PreferencesSet& a) const {
      return "preferences " + a.control + " = " + a.value.dump();
    }
    std::string operator()(const step::PickZone& a) const {
      return "pick zone " + a.bundleId + " " + std::string(rawValue(a.zone));
    }
    std::string operator()(const step::NoticeButton& a) const {
      return std::string("notice ") + (a.arrange ? "arrange" : "ignore");
    }
    std::string operator()(const step::Guide& a) const {
      switch (a.action) {
        case step::GuideAction::drag: return "guide drag";
        case step::GuideAction::confirm: return "guide confirm";
        case step::GuideAction::cancel: return "guide cancel";
      }
      return "guide";
    }
    std::string operator()(const step::ClosePreferences&) const { return "close preferences"; }
    std::string operator()(const step::Quit&) const { return "quit"; }
    std::string operator()(const step::OpenShelf& a) const {
      return a.tier ? "open the Icon Shelf on " + std::string(rawValue(*a.tier)) : "open the Icon Shelf";
    }
    std::string operator()(const step::ShelfType& a) const { return "type " + inQuotes(a.text) + " into the shelf"; }
    std::string operator()(const step::ShelfTier& a) const { return "shelf tier " + std::string(rawValue(a.tier)); }
    std::string operator()(const step::ShelfPressKey& a) const {
      switch (a.key) {
        case step::ShelfKey::up: return "shelf key ↑";
        case step::ShelfKey::down: return "shelf key ↓";
        case step::ShelfKey::enter: return "shelf key ↩";
        case step::ShelfKey::escape: return "shelf key ⎋";
        case step::ShelfKey::find: return "shelf key ⌘F";
      }
      return "shelf key";
    }
    std::string operator()(const step::ShelfChoose& a) const { return "choose shelf row " + a.row; }
    std::string operator()(const step::ShelfDiscover&) const { return "identify hidden icons"; }
    std::string operator()(const step::CloseMenu& a) const {
      switch (a.how) {
        case step::MenuCloser::escape: return "close the open menu with ⎋";
        case step::MenuCloser::enter: return "close the open menu with ↩";
        case step::MenuCloser::clickElsewhere: return "close the open menu by clicking elsewhere";
        case step::MenuCloser::choose: return "choose an entry of the open menu";
      }
      return "close the open menu";
    }
    std::string operator()(const step::MovePointer& a) const {
      switch (a.spot) {
        case step::MovePointer::Spot::emptyMenuBar: return "pointer to the empty menu bar";
        case step::MovePointer::Spot::desktop: return "pointer to the desktop";
        case step::MovePointer::Spot::point: break;
      }
      return "pointer to " + numberWord(a.location.x) + "," + numberWord(a.location.y);
    }
    std::string operator()(const step::MouseButtonPress& a) const {
      return std::string(a.button == sim::SimDesktop::MouseButton::left ? "left" : "right") + " mouse " +
             (a.down ? "down" : "up");
    }
    std::string operator()(const step::ModifierPress& a) const {
      return modifierSymbols(a.modifiers) + (a.down ? " down" : " up");
    }
    std::string operator()(const step::TypeKey& a) const { return "key " + modifierSymbols(a.modifiers) + a.name; }
    std::string operator()(const step::MenuTracking& a) const {
      return a.begins ? "menu begins tracking" : "menu ends tracking";
    }
    std::string operator()(const step::OpenURL& a) const { return "open " + a.url; }
    std::string operator()(const step::AppleScriptCommand& a) const { return "AppleScript \"" + a.command + "\""; }
    std::string operator()(const step::RecordHotkey&) const { return "record the chord"; }
    std::string operator()(const step::SetLoginItem& a) const {
      return std::string("open at login ") + (a.enabled ? "on" : "off");
    }
    std::string operator()(const step::SetRevealOnHover& a) const {
      return std::string("reveal on hover ") + (a.enabled ? "on" : "off");
    }
  };
  return std::visit(Describer{}, action);
}

Scenario parseScenario(const json& document) {
  Field root(document, "");
  root.allowOnly({"name", "description", "os", "screens", "apps", "frontmost", "defaults", "arguments", "languages",
                  "settings", "steps"});
  Scenario scenario;
  if (auto name = root.optional("name")) scenario.name = name->string();
  if (auto description = root.optional("description")) scenario.description = description->string();
  if (auto os = root.optional("os")) {
    os->allowOnly({"major"});
    Field major = os->required("major");
    long long version = major.integer();
    if (version < 10 || version > 99) {
      major.fail("expected a macOS major version such as 15, got " + major.value().dump());
    }
    scenario.settings.osMajor = static_cast<int>(version);
  }
  scenario.screens = parseScreens(root.required("screens"));
  if (auto apps = root.optional("apps")) {
    std::set<std::string> seen;
    for (const Field& element : apps->array()) {
      scenario.apps.push_back(parseApp(element));
      if (!seen.insert(lower(scenario.apps.back().bundleId)).second) {
        element.required("bundleId").fail("another app has the bundle id " + inQuotes(scenario.apps.back().bundleId));
      }
      if (auto process = element.optional("processName")) {
        scenario.processNames[scenario.apps.back().bundleId] = process->nonEmptyString();
      }
    }
  }
  if (auto frontmost = root.optional("frontmost")) {
    std::string bundleId = knownAppId(*frontmost, scenario);
    if (!scenario.app(bundleId)->running) frontmost->fail("app " + inQuotes(bundleId) + " is not running at the start");
    scenario.frontmost = bundleId;
  }
  if (auto defaults = root.optional("defaults")) {
    for (const auto& [key, value] : defaults->object()) {
      auto converted = sim::fromJson(value);
      if (!converted) throw ScenarioError(defaults->childPath(key), "null cannot be stored (leave the key out)");
      scenario.defaults.emplace(key, std::move(*converted));
    }
  }
  if (auto arguments = root.optional("arguments")) {
    scenario.settings.arguments.clear();
    for (const Field& element : arguments->array()) scenario.settings.arguments.push_back(element.string());
  }
  if (auto languages = root.optional("languages")) {
    scenario.settings.preferredLanguages = languages->strings();
    if (scenario.settings.preferredLanguages.empty()) languages->fail("needs at least one language");
  }
  if (auto settings = root.optional("settings")) parseSettings(*settings, scenario);
  if (auto steps = root.optional("steps")) scenario.steps = parseSteps(*steps, scenario);
  return scenario;
}

Scenario parseScenarioText(std::string_view text) {
  json document;
  try {
    document = json::parse(text);
  } catch (const json::parse_error& error) {
    std::string message = error.what();
    // Drop the library's "[json.exception.parse_error.101] " tag.
    if (auto tag = message.find("] "); message.rfind("[json.exception", 0) == 0 && tag != std::string::npos) {
      message = message.substr(tag + 2);
    }
    throw ScenarioError("", "invalid JSON: " + message);
  }
  return parseScenario(document);
}

Scenario loadScenario(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) throw ScenarioError("", std::string("cannot be read (") + std::strerror(errno) + ")");
  std::stringstream buffer;
  buffer << in.rdbuf();
  Scenario scenario = parseScenarioText(buffer.str());
  if (scenario.name.empty()) scenario.name = file.stem().string();
  return scenario;
}

}  // namespace tarvolo::scenario
