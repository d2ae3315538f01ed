#include "intents/SystemActions.h"

#include "base/Log.h"
#include "base/Text.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

void ShowAllIconsIntent::perform(StatusBarController& controller) {
  controller.expandBar(ExpandDepth::deep, Initiator::user);
}

void CollapseAllIntent::perform(StatusBarController& controller) { controller.collapseBar(CollapseReason::appIntent); }

std::optional<SystemAction> SystemActions::actionForURL(std::string_view url) {
  std::string lowered = text::lowercased(text::trimmed(url));
  const std::string prefix = std::string(urlScheme) + "://";
  if (!lowered.starts_with(prefix)) return std::nullopt;
  std::string rest = lowered.substr(prefix.size());
  while (!rest.empty() && rest.back() == '/') rest.pop_back();
  if (rest == "show-all") return SystemAction::showAll;
  if (rest == "collapse") return SystemAction::collapse;
  return std::nullopt;
}

std::optional<SystemAction> SystemActions::actionForScriptCommand(std::string_view command) {
  std::string lowered = text::lowercased(text::trimmed(command));
  if (lowered == "show all icons") return SystemAction::showAll;
  if (lowered == "collapse all") return SystemAction::collapse;
  return std::nullopt;
}

void SystemActions::perform(SystemAction action, StatusBarController& controller) {
  switch (action) {
    case SystemAction::showAll:
      Diag::log(LogLine("system action").add("action", "show-all"));
      ShowAllIconsIntent::perform(controller);
      return;
    case SystemAction::collapse:
      Diag::log(LogLine("system action").add("action", "collapse"));
      CollapseAllIntent::perform(controller);
      return;
  }
}

}  // namespace tarvolo
