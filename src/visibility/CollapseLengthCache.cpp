#include "visibility/CollapseLengthCache.h"

#include <algorithm>
#include <cmath>

#include "visibility/MenuBarVisibilityPolicy.h"
#include "visibility/VisibilityConstants.h"

namespace tarvolo {
namespace {

bool screenIsKept(const ScreenKey& screen, const std::vector<ScreenKey>& keeping) {
  return std::find(keeping.begin(), keeping.end(), screen) != keeping.end();
}
bool screenIsKept(const PerAppKey& key, const std::vector<ScreenKey>& keeping) {
  return screenIsKept(key.screen(), keeping);
}

template <typename Key>
void keepScreens(std::map<Key, double>& map, const std::vector<ScreenKey>& keeping) {
  std::erase_if(map, [&keeping](const auto& entry) { return !screenIsKept(entry.first, keeping); });
}

}  // namespace
}  // namespace tarvolo

namespace tarvolo::MenuBarVisibilityPolicy {

namespace {

using MenuBarVisibilityPolicy::collapseLengthHidesIcons;

template <typename Key>
std::optional<double> lookup(const std::map<Key, double>& map, const Key& key) {
  auto it = map.find(key);
  if (it == map.end()) return std::nullopt;
  return it->second;
}

template <typename Key>
void eraseLengthsThatHideNothing(std::map<Key, double>& map) {
  std::erase_if(map, [](const auto& entry) { return !collapseLengthHidesIcons(entry.second); });
}

}  // namespace

std::optional<double> CollapseLengthCache::length(const PerAppKey& key) const { return lookup(perApp, key); }

std::optional<double> CollapseLengthCache::knownGoodMin(const ScreenKey& screen) const {
  auto value = lookup(knownGoodMinByScreen, screen);
  if (!value || !collapseLengthHidesIcons(*value)) return std::nullopt;
  return value;
}

std::optional<double> CollapseLengthCache::knownGoodMax(const PerAppKey& key) const {
  return lookup(knownGoodMaxByApp, key);
}

std::optional<double> CollapseLengthCache::knownGoodGap(const ScreenKey& screen) const {
  return lookup(knownGoodGapByScreen, screen);
}

std::optional<double> CollapseLengthCache::searchGap(const ScreenKey& screen) const {
  return lookup(searchGapByScreen, screen);
}

double CollapseLengthCache::lengthForCollapse(const PerAppKey& key, double lowerBound) const {
  if (auto perAppLength = length(key)) return *perAppLength;
  if (auto min = knownGoodMin(key.screen())) return *min;
  return lowerBound;
}

void CollapseLengthCache::record(const RecordInput& in) {
  if (!collapseLengthHidesIcons(in.length)) return;
  perApp[in.key] = in.length;
  if (!in.knownGood) return;

  const ScreenKey& screen = in.key.screen();
  auto existingMin = lookup(knownGoodMinByScreen, screen);
  knownGoodMinByScreen[screen] =
      existingMin && collapseLengthHidesIcons(*existingMin) ? std::min(in.length, *existingMin) : in.length;
  auto existingMax = lookup(knownGoodMaxByApp, in.key);
  knownGoodMaxByApp[in.key] = existingMax ? std::max(in.length, *existingMax) : in.length;
}

void CollapseLengthCache::recordGap(const ScreenKey& screen, double gap) {
  if (!(gap > 0)) return;
  knownGoodGapByScreen[screen] = gap;
}

void CollapseLengthCache::recordSearchGap(const ScreenKey& screen, double gap) {
  if (!(gap >= 0)) return;
  searchGapByScreen[screen] = gap;
}

void CollapseLengthCache::forget(const PerAppKey& key) {
  perApp.erase(key);
  knownGoodMaxByApp.erase(key);
}

void CollapseLengthCache::forgetGap(const ScreenKey& screen) {
  knownGoodGapByScreen.erase(screen);
  searchGapByScreen.erase(screen);
}

void CollapseLengthCache::discardLengthsThatHideNothing() {
  eraseLengthsThatHideNothing(perApp);
  eraseLengthsThatHideNothing(knownGoodMinByScreen);
  eraseLengthsThatHideNothing(knownGoodMaxByApp);
}

void CollapseLengthCache::prune(const std::vector<ScreenKey>& keeping) {
  keepScreens(perApp, keeping);
  keepScreens(knownGoodMinByScreen, keeping);
  keepScreens(knownGoodMaxByApp, keeping);
  keepScreens(knownGoodGapByScreen, keeping);
  keepScreens(searchGapByScreen, keeping);
}

std::optional<CliffRecord> screenCliffAfterSearch(const std::optional<CliffRecord>& previous,
                                                  const CliffRecord& settled, bool hitMenus) {
  if (hitMenus) return previous;
  return settled;
}

}  // namespace tarvolo::MenuBarVisibilityPolicy

namespace tarvolo {

namespace {

using MenuBarVisibilityPolicy::CollapseLengthCache;

// Lengths, gaps and widths are plain numbers; a Boolean in their place is corruption, not 0 or 1.
std::optional<double> finiteNumber(const DefaultsValue& value) {
  if (!value.isNumber()) return std::nullopt;
  auto number = value.asDouble();
  if (!number || !std::isfinite(*number)) return std::nullopt;
  return number;
}

const std::string& storedText(const ScreenKey& key) { return key.text(); }
std::string storedText(const PerAppKey& key) { return key.text(); }

template <typename Key>
DefaultsValue lengthDictionary(const std::map<Key, double>& map) {
  DefaultsValue::Dictionary dict;
  for (const auto& [key, value] : map) dict.emplace(storedText(key), DefaultsValue(value));
  return DefaultsValue(std::move(dict));
}

template <typename Key>
std::optional<DefaultsValue> lengthDictionaryUnlessEmpty(const std::map<Key, double>& map) {
  if (map.empty()) return std::nullopt;
  return lengthDictionary(map);
}

template <typename Key>
std::map<Key, double> decodeKeyedLengths(const DefaultsReader& read, const std::string& defaultsKey,
                                         UnreadableCollapseKeys& unreadable) {
  std::map<Key, double> map;
  for (const auto& [stored, length] : decodeLengthMap(read(defaultsKey))) {
    auto key = Key::parse(stored);
    if (!key) {
      unreadable.push_back({.defaultsKey = defaultsKey, .storedKey = stored});
      continue;
    }
    map.emplace(std::move(*key), length);
  }
  return map;
}

std::set<PerAppKey> decodePerAppKeySet(const DefaultsReader& read, const std::string& defaultsKey,
                                       UnreadableCollapseKeys& unreadable) {
  auto stored = read(defaultsKey);
  if (!stored) return {};
  auto strings = stored->asStringArray();
  if (!strings) return {};
  std::set<PerAppKey> keys;
  for (const std::string& text : *strings) {
    if (auto key = PerAppKey::parse(text)) {
      keys.insert(std::move(*key));
    } else {
      unreadable.push_back({.defaultsKey = defaultsKey, .storedKey = text});
    }
  }
  return keys;
}

}  // namespace

void PersistedCollapseLengths::prune(const std::vector<ScreenKey>& keeping) {
  perAppLengths.prune(keeping);
  std::erase_if(menuLimitedKeys, [&keeping](const PerAppKey& key) { return !screenIsKept(key, keeping); });
  keepScreens(foldTailByPair, keeping);
  keepScreens(foldTailBaseByPair, keeping);
}

DefaultsWrites encodeCliffRecord(const std::optional<CliffRecord>& record) {
  if (!record) {
    return {{cliffScreenDefaultsKey, std::nullopt},
            {cliffLengthDefaultsKey, std::nullopt},
            {cliffGapDefaultsKey, std::nullopt}};
  }
  return {{cliffScreenDefaultsKey, DefaultsValue(record->screenKey.text())},
          {cliffLengthDefaultsKey, DefaultsValue(record->length)},
          {cliffGapDefaultsKey, DefaultsValue(record->gap)}};
}

DefaultsWrites encodePerAppLengths(const CollapseLengthCache& lengths, const std::set<PerAppKey>& menuLimitedKeys) {
  // The list is stored in the ascending order of its texts.
  std::set<std::string> limited;
  for (const PerAppKey& key : menuLimitedKeys) limited.insert(key.text());
  return {{cliffPerAppDefaultsKey, lengthDictionary(lengths.perApp)},
          {cliffMinGoodDefaultsKey, lengthDictionaryUnlessEmpty(lengths.knownGoodMinByScreen)},
          {cliffMaxGoodDefaultsKey, lengthDictionaryUnlessEmpty(lengths.knownGoodMaxByApp)},
          {cliffGoodGapDefaultsKey, lengthDictionaryUnlessEmpty(lengths.knownGoodGapByScreen)},
          {cliffSearchGapDefaultsKey, lengthDictionaryUnlessEmpty(lengths.searchGapByScreen)},
          {cliffMenuLimitedDefaultsKey, DefaultsValue::fromStrings(std::vector<std::string>(limited.begin(), limited.end()))}};
}

DefaultsWrites encodeFoldTails(const std::map<PerAppKey, double>& tailByPair,
                               const std::map<PerAppKey, double>& baseByPair) {
  return {{cliffFoldTailDefaultsKey, lengthDictionaryUnlessEmpty(tailByPair)},
          {cliffFoldTailBaseDefaultsKey, lengthDictionaryUnlessEmpty(baseByPair)}};
}

DefaultsWrites encodeShelfHiddenLengths(const std::map<PerAppKey, double>& lengths,
                                        const std::map<PerAppKey, double>& shortOfMenus) {
  return {{shelfHiddenLengthDefaultsKey, lengthDictionaryUnlessEmpty(lengths)},
          {shelfHiddenShortDefaultsKey, lengthDictionaryUnlessEmpty(shortOfMenus)}};
}

DefaultsWrites encodeEjectionCaps(const std::map<ScreenKey, double>& capByScreen) {
  return {{cliffEjectionCapDefaultsKey, lengthDictionaryUnlessEmpty(capByScreen)}};
}

DefaultsWrites encodeCollapseLengths(const PersistedCollapseLengths& state) {
  DefaultsWrites writes = encodeCliffRecord(state.cliffRecord);
  writes.merge(encodePerAppLengths(state.perAppLengths, state.menuLimitedKeys));
  writes.merge(encodeFoldTails(state.foldTailByPair, state.foldTailBaseByPair));
  return writes;
}

std::map<std::string, double> decodeLengthMap(const std::optional<DefaultsValue>& stored) {
  std::map<std::string, double> map;
  if (!stored) return map;
  const DefaultsValue::Dictionary* dict = stored->asDictionary();
  if (!dict) return map;
  for (const auto& [key, value] : *dict) {
    if (auto number = finiteNumber(value)) map.emplace(key, *number);
  }
  return map;
}

std::map<ScreenKey, double> decodeScreenLengths(const DefaultsReader& read, const std::string& defaultsKey,
                                                UnreadableCollapseKeys& unreadable) {
  return decodeKeyedLengths<ScreenKey>(read, defaultsKey, unreadable);
}

std::map<PerAppKey, double> decodePerAppLengths(const DefaultsReader& read, const std::string& defaultsKey,
                                                UnreadableCollapseKeys& unreadable) {
  return decodeKeyedLengths<PerAppKey>(read, defaultsKey, unreadable);
}

std::map<PerAppKey, double> restoredPerAppLengths(const std::map<PerAppKey, double>& stored,
                                                  MenuBarVisibilityPolicy::PublicCollapseSizing sizing) {
  // A length longer than its screen's tail ceiling was learnt on a wider screen under the same key.
  constexpr double ceilingTolerance = 0.5;
  std::map<PerAppKey, double> restored;
  for (const auto& [key, length] : stored) {
    auto width = key.screen().firstScreenWidth();
    if (!width || !MenuBarVisibilityPolicy::collapseLengthHidesIcons(length)) continue;
    if (length > MenuBarVisibilityPolicy::collapseTailCeiling(*width, sizing) + ceilingTolerance) continue;
    restored.emplace(key, length);
  }
  return restored;
}

std::optional<CliffRecord> decodeCliffRecord(const DefaultsReader& read) {
  auto screen = read(cliffScreenDefaultsKey);
  auto length = read(cliffLengthDefaultsKey);
  if (!screen || !length) return std::nullopt;
  const std::string* key = screen->asString();
  auto lengthValue = finiteNumber(*length);
  if (!key || key->empty() || !lengthValue || !MenuBarVisibilityPolicy::collapseLengthHidesIcons(*lengthValue)) {
    return std::nullopt;
  }
  CliffRecord record{.screenKey = ScreenKey(*key), .length = *lengthValue};
  if (auto gap = read(cliffGapDefaultsKey)) record.gap = finiteNumber(*gap).value_or(-1);
  return record;
}

PersistedCollapseLengths decodeCollapseLengths(const DefaultsReader& read, UnreadableCollapseKeys& unreadable,
                                               MenuBarVisibilityPolicy::PublicCollapseSizing sizing) {
  PersistedCollapseLengths state;
  state.cliffRecord = decodeCliffRecord(read);
  auto& lengths = state.perAppLengths;
  lengths.perApp = restoredPerAppLengths(decodePerAppLengths(read, cliffPerAppDefaultsKey, unreadable), sizing);
  lengths.knownGoodMinByScreen = decodeScreenLengths(read, cliffMinGoodDefaultsKey, unreadable);
  lengths.knownGoodMaxByApp = decodePerAppLengths(read, cliffMaxGoodDefaultsKey, unreadable);
  lengths.knownGoodGapByScreen = decodeScreenLengths(read, cliffGoodGapDefaultsKey, unreadable);
  for (const auto& [screen, gap] : decodeScreenLengths(read, cliffSearchGapDefaultsKey, unreadable)) {
    lengths.recordSearchGap(screen, gap);
  }
  state.menuLimitedKeys = decodePerAppKeySet(read, cliffMenuLimitedDefaultsKey, unreadable);
  state.foldTailByPair = decodePerAppLengths(read, cliffFoldTailDefaultsKey, unreadable);
  state.foldTailBaseByPair = decodePerAppLengths(read, cliffFoldTailBaseDefaultsKey, unreadable);
  return state;
}

}  // namespace tarvolo
