#include "discovery/owners/CategoryStore.h"

#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "discovery/PlacementPolicy.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

CategoryStore::CategoryStore(Dependencies dependencies)
    : defaults_(dependencies.defaults), defaultCenter_(dependencies.defaultCenter) {
  load(dependencies.ledger);
}

void CategoryStore::load(const MenuBarPlacementLedger& ledger) {
  const std::string categories(categoriesKey);
  std::map<std::string, std::string> stored;
  if (auto value = defaults_.object(categories)) {
    if (auto map = value->asStringDictionary()) {
      stored = std::move(*map);
    } else {
      MenuBarLog::log(LogLine("catalog load ignored").add("key", categories).add("reason", "type"));
    }
  }
  const auto migrated = PlacementPolicy::migrateStoredCategories(stored, ledger.snapshot().confirmed);
  if (migrated.size() != stored.size()) {
    const auto dropped = stored.size() - migrated.size();
    MenuBarLog::log(LogLine("catalog categories migrated").add("kept", migrated.size()).add("dropped", dropped));
  }
  // The migration keeps known tiers only. Spellings that differ only in case are one application:
  // the first in the stored order stays.
  for (const auto& [id, raw] : migrated) {
    if (auto category = itemCategoryFromRaw(raw)) saved_.emplace(BundleID(id), *category);
  }

  const std::string pins(pinsKey);
  if (auto value = defaults_.object(pins)) {
    if (auto list = value->asStringArray()) {
      for (const auto& id : *list) pins_.insert(BundleID(id));
    } else {
      MenuBarLog::log(LogLine("catalog load ignored").add("key", pins).add("reason", "type"));
    }
  }
}

void CategoryStore::storeCategories() {
  std::map<std::string, std::string> stored;
  for (const auto& [id, category] : saved_) stored.emplace(id.spelling(), rawValue(category));
  defaults_.set(std::string(categoriesKey), DefaultsValue::fromStringMap(stored));
}

void CategoryStore::storePins() {
  const std::set<std::string> keys = keysOf(pins_);
  defaults_.set(std::string(pinsKey), DefaultsValue::fromStrings({keys.begin(), keys.end()}));
}

std::optional<ItemCategory> CategoryStore::savedCategory(std::string_view bundleID) const {
  return MenuBarVisibilityPolicy::resolveTier(BundleID(bundleID), saved_);
}

ItemCategory CategoryStore::category(std::string_view bundleID) const {
  return savedCategory(bundleID).value_or(defaultCategory);
}

void CategoryStore::setCategory(std::string_view bundleID, ItemCategory category) {
  mainThread_.check();
  if (bundleID.empty()) return;
  const std::string raw(rawValue(category));
  // One entry per application, under whatever spelling it was saved with first.
  const BundleID id(bundleID);
  if (auto existing = saved_.find(id); existing != saved_.end() && existing->second == category) return;
  saved_[id] = category;
  storeCategories();
  MenuBarLog::log(LogLine("category assign").add("bundle", bundleID).add("category", raw));
  changed_.notify();
  defaultCenter_.post(Notification{.name = Notifications::itemCategoryDidChange,
                                   .userInfo = {{"bundleID", std::string(bundleID)}, {"category", raw}}});
}

void CategoryStore::removeCategory(std::string_view bundleID) {
  mainThread_.check();
  if (saved_.erase(BundleID(bundleID)) == 0) return;
  storeCategories();
  MenuBarLog::log(LogLine("category remove").add("bundle", bundleID));
  changed_.notify();
  defaultCenter_.post(
      Notification{.name = Notifications::itemCategoryDidChange, .userInfo = {{"bundleID", std::string(bundleID)}}});
}

bool CategoryStore::isPinned(std::string_view bundleID) const { return pins_.contains(BundleID(bundleID)); }

void CategoryStore::setPinned(std::string_view bundleID, bool pinned) {
  mainThread_.check();
  const BundleID key(bundleID);
  if (key.empty() || pins_.contains(key) == pinned) return;
  if (pinned) {
    pins_.insert(key);
  } else {
    pins_.erase(key);
  }
  storePins();
  changed_.notify();
}

}  // namespace tarvolo
