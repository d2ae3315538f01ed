#include "discovery/owners/NewAppNoticeLedger.h"

#include <algorithm>
#include <set>

#include "base/Log.h"
#include "base/Text.h"
#include "discovery/NewAppNoticePolicy.h"

namespace tarvolo {

NewAppNoticeLedger::NewAppNoticeLedger(Dependencies dependencies) : defaults_(dependencies.defaults) {
  load(dependencies.clock);
}

void NewAppNoticeLedger::load(const Clock& clock) {
  const std::string known(knownBundleIDsKey);
  if (auto value = defaults_.object(known)) {
    if (auto list = value->asStringArray()) {
      known_.emplace();
      std::set<std::string> unique;
      for (const auto& id : *list) {
        std::string key = text::lowercased(id);
        if (!key.empty() && unique.insert(key).second) known_->push_back(key);
      }
    } else {
      // Treated as a first run: everything running now becomes known without a notice.
      MenuBarLog::log(LogLine("catalog load ignored").add("key", known).add("reason", "type"));
    }
  }

  const std::string noticed(noticedBundleIDsKey);
  if (auto value = defaults_.object(noticed)) {
    if (auto list = value->asStringArray()) {
      noticed_ = NewAppNoticePolicy::normalizedUnique(*list);
    } else {
      MenuBarLog::log(LogLine("catalog load ignored").add("key", noticed).add("reason", "type"));
    }
  }

  const std::string firstLaunch(firstLaunchDateKey);
  if (!defaults_.contains(firstLaunch)) defaults_.set(firstLaunch, DefaultsValue(clock.currentDate()));
}

void NewAppNoticeLedger::noteFound(const std::vector<std::string>& foundBundleIDs) {
  mainThread_.check();
  const auto plan = NewAppNoticePolicy::plan(foundBundleIDs, known_, newAppNoticesEnabled());
  // A first run takes what runs now as the starting point, not as news.
  if (!plan.firstRun && plan.newBundleIDs.empty()) return;
  known_ = plan.known;
  defaults_.set(std::string(knownBundleIDsKey), DefaultsValue::fromStrings(*known_));
  auto pending = pendingNewAppBundleIds.get();
  for (const auto& id : plan.newBundleIDs) MenuBarLog::log(LogLine("catalog new").add("bundle", id));
  for (const auto& id : plan.noticeBundleIDs) {
    if (std::find(pending.begin(), pending.end(), id) == pending.end()) pending.push_back(id);
  }
  if (pending != pendingNewAppBundleIds.get()) pendingNewAppBundleIds = std::move(pending);
}

bool NewAppNoticeLedger::isKnown(std::string_view bundleID) const {
  if (!known_) return false;
  const std::string key = text::lowercased(bundleID);
  return std::find(known_->begin(), known_->end(), key) != known_->end();
}

bool NewAppNoticeLedger::launchNoticeAlreadySeen(std::string_view bundleID) const {
  const std::string key = text::lowercased(bundleID);
  return std::find(noticed_.begin(), noticed_.end(), key) != noticed_.end();
}

void NewAppNoticeLedger::markLaunchNoticeSeen(std::string_view bundleID) {
  mainThread_.check();
  const std::string key = text::lowercased(bundleID);
  if (key.empty()) return;
  auto pending = pendingNewAppBundleIds.get();
  if (std::erase(pending, key) > 0) pendingNewAppBundleIds = std::move(pending);
  if (launchNoticeAlreadySeen(key)) return;
  noticed_.push_back(key);
  defaults_.set(std::string(noticedBundleIDsKey), DefaultsValue::fromStrings(noticed_));
}

bool NewAppNoticeLedger::newAppNoticesEnabled() const {
  return defaults_.getBool(std::string(newAppNoticesKey)).value_or(true);
}

void NewAppNoticeLedger::setNewAppNoticesEnabled(bool enabled) {
  mainThread_.check();
  defaults_.set(std::string(newAppNoticesKey), DefaultsValue(enabled));
  MenuBarLog::log(LogLine("newApp notices").add("enabled", enabled));
}

}  // namespace tarvolo
