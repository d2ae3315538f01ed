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
