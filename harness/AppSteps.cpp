#include "harness/AppSteps.h"

#include "app/AppEnvironment.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "harness/Scenario.h"
#include "harness/SimSession.h"
#include "harness/StepContext.h"
#include "intents/LaunchAtLogin.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo::scenario::step {

std::optional<std::string> LaunchApp::perform(StepContext& context) const {
  if (context.appRunning(bundleId)) return bundleId + " is already running";
  context.desktop().launchApp(bundleId);
  return std::nullopt;
}

std::optional<std::string> TerminateApp::perform(StepContext& context) const {
  if (!context.appRunning(bundleId)) return bundleId + " is not running";
  context.desktop().terminateApp(bundleId);
  return std::nullopt;
}

std::optional<std::string> ActivateApp::perform(StepContext& context) const {
  if (!context.appRunning(bundleId)) return bundleId + " is not running";
  context.desktop().setFrontmost(bundleId);
  return std::nullopt;
}

std::string SetAppAccessibility::describe() const {
  return bundleId + (answers ? " answers Accessibility again" : " stops answering Accessibility");
}

std::optional<std::string> SetAppAccessibility::perform(StepContext& context) const {
  auto pid = context.desktop().processes().pidOf(bundleId);
  if (!pid || !context.appRunning(bundleId)) return bundleId + " is not running";
  context.desktop().processes().setUnresponsive(*pid, !answers);
  return std::nullopt;
}

std::string ResizeItem::describe() const { return "resize the first item of " + bundleId + " to " + numberWord(width); }

std::optional<std::string> ResizeItem::perform(StepContext& context) const {
  if (!context.appRunning(bundleId)) return bundleId + " is not running";
  if (!context.desktop().resizeFirstItem(bundleId, width)) return bundleId + " has no item";
  return std::nullopt;
}

std::string ChangeScreens::describe() const {
  std::vector<std::string> sizes;
  for (const auto& screen : screens) {
    sizes.push_back(numberWord(screen.width) + "×" + numberWord(screen.height) + (screen.notchWidth ? " notched" : ""));
  }
  return "screens " + joined(sizes);
}

std::optional<std::string> ChangeScreens::perform(StepContext& context) const {
  context.desktop().setScreens(screens);
  return std::nullopt;
}

std::optional<std::string> ChangeLanguages::perform(StepContext& context) const {
  context.desktop().setPreferredLanguages(languages);
  return std::nullopt;
}

std::string AssignCategory::describe() const {
  std::string text = "category " + bundleId + " " + (category ? std::string(rawValue(*category)) : "none");
  return confirm ? text + " (confirmed)" : text;
}

std::optional<std::string> AssignCategory::perform(StepContext& context) const {
  AppEnvironment& environment = *context.environment();
  CategoryStore& categories = environment.categoryStore();
  if (!category) {
    categories.removeCategory(bundleId);
    return std::nullopt;
  }
  categories.setCategory(bundleId, *category);
  if (confirm) environment.placementLedger().confirm(bundleId, *category);
  return std::nullopt;
}

std::optional<std::string> SetAccessibility::perform(StepContext& context) const {
  context.desktop().accessibility().setTrusted(trusted);
  return std::nullopt;
}

std::optional<std::string> ActivateTarvolo::perform(StepContext& context) const {
  context.desktop().activateOwnApp();
  return std::nullopt;
}

std::optional<std::string> Relaunch::perform(StepContext& context) const {
  context.relaunch();
  return std::nullopt;
}

std::optional<std::string> Reopen::perform(StepContext& context) const {
  context.desktop().reopenOwnApp();
  return std::nullopt;
}

std::optional<std::string> Wake::perform(StepContext& context) const {
  context.desktop().wake();
  return std::nullopt;
}

std::optional<std::string> Quit::perform(StepContext& context) const {
  context.session().quit();
  return std::nullopt;
}

std::optional<std::string> OpenURL::perform(StepContext& context) const {
  if (context.desktop().openURL(url)) return std::nullopt;
  return std::string("Tarvolo is not running");
}

std::optional<std::string> AppleScriptCommand::perform(StepContext& context) const {
  auto known = context.desktop().runAppleScriptCommand(command);
  if (!known) return std::string("Tarvolo is not running");
  if (!*known) return "Tarvolo does not know the command \"" + command + "\"";
  return std::nullopt;
}

std::optional<std::string> SetLoginItem::perform(StepContext& context) const {
  AppEnvironment* environment = context.environment();
  if (!environment) return std::string("Tarvolo is not running");
  environment->launchAtLogin().setEnabled(enabled);
  return std::nullopt;
}

std::optional<std::string> SetRevealOnHover::perform(StepContext& context) const {
  StatusBarController* controller = context.session().controller();
  if (!controller) return std::string("Tarvolo is not running");
  controller->autoCollapse().setRevealOnHover(enabled);
  return std::nullopt;
}

}  // namespace tarvolo::scenario::step

namespace tarvolo::scenario {

namespace {

Action parseCategory(const StepInput& in) {
  step::AssignCategory assign{.bundleId = knownAppId(in.value, in.scenario)};
  Field tier = in.step.required("tier");
  std::string raw = tier.string();
  if (raw != "none") {
    assign.category = itemCategoryFromRaw(raw);
    if (!assign.category) {
      tier.fail("unknown tier " + inQuotes(raw) + " (expected always_visible, hidden, always_hidden or none)");
    }
  }
  if (auto confirm = in.step.optional("confirm")) {
    assign.confirm = confirm->boolean();
    if (assign.confirm && !assign.category) confirm->fail("only a tier can be confirmed, not none");
  }
  return makeAction(std::move(assign));
}

Action parseAccessibility(const StepInput& in) {
  const std::string change = in.value.string();
  if (change == "grant") return makeAction(step::SetAccessibility{true});
  if (change == "revoke") return makeAction(step::SetAccessibility{false});
  in.value.fail("unknown change " + inQuotes(change) + " (expected grant or revoke)");
}

Action parseLanguages(const StepInput& in) {
  auto languages = in.value.strings();
  if (languages.empty()) in.value.fail("needs at least one language");
  return makeAction(step::ChangeLanguages{std::move(languages)});
}

// A step whose value is `true` and nothing else.
template <typename Data>
Action parseTrue(const StepInput& in) {
  expectTrue(in.value);
  return makeAction(Data{});
}

}  // namespace

std::vector<StepKind> appStepKinds() {
  return {
      {"launch", {},
       [](const StepInput& in) { return makeAction(step::LaunchApp{knownAppId(in.value, in.scenario)}); }},
      {"terminate", {},
       [](const StepInput& in) { return makeAction(step::TerminateApp{knownAppId(in.value, in.scenario)}); }},
      {"activate", {},
       [](const StepInput& in) { return makeAction(step::ActivateApp{knownAppId(in.value, in.scenario)}); }},
      {"screens", {}, [](const StepInput& in) { return makeAction(step::ChangeScreens{parseScreens(in.value)}); }},
      {"languages", {}, parseLanguages},
      {"category", {"tier", "confirm"}, parseCategory},
      {"accessibility", {}, parseAccessibility},
      {"activateTarvolo", {}, parseTrue<step::ActivateTarvolo>},
      {"relaunch", {}, parseTrue<step::Relaunch>},
      {"reopen", {}, parseTrue<step::Reopen>},
      {"wake", {}, parseTrue<step::Wake>},
      {"quit", {}, parseTrue<step::Quit>},
      {"openURL", {}, [](const StepInput& in) { return makeAction(step::OpenURL{in.value.nonEmptyString()}); }},
      {"appleScript", {},
       [](const StepInput& in) { return makeAction(step::AppleScriptCommand{in.value.nonEmptyString()}); }},
      {"loginItem", {}, [](const StepInput& in) { return makeAction(step::SetLoginItem{in.value.boolean()}); }},
      {"revealOnHover", {}, [](const StepInput& in) { return makeAction(step::SetRevealOnHover{in.value.boolean()}); }},
      {"stallAccessibility", {},
       [](const StepInput& in) {
         return makeAction(step::SetAppAccessibility{.bundleId = knownAppId(in.value, in.scenario), .answers = false});
       }},
      {"resizeItem", {"width"},
       [](const StepInput& in) {
         return makeAction(step::ResizeItem{.bundleId = knownAppId(in.value, in.scenario),
                                            .width = in.step.required("width").positive()});
       }},
      {"resumeAccessibility", {},
       [](const StepInput& in) {
         return makeAction(step::SetAppAccessibility{.bundleId = knownAppId(in.value, in.scenario), .answers = true});
       }},
  };
}

}  // namespace tarvolo::scenario
