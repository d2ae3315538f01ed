#include "statusbar/FrontmostPolicy.h"

#include "base/Text.h"

namespace tarvolo::MenuBarVisibilityPolicy {

using text::equalsIgnoringCase;

bool frontmostOwnsMenuBar(std::string_view frontmost, std::optional<std::string_view> owner) {
  if (!owner || owner->empty()) return true;
  return equalsIgnoringCase(frontmost, *owner);
}

bool frontmostChangeIsTransient(const FrontmostChangeIsTransientInput& input) {
  if (input.bundle.empty() || input.bundle == "none") return true;
  if (input.isOwnApp) return true;
  return !(input.activationPolicyIsRegular && input.ownsMenuBar);
}

std::string_view rawValue(FrontmostCommitAction action) {
  switch (action) {
    case FrontmostCommitAction::collapse: return "collapse";
    case FrontmostCommitAction::released: return "released";
    case FrontmostCommitAction::expanded: return "expanded";
    case FrontmostCommitAction::hold: return "hold";
    case FrontmostCommitAction::apply: return "apply";
  }
  return "apply";
}

FrontmostCommitAction frontmostCommitAction(const FrontmostCommitActionInput& input) {
  if (input.releasedFor && !equalsIgnoringCase(*input.releasedFor, input.bundle)) {
    return FrontmostCommitAction::collapse;
  }
  if (!input.presentationCollapsed) {
    return input.releasedFor ? FrontmostCommitAction::released : FrontmostCommitAction::expanded;
  }
  return input.lengthMatches ? FrontmostCommitAction::hold : FrontmostCommitAction::apply;
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
