#include "statusbar/DisplayRuleStore.h"

#include <cmath>

#include "base/Log.h"

namespace tarvolo {

namespace {

std::optional<DisplayRule> ruleFrom(const DefaultsValue& value) {
  const auto* dictionary = value.asDictionary();
  if (!dictionary) return std::nullopt;
  DisplayRule rule;
  if (auto it = dictionary->find("hideIcons"); it != dictionary->end()) {
    auto hide = it->second.asBool();
    if (!hide) return std::nullopt;
    rule.hideIcons = *hide;
  }
  if (auto it = dictionary->find("autoCollapseDelay"); it != dictionary->end()) {
    auto delay = it->second.asDouble();
    if (!delay || !std::isfinite(*delay) || *delay < 0) return std::nullopt;
    rule.autoCollapseDelay = *delay;
  }
  return rule;
}

DefaultsValue valueOf(const DisplayRule& rule) {
  DefaultsValue::Dictionary dictionary{{"hideIcons", DefaultsValue(rule.hideIcons)}};
  if (rule.autoCollapseDelay) dictionary.emplace("autoCollapseDelay", DefaultsValue(*rule.autoCollapseDelay));
  return DefaultsValue(std::move(dictionary));
}

}  // namespace

DisplayRuleStore::DisplayRuleStore(platform::DefaultsStore& defaults) : rules(read(defaults)), defaults_(defaults) {}

DisplayRules DisplayRuleStore::read(const platform::DefaultsStore& defaults) {
  DisplayRules out;
  auto stored = defaults.object(storeKey);
  if (!stored) return out;
  const auto* dictionary = stored->asDictionary();
  if (!dictionary) {
    // Left in the store untouched until a rule is set.
    MenuBarLog::log(LogLine("display rules unreadable").add("key", storeKey));
    return out;
  }
  for (const auto& [display, value] : *dictionary) {
    auto rule = ruleFrom(value);
    if (!rule) {
      MenuBarLog::log(LogLine("display rule unreadable").add("display", display));
      continue;
    }
    out.emplace(display, *rule);
  }
  return out;
}

void DisplayRuleStore::setRule(const std::string& displayID, const DisplayRule& rule) {
  mainThread_.check();
  if (displayID.empty()) return;
  // Rules this version cannot read stay as they were.
  DefaultsValue::Dictionary dictionary;
  if (auto stored = defaults_.object(storeKey); stored && stored->asDictionary()) dictionary = *stored->asDictionary();
  auto next = rules.get();
  if (rule.isDefault()) {
    dictionary.erase(displayID);
    next.erase(displayID);
  } else {
    dictionary[displayID] = valueOf(rule);
    next[displayID] = rule;
  }
  defaults_.set(storeKey, DefaultsValue(std::move(dictionary)));
  MenuBarLog::log(LogLine("display rule")
                      .add("display", displayID)
                      .add("hideIcons", rule.hideIcons)
                      .add("delay", rule.autoCollapseDelay ? std::to_string(std::lround(*rule.autoCollapseDelay))
                                                           : std::string("general")));
  rules = std::move(next);
}

}  // namespace tarvolo
