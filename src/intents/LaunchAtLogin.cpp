#include "intents/LaunchAtLogin.h"

#include "base/Log.h"

namespace tarvolo {

namespace {
constexpr int kFirstSupportedMajor = 13;
}

std::string_view rawValue(LoginItemApply result) {
  switch (result) {
    case LoginItemApply::applied: return "applied";
    case LoginItemApply::needsApproval: return "needsApproval";
    case LoginItemApply::failed: return "failed";
  }
  return "failed";
}

LaunchAtLogin::LaunchAtLogin(platform::LoginItemService& service, const platform::SystemInfo& system)
    : service_(service), system_(system) {}

bool LaunchAtLogin::isSupported() const { return system_.osMajorVersion() >= kFirstSupportedMajor; }

std::optional<platform::LoginItemStatus> LaunchAtLogin::status() const {
  if (!isSupported()) return std::nullopt;
  return service_.status();
}

bool LaunchAtLogin::isEnabled() const { return status() == platform::LoginItemStatus::enabled; }

bool LaunchAtLogin::needsApproval() const { return status() == platform::LoginItemStatus::requiresApproval; }

LoginItemApply LaunchAtLogin::finish(LoginItemApply result) {
  applyResult_ = result;
  return result;
}

LoginItemApply LaunchAtLogin::setEnabled(bool enabled) {
  using platform::LoginItemStatus;
  if (!isSupported()) {
    Diag::log("launch-at-login unsupported on this macOS version");
    return finish(LoginItemApply::failed);
  }
  const auto before = service_.status();
  const bool nothingToDo = enabled ? before == LoginItemStatus::enabled
                                   : before != LoginItemStatus::enabled && before != LoginItemStatus::requiresApproval;
  if (nothingToDo) return finish(LoginItemApply::applied);
  auto error = enabled ? service_.registerMainApp() : service_.unregisterMainApp();
  if (error) {
    SystemLog::log(LogLine("Tarvolo: login item update failed:").raw(*error));
    Diag::log(LogLine("launch-at-login failed:").raw(*error));
    return finish(LoginItemApply::failed);
  }
  const auto after = service_.status();
  Diag::log(LogLine("launch-at-login set to").raw(boolText(enabled)).raw("->").raw(platform::rawValue(after)));
  return finish(enabled && after == LoginItemStatus::requiresApproval ? LoginItemApply::needsApproval
                                                                      : LoginItemApply::applied);
}

}  // namespace tarvolo
