#include "platform/Platform.h"

namespace tarvolo::platform {

std::string_view eventTypeName(EventType type) {
  switch (type) {
    case EventType::leftMouseDown: return "leftMouseDown";
    case EventType::leftMouseUp: return "leftMouseUp";
    case EventType::rightMouseDown: return "rightMouseDown";
    case EventType::rightMouseUp: return "rightMouseUp";
    case EventType::otherMouseDown: return "otherMouseDown";
    case EventType::otherMouseUp: return "otherMouseUp";
    case EventType::leftMouseDragged: return "leftMouseDragged";
    case EventType::keyDown: return "keyDown";
    case EventType::keyUp: return "keyUp";
    case EventType::flagsChanged: return "flagsChanged";
    case EventType::mouseMoved: return "mouseMoved";
    case EventType::other: return "other";
  }
  return "other";
}

std::string_view activationPolicyName(ActivationPolicy policy) {
  switch (policy) {
    case ActivationPolicy::regular: return "regular";
    case ActivationPolicy::accessory: return "accessory";
    case ActivationPolicy::prohibited: return "prohibited";
  }
  return "regular";
}

std::string_view rawValue(LoginItemStatus status) {
  switch (status) {
    case LoginItemStatus::notRegistered: return "notRegistered";
    case LoginItemStatus::enabled: return "enabled";
    case LoginItemStatus::requiresApproval: return "requiresApproval";
    case LoginItemStatus::notFound: return "notFound";
  }
  return "notFound";
}

std::string_view selectorName(ResponderAction action) {
  switch (action) {
    case ResponderAction::undo: return "undo:";
    case ResponderAction::redo: return "redo:";
    case ResponderAction::cut: return "cut:";
    case ResponderAction::copy: return "copy:";
    case ResponderAction::paste: return "paste:";
    case ResponderAction::selectAll: return "selectAll:";
    case ResponderAction::performClose: return "performClose:";
  }
  return "undo:";
}

const MainMenuItem* MainMenu::itemFor(std::string_view keyEquivalent, bool shift) const {
  for (const auto& section : sections) {
    for (const auto& item : section.items) {
      if (!item.isSeparator && item.keyEquivalent == keyEquivalent && item.shift == shift) return &item;
    }
  }
  return nullptr;
}

MainMenu mainMenuWith(const Menu& appCommands) {
  MainMenuSection app{.title = "Tarvolo"};
  for (const MenuItem& command : appCommands.items) {
    if (command.isSeparator) {
      app.items.push_back(MainMenuItem{.isSeparator = true});
      continue;
    }
    app.items.push_back(
        MainMenuItem{.title = command.title, .keyEquivalent = command.keyEquivalent, .perform = command.perform});
  }
  auto standard = [](std::string title, std::string key, ResponderAction action, bool shift = false) {
    return MainMenuItem{
        .title = std::move(title), .keyEquivalent = std::move(key), .shift = shift, .responderAction = action};
  };
  MainMenuSection edit{.title = "Edit",
                       .items = {standard("Undo", "z", ResponderAction::undo),
                                 standard("Redo", "z", ResponderAction::redo, true),
                                 MainMenuItem{.isSeparator = true},
                                 standard("Cut", "x", ResponderAction::cut),
                                 standard("Copy", "c", ResponderAction::copy),
                                 standard("Paste", "v", ResponderAction::paste),
                                 standard("Select All", "a", ResponderAction::selectAll)}};
  MainMenuSection window{.title = "Window", .items = {standard("Close", "w", ResponderAction::performClose)}};
  return MainMenu{.sections = {std::move(app), std::move(edit), std::move(window)}};
}

double ScreenInfo::notchWidth() const {
  if (!auxiliaryTopLeftArea || !auxiliaryTopRightArea) return 0;
  double width = auxiliaryTopRightArea->minX() - auxiliaryTopLeftArea->maxX();
  return width > 0 ? width : 0;
}

std::optional<Rect> ScreenInfo::notchRect() const {
  double width = notchWidth();
  if (width <= 0) return std::nullopt;
  return Rect{auxiliaryTopLeftArea->maxX(), frame.maxY() - menuBarHeight, width, menuBarHeight};
}

std::optional<bool> DefaultsStore::getBool(const std::string& key) const {
  auto value = object(key);
  return value ? value->asBool() : std::nullopt;
}

std::optional<double> DefaultsStore::getDouble(const std::string& key) const {
  auto value = object(key);
  return value ? value->asDouble() : std::nullopt;
}

std::optional<std::int64_t> DefaultsStore::getInteger(const std::string& key) const {
  auto value = object(key);
  return value ? value->asInteger() : std::nullopt;
}

std::optional<std::string> DefaultsStore::getString(const std::string& key) const {
  auto value = object(key);
  if (!value || !value->asString()) return std::nullopt;
  return *value->asString();
}

std::optional<std::vector<std::string>> DefaultsStore::getStringArray(const std::string& key) const {
  auto value = object(key);
  return value ? value->asStringArray() : std::nullopt;
}

std::optional<std::map<std::string, std::string>> DefaultsStore::getStringDictionary(const std::string& key) const {
  auto value = object(key);
  return value ? value->asStringDictionary() : std::nullopt;
}

}  // namespace tarvolo::platform
