#pragma once

// Whether a change of the frontmost application lasts, and what committing its length does. Pure.

#include <optional>
#include <string>
#include <string_view>

namespace tarvolo::MenuBarVisibilityPolicy {

// ---- Frontmost-app predicates ----------------------------------------------------------------

bool frontmostOwnsMenuBar(std::string_view frontmost, std::optional<std::string_view> owner);

struct FrontmostChangeIsTransientInput {
  std::string bundle;
  bool isOwnApp = false;
  bool activationPolicyIsRegular = false;
  bool ownsMenuBar = false;
};
bool frontmostChangeIsTransient(const FrontmostChangeIsTransientInput& input);

enum class FrontmostCommitAction { collapse, released, expanded, hold, apply };
std::string_view rawValue(FrontmostCommitAction action);

struct FrontmostCommitActionInput {
  std::optional<std::string> releasedFor;
  std::string bundle;
  bool presentationCollapsed = false;
  bool lengthMatches = false;
};
FrontmostCommitAction frontmostCommitAction(const FrontmostCommitActionInput& input);

}  // namespace tarvolo::MenuBarVisibilityPolicy
