#pragma once

#include <optional>
#include <string_view>

#include "platform/Platform.h"

namespace tarvolo {

// What changing the login item came to.
enum class LoginItemApply {
  applied,        // done, or nothing to do
  needsApproval,  // the user must allow it in the system settings
  failed,
};
std::string_view rawValue(LoginItemApply result);

// Starting the app when the user logs in, through the system's login-item service (macOS 13+).
// Stateless apart from the last result, which the settings show.
class LaunchAtLogin {
 public:
  LaunchAtLogin(platform::LoginItemService& service, const platform::SystemInfo& system);

  bool isSupported() const;
  bool isEnabled() const;
  bool needsApproval() const;
  LoginItemApply setEnabled(bool enabled);
  void openSystemSettings() { service_.openSystemSettingsLoginItems(); }
  std::optional<LoginItemApply> applyResult() const { return applyResult_; }
  std::optional<platform::LoginItemStatus> status() const;

 private:
  LoginItemApply finish(LoginItemApply result);

  platform::LoginItemService& service_;
  const platform::SystemInfo& system_;
  std::optional<LoginItemApply> applyResult_;
};

}  // namespace tarvolo
