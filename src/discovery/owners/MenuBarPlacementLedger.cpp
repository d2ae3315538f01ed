#include "discovery/owners/MenuBarPlacementLedger.h"

#include <algorithm>
#include <cassert>

#include "base/Log.h"
#include "discovery/PlacementPolicy.h"

namespace tarvolo {
namespace {

// Strict: one stray value makes the whole stored value unusable rather than half-read.
std::optional<std::map<std::string, std::string>> strictStringMap(const DefaultsValue& value) {
  const DefaultsValue::Dictionary* dictionary = value.asDictionary();
  if (!dictionary) return std::nullopt;
  std::map<std::string, std::string> out;
  for (const auto& [key, element] : *dictionary) {
    const std::string* text = element.asString();
    if (!text) return std::nullopt;
    out.emplace(key, *text);
  }
  return out;
}

std::optional<std::set<std::string>> strictStringSet(const DefaultsValue& value) {
  const DefaultsValue::Array* array = value.asArray();
  if (!array) return std::nullopt;
  std::set<std::string> out;
  for (const auto& element : *array) {
    const std::string* text = element.asString();
    if (!text) return std::nullopt;
    out.insert(*text);
  }
  return out;
}

}  // namespace

MenuBarPlacementLedger::MenuBarPlacementLedger(platform::DefaultsStore& defaults, int osMajorVersion,
                                               LogFunction log)
    : defaults_(defaults), osMajorVersion_(osMajorVersion), log_(std::move(log)) {
  load();
}

const PlacementLedgerSnapshot& MenuBarPlacementLedger::snapshot() const {
  assert(isOnOwningThread() && "the placement ledger is confined to the main thread");
  return snapshot_;
}

MenuBarPlacementLedger::ObserverId MenuBarPlacementLedger::addObserver(Observer observer) {
  assert(isOnOwningThread() && "the placement ledger is confined to the main thread");
  const ObserverId id = nextObserverId_++;
  observers_.emplace_back(id, std::move(observer));
  return id;
}

void MenuBarPlacementLedger::removeObserver(ObserverId id) {
  std::erase_if(observers_, [id](const auto& entry) { return entry.first == id; });
}

std::optional<std::string> MenuBarPlacementLedger::confirmedCategory(std::string_view bundleID) const {
  const auto found = snapshot().confirmed.find(PlacementPolicy::ledgerKey(bundleID));
  if (found == snapshot_.confirmed.end()) return std::nullopt;
  return found->second;
}

void MenuBarPlacementLedger::confirm(std::string_view bundleID, ItemCategory category) {
  const std::string_view raw = rawValue(category);
  log(LogLine("placement confirm").add("bundle", bundleID).add("category", raw));
  mutate([&](PlacementLedgerSnapshot s) { return PlacementPolicy::confirm(std::move(s), bundleID, raw); });
}

void MenuBarPlacementLedger::confirmAlwaysVisible(const std::vector<std::string>& bundleIDs) {
  log(LogLine("placement confirm").add("category", "always_visible").add("count", bundleIDs.size()));
  mutate([&](PlacementLedgerSnapshot s) { return PlacementPolicy::confirmAlwaysVisible(std::move(s), bundleIDs); });
}

void MenuBarPlacementLedger::noteTerminated(const std::optional<std::string>& bundleID) {
  mutate([&](PlacementLedgerSnapshot s) { return PlacementPolicy::noteTerminated(std::move(s), bundleID); });
}

void MenuBarPlacementLedger::noteLaunched(const std::optional<std::string>& bundleID) {
  const bool wasConfirmed = bundleID && confirmedCategory(*bundleID).has_value();
  mutate([&](PlacementLedgerSnapshot s) { return PlacementPolicy::noteLaunched(std::move(s), bundleID); });
  if (wasConfirmed && !confirmedCategory(*bundleID)) {
    log(LogLine("placement displace").add("bundle", *bundleID).add("reason", "relaunch"));
  }
}

void MenuBarPlacementLedger::clearAttention(std::string_view bundleID) {
  const std::string key = PlacementPolicy::ledgerKey(bundleID);
  if (!snapshot().attention.contains(key)) return;
  mutate([&](PlacementLedgerSnapshot s) {
    s.attention.erase(key);
    return s;
  });
}

bool MenuBarPlacementLedger::isOutOfPlace(std::string_view bundleID, ItemCategory category,
                                          const std::optional<std::string>& observedZone) const {
  std::optional<std::string> confirmed;
  bool relaunched = false;
  if (osMajorVersion_ < ledgerIgnoredFromOSMajorVersion) {
    confirmed = confirmedCategory(bundleID);
    relaunched = snapshot().attention.contains(PlacementPolicy::ledgerKey(bundleID));
  }
  return PlacementPolicy::isOutOfPlace({.category = rawValue(category),
                                        .confirmedCategory = confirmed,
                                        .relaunched = relaunched,
                                        .observedZone = observedZone});
}

std::vector<std::string> MenuBarPlacementLedger::attentionBundleIDs() const {
  // A std::set already iterates in ascending order.
  return {snapshot().attention.begin(), snapshot_.attention.end()};
}

void MenuBarPlacementLedger::mutate(const Transformation& transformation) {
  assert(isOnOwningThread() && "the placement ledger is confined to the main thread");
  PlacementLedgerSnapshot next = transformation(snapshot_);
  if (next == snapshot_) return;
  // Only a change of the persisted parts is written, so an ignored value of the wrong type
  // stays in the store until there is something real to put in its place.
  const bool persistedChanged = next.confirmed != snapshot_.confirmed || next.attention != snapshot_.attention;
  snapshot_ = std::move(next);
  if (persistedChanged) store();
  // Copied first: an observer may add or remove observers, or drop the ledger's last user.
  const auto observers = observers_;
  for (const auto& [id, observer] : observers) observer(snapshot_);
}

void MenuBarPlacementLedger::load() {
  if (auto stored = defaults_.object(std::string(seatedKey))) {
    if (auto confirmed = strictStringMap(*stored)) {
      snapshot_.confirmed = std::move(*confirmed);
    } else {
      log(LogLine("placement load ignored").add("key", seatedKey).add("reason", "type"));
    }
  }
  if (auto stored = defaults_.object(std::string(attentionKey))) {
    if (auto attention = strictStringSet(*stored)) {
      snapshot_.attention = std::move(*attention);
    } else {
      log(LogLine("placement load ignored").add("key", attentionKey).add("reason", "type"));
    }
  }
}

void MenuBarPlacementLedger::store() {
  defaults_.set(std::string(seatedKey), DefaultsValue::fromStringMap(snapshot_.confirmed));
  defaults_.set(std::string(attentionKey),
                DefaultsValue::fromStrings({snapshot_.attention.begin(), snapshot_.attention.end()}));
}

void MenuBarPlacementLedger::log(std::string message) const {
  if (log_) log_(std::move(message));
}

}  // namespace tarvolo
