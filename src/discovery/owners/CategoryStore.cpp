#include "discovery/owners/CategoryStore.h"

#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "base/Text.h"
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
  saved_ = PlacementPolicy::migrateStoredCategories(stored, ledger.snapshot().confirmed);
  if (saved_.size() != stored.size()) {
    const auto dropped = stored.size() - saved_.size();
    MenuBarLog::log(LogLine("catalog categories migrated").add("kept", saved_.size()).add("dropped", dropped));
  }

  const std::string pins(pinsKey);
  if (auto value = defaults_.object(pins)) {
    if (auto list = value->asStringArray()) {
      for (const auto& id : *list) pins_.insert(text::lowercased(id));
    } else {
      MenuBarLog::log(LogLine("catalog load ignored").add("key", pins).add("reason", "type"));
    }
  }
}

void CategoryStore::storeCategories() {
  defaults_.set(std::string(categoriesKey), DefaultsValue::fromStringMap(saved_));
}

void CategoryStore::storePins() {
  defaults_.set(std::string(pinsKey), DefaultsValue::fromStrings({pins_.begin(), pins_.end()}));
}

std::optional<ItemCategory> CategoryStore::savedCategory(std::string_view bundleID) const {
  auto raw = MenuBarVisibilityPolicy::lookupRaw(bundleID, saved_);
  return raw ? itemCategoryFromRaw(*raw) : std::nullopt;
}

ItemCategory CategoryStore::category(std::string_view bundleID) const {
  return savedCategory(bundleID).value_or(defaultCategory);
}

void CategoryStore::setCategory(std::string_view bundleID, ItemCategory category) {
  mainThread_.check();
  if (bundleID.empty()) return;
  const std::string raw(rawValue(category));
  // One entry per application, whatever spelling it was saved under first.
  std::string key(bundleID);
  for (const auto& [savedKey, value] : saved_) {
    if (text::equalsIgnoringCase(savedKey, bundleID)) key = savedKey;
  }
  if (auto existing = saved_.find(key); existing != saved_.end() && existing->second == raw) return;
  saved_[key] = raw;
  storeCategories();
  MenuBarLog::log(LogLine("category assign").add("bundle", bundleID).add("category", raw));
  changed_.notify();
  defaultCenter_.post(Notification{.name = Notifications::itemCategoryDidChange,
                                   .userInfo = {{"bundleID", std::string(bundleID)}, {"category", raw}}});
}

void CategoryStore::removeCategory(std::string_view bundleID) {
  mainThread_.check();
  const auto removed =
      std::erase_if(saved_, [&](const auto& entry) { return text::equalsIgnoringCase(entry.first, bundleID); });
  if (removed == 0) return;
  storeCategories();
  MenuBarLog::log(LogLine("category remove").add("bundle", bundleID));
  changed_.notify();
  defaultCenter_.post(
      Notification{.name = Notifications::itemCategoryDidChange, .userInfo = {{"bundleID", std::string(bundleID)}}});
}

bool CategoryStore::isPinned(std::string_view bundleID) const { return pins_.contains(text::lowercased(bundleID)); }

void CategoryStore::setPinned(std::string_view bundleID, bool pinned) {
  mainThread_.check();
  const std::string key = text::lowercased(bundleID);
  if (key.empty() || isPinned(key) == pinned) return;
  if (pinned) {
    pins_.insert(key);
  } else {
    pins_.erase(key);
  }
  storePins();
  changed_.notify();
}

}  // namespace tarvolo
