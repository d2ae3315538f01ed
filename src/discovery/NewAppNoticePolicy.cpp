#include "discovery/NewAppNoticePolicy.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "base/Text.h"

namespace tarvolo {

std::string_view rawValue(NewAppLaunchAction action) {
  switch (action) {
    case NewAppLaunchAction::skip: return "skip";
    case NewAppLaunchAction::scheduleAccessory: return "scheduleAccessory";
    case NewAppLaunchAction::watchRegularForGap: return "watchRegularForGap";
  }
  return "skip";
}

std::string_view rawValue(NewAppShowDecision decision) {
  switch (decision) {
    case NewAppShowDecision::show: return "show";
    case NewAppShowDecision::wait: return "wait";
    case NewAppShowDecision::skip: return "skip";
  }
  return "skip";
}

std::optional<std::string> NewAppNoticeQueue::enqueue(std::string_view bundleID) {
  if (bundleID.empty()) return std::nullopt;
  const std::string id(bundleID);
  const bool queued = std::find(pending.begin(), pending.end(), id) != pending.end();
  if (showing) {
    if (*showing != id && !queued) pending.push_back(id);
    return std::nullopt;
  }
  if (queued) return std::nullopt;
  showing = id;
  return id;
}

std::optional<std::string> NewAppNoticeQueue::finishCurrent() {
  if (pending.empty()) {
    showing.reset();
    return std::nullopt;
  }
  showing = pending.front();
  pending.erase(pending.begin());
  return showing;
}

}  // namespace tarvolo

namespace tarvolo::NewAppNoticePolicy {

namespace {

// Resolves "." and "..", repeated and trailing slashes, as the platform's standardising does.
std::string standardized(std::string_view path) {
  std::string normal = std::filesystem::path(std::string(path)).lexically_normal().generic_string();
  while (normal.size() > 1 && normal.back() == '/') normal.pop_back();
  return normal;
}

std::string parentFolder(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return "";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

}  // namespace

NewAppLaunchAction launchAction(const LaunchInput& input) {
  if (!input.noticesEnabled || input.alreadySeen) return NewAppLaunchAction::skip;
  if (!isTopLevelApplication(input.bundlePath, input.homeDirectory)) return NewAppLaunchAction::skip;
  switch (input.kind) {
    case MenuBarActivationKind::accessory: return NewAppLaunchAction::scheduleAccessory;
    case MenuBarActivationKind::regular: return NewAppLaunchAction::watchRegularForGap;
    case MenuBarActivationKind::other: return NewAppLaunchAction::skip;
  }
  return NewAppLaunchAction::skip;
}

bool isTopLevelApplication(const std::optional<std::string>& bundlePath, std::string_view homeDirectory) {
  if (!bundlePath || bundlePath->empty()) return false;
  std::string path = *bundlePath;
  if (path.starts_with("~/")) path = std::string(homeDirectory) + path.substr(1);
  path = text::lowercased(standardized(path));
  if (!path.ends_with(".app")) return false;
  const std::string withSlash = path + "/";
  if (MenuBarCatalogPolicy::isInEmbeddedFolder(withSlash)) return false;
  if (withSlash.find(MenuBarCatalogPolicy::loginItemsFolder) != std::string::npos) return false;
  const std::string parent = parentFolder(path);
  if (parent.find(".app/") != std::string::npos || parent.ends_with(".app")) return false;
  if (parent == "/applications") return true;
  if (homeDirectory.empty()) return false;
  return parent == text::lowercased(standardized(std::string(homeDirectory) + "/Applications"));
}

NewAppShowDecision showDecision(MenuBarActivationKind kind, double age, bool gapChanged) {
  switch (kind) {
    case MenuBarActivationKind::accessory:
      return age < accessoryDelay ? NewAppShowDecision::wait : NewAppShowDecision::show;
    case MenuBarActivationKind::regular:
      if (age >= regularWindow) return NewAppShowDecision::skip;
      if (age < recheckDebounce || !gapChanged) return NewAppShowDecision::wait;
      return NewAppShowDecision::show;
    case MenuBarActivationKind::other:
      return NewAppShowDecision::skip;
  }
  return NewAppShowDecision::skip;
}

std::optional<double> recheckDelay(double age, double debounce, double window) {
  if (window <= age) return std::nullopt;
  if (age < debounce) return std::max(debounce - age, minimumRecheck);
  return std::min(std::max(window - age, minimumRecheck), maximumRecheck);
}

std::vector<std::string> normalizedUnique(const std::vector<std::string>& bundleIDs) {
  std::vector<std::string> out;
  std::set<std::string> seen;
  for (const auto& id : bundleIDs) {
    std::string key = text::lowercased(id);
    if (key.empty() || !seen.insert(key).second) continue;
    out.push_back(std::move(key));
  }
  return out;
}

NewAppNoticePlan plan(const std::vector<std::string>& foundBundleIDs,
                      const std::optional<std::vector<std::string>>& storedKnown, bool noticesEnabled) {
  NewAppNoticePlan result;
  const auto found = normalizedUnique(foundBundleIDs);
  if (!storedKnown) {
    result.firstRun = true;
    result.known = found;
    return result;
  }
  result.known = *storedKnown;
  std::set<std::string> known;
  for (const auto& id : *storedKnown) known.insert(text::lowercased(id));
  for (const auto& id : found) {
    if (known.contains(id)) continue;
    known.insert(id);
    result.known.push_back(id);
    result.newBundleIDs.push_back(id);
  }
  if (noticesEnabled) result.noticeBundleIDs = result.newBundleIDs;
  return result;
}

}  // namespace tarvolo::NewAppNoticePolicy
