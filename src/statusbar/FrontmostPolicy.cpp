#include "statusbar/FrontmostPolicy.h"

namespace tarvolo::MenuBarVisibilityPolicy {

bool frontmostOwnsMenuBar(const BundleID& frontmost, const std::optional<BundleID>& owner) {
  if (!owner || owner->empty()) return true;
  return frontmost == *owner;
}

bool frontmostChangeIsTransient(const FrontmostChangeIsTransientInput& input) {
  if (!input.bundle || input.bundle->empty()) return true;
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
  if (input.releasedFor && *input.releasedFor != input.bundle) {
    return FrontmostCommitAction::collapse;
  }
  if (!input.presentationCollapsed) {
    return input.releasedFor ? FrontmostCommitAction::released : FrontmostCommitAction::expanded;
  }
  return input.lengthMatches ? FrontmostCommitAction::hold : FrontmostCommitAction::apply;
}

}  // namespace tarvolo::MenuBarVisibilityPolicy
