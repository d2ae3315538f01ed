#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tarvolo {

class StatusBarController;

// The two actions the system's automation runs (Shortcuts, AppleScript, the app's URL scheme).
namespace ShowAllIconsIntent {
inline constexpr const char* title = "Show All Icons";
void perform(StatusBarController& controller);
}  // namespace ShowAllIconsIntent

namespace CollapseAllIntent {
inline constexpr const char* title = "Collapse All";
void perform(StatusBarController& controller);
}  // namespace CollapseAllIntent

// Which action a URL of the app's scheme or an AppleScript command names.
enum class SystemAction { showAll, collapse };

namespace SystemActions {
inline constexpr const char* urlScheme = "tarvolo";
// "tarvolo://show-all", "tarvolo://collapse"; case and a trailing slash do not matter.
std::optional<SystemAction> actionForURL(std::string_view url);
// "show all icons", "collapse all".
std::optional<SystemAction> actionForScriptCommand(std::string_view command);
void perform(SystemAction action, StatusBarController& controller);
}  // namespace SystemActions

}  // namespace tarvolo
