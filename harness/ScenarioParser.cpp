#include "harness/ScenarioParser.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <numeric>
#include <set>
#include <sstream>

#include "base/vocabulary/OwnBundle.h"
#include "harness/StepTable.h"
#include "platform/sim/SimDefaultsStore.h"

namespace tarvolo::scenario {

using json = nlohmann::json;

namespace {

platform::ActivationPolicy parseActivation(const Field& field) {
  std::string name = field.string();
  for (auto policy : {platform::ActivationPolicy::regular, platform::ActivationPolicy::accessory,
                      platform::ActivationPolicy::prohibited}) {
    if (platform::activationPolicyName(policy) == name) return policy;
  }
  field.fail("unknown activation policy " + inQuotes(name) + " (expected regular, accessory or prohibited)");
}

sim::SimItemSetup parseItem(const Field& field) {
  field.allowOnly({"width", "position", "name", "title", "description"});
  sim::SimItemSetup item;
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

sim::SimAppSetup parseApp(const Field& field) {
  field.allowOnly(
      {"bundleId", "name", "processName", "path", "activation", "menusWidth", "menuTitles", "running", "items",
       "accessibilityActions", "refusesActions", "pressBlocks", "accessibilityUnresponsive",
       "launchDuration"});
  sim::SimAppSetup app;
  app.bundleId = field.required("bundleId").nonEmptyString();
  if (lower(app.bundleId) == ownBundleID) {
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

sim::SimRelease parseRelease(const Field& field) {
  field.allowOnly({"version", "notes", "size", "signature", "download", "install"});
  sim::SimRelease release;
  release.version = field.required("version").nonEmptyString();
  if (auto value = field.optional("notes")) release.notes = value->string();
  if (auto value = field.optional("size")) release.size = static_cast<std::uint64_t>(value->positive());
  if (auto value = field.optional("signature")) {
    const std::string raw = value->string();
    if (raw != "good" && raw != "bad") value->fail("unknown signature " + inQuotes(raw) + " (expected good or bad)");
    release.badSignature = raw == "bad";
  }
  if (auto value = field.optional("download")) {
    const std::string raw = value->string();
    if (raw == "completes") {
      release.download = sim::SimDownload::completes;
    } else if (raw == "fails") {
      release.download = sim::SimDownload::fails;
    } else if (raw == "stopsHalfway") {
      release.download = sim::SimDownload::stopsHalfway;
    } else {
      value->fail("unknown download " + inQuotes(raw) + " (expected completes, fails or stopsHalfway)");
    }
  }
  if (auto value = field.optional("install")) {
    const std::string raw = value->string();
    if (raw != "succeeds" && raw != "fails") {
      value->fail("unknown install " + inQuotes(raw) + " (expected succeeds or fails)");
    }
    release.installFails = raw == "fails";
  }
  return release;
}

sim::SimUpdateSettings parseUpdates(const Field& field) {
  field.allowOnly({"installedVersion", "feed", "feedReachable", "configured", "checkDuration", "bytesPerSecond",
                   "progressInterval", "extractionDuration", "installDuration"});
  sim::SimUpdateSettings updates;
  if (auto value = field.optional("installedVersion")) updates.installedVersion = value->nonEmptyString();
  if (auto value = field.optional("feed")) {
    for (const Field& element : value->array()) updates.feed.push_back(parseRelease(element));
  }
  if (auto value = field.optional("feedReachable")) updates.feedReachable = value->boolean();
  if (auto value = field.optional("configured")) updates.configured = value->boolean();
  if (auto value = field.optional("checkDuration")) updates.checkDuration = value->nonNegative();
  if (auto value = field.optional("bytesPerSecond")) updates.bytesPerSecond = value->positive();
  if (auto value = field.optional("progressInterval")) updates.progressInterval = value->positive();
  if (auto value = field.optional("extractionDuration")) updates.extractionDuration = value->nonNegative();
  if (auto value = field.optional("installDuration")) updates.installDuration = value->nonNegative();
  return updates;
}

void parseSettings(const Field& field, Scenario& scenario) {
  field.allowOnly({"frameLatency", "systemItemsWidth", "symbolItemWidth", "textCharWidth", "textItemPadding",
                   "clickDuration", "accessibilityTrusted", "framesReadable", "ejectionLength",
                   "dropsHalfWidthItems", "halfWidthDropMargin", "menuIntrusionMinLength", "dropsMenuTitles",
                   "overflowChevronWidth", "sharedWindowItems", "takenHotkeys", "loginItemStatus",
                   "loginItemNeedsApproval", "loginItemError", "assessmentMode", "postEventAccess", "updates"});
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
  if (auto value = field.optional("updates")) settings.updates = parseUpdates(*value);
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

}  // namespace

Scenario parseScenario(const json& document) {
  Field root(document, "");
  root.allowOnly({"name", "description", "os", "screens", "apps", "frontmost", "defaults", "arguments", "languages",
                  "settings", "steps"});
  Scenario scenario;
  if (auto name = root.optional("name")) scenario.name = name->string();
  if (auto description = root.optional("description")) scenario.description = description->string();
  if (auto os = root.optional("os")) {
    os->allowOnly({"major", "build"});
    Field major = os->required("major");
    long long version = major.integer();
    if (version < 10 || version > 99) {
      major.fail("expected a macOS major version such as 15, got " + major.value().dump());
    }
    scenario.settings.osMajor = static_cast<int>(version);
    if (auto build = os->optional("build")) scenario.settings.osBuild = build->nonEmptyString();
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
