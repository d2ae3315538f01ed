#pragma once

// Whether a change of the frontmost application lasts, and what committing its length does. Pure.

#include <optional>
#include <string>
#include <string_view>

#include "base/vocabulary/BundleID.h"

namespace tarvolo::MenuBarVisibilityPolicy {

// ---- Frontmost-app predicates ----------------------------------------------------------------

// An owner without an identifier stands for whoever is frontmost.
bool frontmostOwnsMenuBar(const BundleID& frontmost, const std::optional<BundleID>& owner);

struct FrontmostChangeIsTransientInput {
  std::optional<BundleID> bundle;  // none: no app is frontmost
  bool isOwnApp = false;
  bool activationPolicyIsRegular = false;
  bool ownsMenuBar = false;
};
bool frontmostChangeIsTransient(const FrontmostChangeIsTransientInput& input);

enum class FrontmostCommitAction { collapse, released, expanded, hold, apply };
std::string_view rawValue(FrontmostCommitAction action);

struct FrontmostCommitActionInput {
  std::optional<BundleID> releasedFor;
  BundleID bundle;
  bool presentationCollapsed = false;
  bool lengthMatches = false;
};
FrontmostCommitAction frontmostCommitAction(const FrontmostCommitActionInput& input);

}  // namespace tarvolo::MenuBarVisibilityPolicy
