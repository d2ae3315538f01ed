#include "harness/InputSteps.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "harness/SimSession.h"
#include "harness/StepContext.h"

namespace tarvolo::scenario::step {

std::string Click::describe() const {
  std::string text = "click " + std::string(targetName(target));
  bool right = button == sim::MouseButton::right;
  std::string held = modifierSymbols(modifiers);
  if (right || !held.empty()) {
    text += " (";
    text += right ? "right" : "left";
    if (!held.empty()) text += " " + held;
    text += ")";
  }
  return text;
}

std::optional<std::string> Click::perform(StepContext& context) const {
  if (context.desktop().events().clickOwnItem(autosaveName(target), button, modifiers)) return std::nullopt;
  return "the " + std::string(targetName(target)) + " is not on screen";
}

std::optional<std::string> CommandDrag::perform(StepContext& context) const {
  auto own = ownItemFromTargetName(item);
  std::string name = own ? autosaveName(*own) : item;
  if (context.desktop().events().commandDragItem(name, toX)) return std::nullopt;
  return item + " is not on screen";
}

std::string MovePointer::describe() const {
  switch (spot) {
    case Spot::emptyMenuBar: return "pointer to the empty menu bar";
    case Spot::desktop: return "pointer to the desktop";
    case Spot::point: break;
  }
  return "pointer to " + numberWord(location.x) + "," + numberWord(location.y);
}

std::optional<std::string> MovePointer::perform(StepContext& context) const {
  sim::SimDesktop& desktop = context.desktop();
  Point target = location;
  switch (spot) {
    case Spot::point: break;
    case Spot::desktop: {
      const auto& screen = desktop.screens().primarySetup();
      target = {screen.x + screen.width / 2, screen.y + screen.height / 2};
      break;
    }
    case Spot::emptyMenuBar: {
      // Halfway between the app menus and the first icon that stays visible.
      const sim::SimItemState* separator = desktop.bar().ownItem(autosaveName(OwnItem::separator));
      if (!separator || !separator->frame) return std::string("the separator is not laid out");
      double left = std::max(desktop.bar().menusRightEdge(), desktop.bar().statusAreaMinX());
      double right = std::min(separator->frame->maxX(), desktop.bar().statusAreaMaxX());
      if (right - left < 2) return std::string("the menu bar has no empty stretch");
      const auto& screen = desktop.screens().primarySetup();
      target = {(left + right) / 2, screen.y + screen.height - 12};
      break;
    }
  }
  desktop.events().movePointer(target);
  return std::nullopt;
}

std::string MouseButtonPress::describe() const {
  return std::string(button == sim::MouseButton::left ? "left" : "right") + " mouse " + (down ? "down" : "up");
}

std::optional<std::string> MouseButtonPress::perform(StepContext& context) const {
  if (down) {
    context.desktop().events().pressMouseButton(button);
  } else {
    context.desktop().events().releaseMouseButton(button);
  }
  return std::nullopt;
}

std::optional<std::string> ModifierPress::perform(StepContext& context) const {
  if (down) {
    context.desktop().events().pressModifiers(modifiers);
  } else {
    context.desktop().events().releaseModifiers(modifiers);
  }
  return std::nullopt;
}

std::optional<std::string> TypeKey::perform(StepContext& context) const {
  context.desktop().events().typeKey(keyCode, modifiers);
  return std::nullopt;
}

std::optional<std::string> Shortcut::perform(StepContext& context) const {
  if (context.desktop().events().pressMainMenuShortcut(key, shift)) return std::nullopt;
  return "Tarvolo's main menu has no " + describe() + " item";
}

std::optional<std::string> Pasteboard::perform(StepContext& context) const {
  context.desktop().application().setPasteboard(text);
  return std::nullopt;
}

std::optional<std::string> MenuTracking::perform(StepContext& context) const {
  if (begins) {
    context.desktop().menus().beginMenuTracking();
  } else {
    context.desktop().menus().endMenuTracking();
  }
  return std::nullopt;
}

}  // namespace tarvolo::scenario::step

namespace tarvolo::scenario {

namespace {

sim::MouseButton parseButton(const Field& field) {
  std::string name = field.string();
  if (name != "left" && name != "right") field.fail("unknown button " + inQuotes(name) + " (expected left or right)");
  return name == "left" ? sim::MouseButton::left : sim::MouseButton::right;
}

Action parseClick(const StepInput& in) {
  std::string name = in.value.string();
  auto target = ownItemFromTargetName(name);
  if (!target) {
    in.value.fail("unknown target " + inQuotes(name) + " (expected toggle, separator or alwaysHiddenSeparator)");
  }
  step::Click click{.target = *target};
  if (auto button = in.step.optional("button")) {
    std::string buttonName = button->string();
    if (buttonName == "right") {
      click.button = sim::MouseButton::right;
    } else if (buttonName != "left") {
      button->fail("unknown button " + inQuotes(buttonName) + " (expected left or right)");
    }
  }
  if (auto modifiers = in.step.optional("modifiers")) click.modifiers = parseModifiers(*modifiers);
  return makeAction(click);
}

Action parseCommandDrag(const StepInput& in) {
  std::string item = in.value.nonEmptyString();
  const sim::SimAppSetup* app = in.scenario.app(item);
  if (!ownItemFromTargetName(item) && !(app && !app->items.empty())) {
    in.value.fail("unknown item " + inQuotes(item) +
                  " (expected toggle, separator, alwaysHiddenSeparator or the bundle id of an app with items)");
  }
  return makeAction(step::CommandDrag{.item = item, .toX = in.step.required("x").number()});
}

Action parsePointer(const StepInput& in) {
  if (in.value.value().is_string()) {
    std::string spot = in.value.string();
    if (spot == "emptyMenuBar") return makeAction(step::MovePointer{.spot = step::MovePointer::Spot::emptyMenuBar});
    if (spot == "desktop") return makeAction(step::MovePointer{.spot = step::MovePointer::Spot::desktop});
    in.value.fail("unknown spot " + inQuotes(spot) + " (expected emptyMenuBar, desktop or {\"x\", \"y\"})");
  }
  in.value.allowOnly({"x", "y"});
  return makeAction(
      step::MovePointer{.location = {in.value.required("x").number(), in.value.required("y").number()}});
}

Action parseModifierPress(const StepInput& in) {
  auto modifiers = parseModifiers(in.value);
  if (modifiers.raw == 0) in.value.fail("needs at least one modifier");
  return makeAction(step::ModifierPress{.modifiers = modifiers, .down = in.key == "modifierDown"});
}

Action parseKeyStep(const StepInput& in) {
  auto [keyCode, name] = parseKey(in.value);
  step::TypeKey typed{.keyCode = keyCode, .name = name};
  if (auto modifiers = in.step.optional("modifiers")) typed.modifiers = parseModifiers(*modifiers);
  return makeAction(typed);
}

Action parseShortcut(const StepInput& in) {
  std::string shortcut = in.value.string();
  constexpr std::string_view kKeys[] = {",", "q", "z", "x", "c", "v", "a", "w"};
  if (std::find(std::begin(kKeys), std::end(kKeys), shortcut) == std::end(kKeys)) {
    in.value.fail("unknown shortcut " + inQuotes(shortcut) + " (expected , q z x c v a or w)");
  }
  bool shift = false;
  if (auto held = in.step.optional("shift")) shift = held->boolean();
  return makeAction(step::Shortcut{.key = shortcut, .shift = shift});
}

Action parseMenuTracking(const StepInput& in) {
  std::string phase = in.value.string();
  if (phase != "begin" && phase != "end") in.value.fail("expected begin or end");
  return makeAction(step::MenuTracking{.begins = phase == "begin"});
}

}  // namespace

std::vector<StepKind> inputStepKinds() {
  return {
      {"click", {"button", "modifiers"}, parseClick},
      {"commandDrag", {"x"}, parseCommandDrag},
      {"pointer", {}, parsePointer},
      {"mouseDown", {},
       [](const StepInput& in) {
         return makeAction(step::MouseButtonPress{.button = parseButton(in.value), .down = true});
       }},
      {"mouseUp", {},
       [](const StepInput& in) {
         return makeAction(step::MouseButtonPress{.button = parseButton(in.value), .down = false});
       }},
      {"modifierDown", {}, parseModifierPress},
      {"modifierUp", {}, parseModifierPress},
      {"key", {"modifiers"}, parseKeyStep},
      {"menuTracking", {}, parseMenuTracking},
      {"shortcut", {"shift"}, parseShortcut},
      {"pasteboard", {}, [](const StepInput& in) { return makeAction(step::Pasteboard{in.value.string()}); }},
  };
}

}  // namespace tarvolo::scenario
