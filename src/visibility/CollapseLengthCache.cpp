#include "visibility/CollapseLengthCache.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "base/Text.h"
#include "visibility/MenuBarVisibilityPolicy.h"
#include "visibility/VisibilityConstants.h"

namespace tarvolo {
namespace {

bool screenIsKept(std::string_view key, const std::vector<std::string>& keeping) {
  const std::string_view screen = MenuBarVisibilityPolicy::CollapseLengthCache::screenPart(key);
  return std::find(keeping.begin(), keeping.end(), screen) != keeping.end();
}

void keepScreens(std::map<std::string, double>& map, const std::vector<std::string>& keeping) {
  std::erase_if(map, [&keeping](const auto& entry) { return !screenIsKept(entry.first, keeping); });
}

}  // namespace
}  // namespace tarvolo

namespace tarvolo::MenuBarVisibilityPolicy {

namespace {

using MenuBarVisibilityPolicy::collapseLengthHidesIcons;

constexpr char perAppSeparator = '\t';

std::optional<double> lookup(const std::map<std::string, double>& map, const std::string& key) {
  auto it = map.find(key);
  if (it == map.end()) return std::nullopt;
  return it->second;
}

void eraseLengthsThatHideNothing(std::map<std::string, double>& map) {
  std::erase_if(map, [](const auto& entry) { return !collapseLengthHidesIcons(entry.second); });
}

}  // namespace

std::string CollapseLengthCache::key(std::string_view screen, std::string_view bundleID) {
  std::string key(screen);
  key += perAppSeparator;
  key += text::lowercased(bundleID);
  return key;
}

std::string_view CollapseLengthCache::screenPart(std::string_view key) {
  return key.substr(0, key.find(perAppSeparator));
}

std::optional<std::string_view> CollapseLengthCache::bundlePart(std::string_view key) {
  const auto tab = key.find(perAppSeparator);
  if (tab == std::string_view::npos) return std::nullopt;
  return key.substr(tab + 1);
}

std::optional<double> CollapseLengthCache::screenWidth(std::string_view fromCollapseKey) {
  const auto x = fromCollapseKey.find('x');
  if (x == std::string_view::npos || x == 0) return std::nullopt;
  const std::string_view digits = fromCollapseKey.substr(0, x);
  if (!std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) return std::nullopt;
  long long width = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), width);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return static_cast<double>(width);
}

std::optional<double> CollapseLengthCache::length(std::string_view screen, std::string_view bundleID) const {
  return lookup(perApp, key(screen, bundleID));
}

std::optional<double> CollapseLengthCache::knownGoodMin(std::string_view screen) const {
  auto value = lookup(knownGoodMinByScreen, std::string(screen));
  if (!value || !collapseLengthHidesIcons(*value)) return std::nullopt;
  return value;
}

std::optional<double> CollapseLengthCache::knownGoodMax(std::string_view screen, std::string_view bundleID) const {
  return lookup(knownGoodMaxByApp, key(screen, bundleID));
}

std::optional<double> CollapseLengthCache::knownGoodGap(std::string_view screen) const {
  return lookup(knownGoodGapByScreen, std::string(screen));
}

std::optional<double> CollapseLengthCache::searchGap(std::string_view screen) const {
  return lookup(searchGapByScreen, std::string(screen));
}

double CollapseLengthCache::lengthForCollapse(std::string_view screen, std::string_view bundleID,
                                              double lowerBound) const {
  if (auto perAppLength = length(screen, bundleID)) return *perAppLength;
  if (auto min = knownGoodMin(screen)) return *min;
  return lowerBound;
}

void CollapseLengthCache::record(const RecordInput& in) {
  if (!collapseLengthHidesIcons(in.length)) return;
  const std::string pair = key(in.screen, in.bundleID);
  perApp[pair] = in.length;
  if (!in.knownGood) return;

  const std::string screen(in.screen);
  auto existingMin = lookup(knownGoodMinByScreen, screen);
  knownGoodMinByScreen[screen] =
      existingMin && collapseLengthHidesIcons(*existingMin) ? std::min(in.length, *existingMin) : in.length;
  auto existingMax = lookup(knownGoodMaxByApp, pair);
  knownGoodMaxByApp[pair] = existingMax ? std::max(in.length, *existingMax) : in.length;
}

void CollapseLengthCache::recordGap(std::string_view screen, double gap) {
  if (!(gap > 0)) return;
  knownGoodGapByScreen[std::string(screen)] = gap;
}

void CollapseLengthCache::recordSearchGap(std::string_view screen, double gap) {
  if (!(gap >= 0)) return;
  searchGapByScreen[std::string(screen)] = gap;
}

void CollapseLengthCache::forget(std::string_view screen, std::string_view bundleID) {
  const std::string pair = key(screen, bundleID);
  perApp.erase(pair);
  knownGoodMaxByApp.erase(pair);
}

void CollapseLengthCache::forgetGap(std::string_view screen) {
  knownGoodGapByScreen.erase(std::string(screen));
  searchGapByScreen.erase(std::string(screen));
}

void CollapseLengthCache::discardLengthsThatHideNothing() {
  eraseLengthsThatHideNothing(perApp);
  eraseLengthsThatHideNothing(knownGoodMinByScreen);
  eraseLengthsThatHideNothing(knownGoodMaxByApp);
}

void CollapseLengthCache::prune(const std::vector<std::string>& keeping) {
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

DefaultsValue lengthDictionary(const std::map<std::string, double>& map) {
  DefaultsValue::Dictionary dict;
  for (const auto& [key, value] : map) dict.emplace(key, DefaultsValue(value));
  return DefaultsValue(std::move(dict));
}

std::optional<DefaultsValue> lengthDictionaryUnlessEmpty(const std::map<std::string, double>& map) {
  if (map.empty()) return std::nullopt;
  return lengthDictionary(map);
}

std::set<std::string> decodeStringSet(const std::optional<DefaultsValue>& stored) {
  if (!stored) return {};
  auto strings = stored->asStringArray();
  if (!strings) return {};
  return {strings->begin(), strings->end()};
}

}  // namespace

void PersistedCollapseLengths::prune(const std::vector<std::string>& keeping) {
  perAppLengths.prune(keeping);
  std::erase_if(menuLimitedKeys, [&keeping](const std::string& key) { return !screenIsKept(key, keeping); });
  keepScreens(foldTailByPair, keeping);
  keepScreens(foldTailBaseByPair, keeping);
}

DefaultsWrites encodeCliffRecord(const std::optional<CliffRecord>& record) {
  if (!record) {
    return {{cliffScreenDefaultsKey, std::nullopt},
            {cliffLengthDefaultsKey, std::nullopt},
            {cliffGapDefaultsKey, std::nullopt}};
  }
  return {{cliffScreenDefaultsKey, DefaultsValue(record->screenKey)},
          {cliffLengthDefaultsKey, DefaultsValue(record->length)},
          {cliffGapDefaultsKey, DefaultsValue(record->gap)}};
}

DefaultsWrites encodePerAppLengths(const CollapseLengthCache& lengths, const std::set<std::string>& menuLimitedKeys) {
  // A set iterates in ascending order, which is how the list is stored.
  return {{cliffPerAppDefaultsKey, lengthDictionary(lengths.perApp)},
          {cliffMinGoodDefaultsKey, lengthDictionaryUnlessEmpty(lengths.knownGoodMinByScreen)},
          {cliffMaxGoodDefaultsKey, lengthDictionaryUnlessEmpty(lengths.knownGoodMaxByApp)},
          {cliffGoodGapDefaultsKey, lengthDictionaryUnlessEmpty(lengths.knownGoodGapByScreen)},
          {cliffSearchGapDefaultsKey, lengthDictionaryUnlessEmpty(lengths.searchGapByScreen)},
          {cliffMenuLimitedDefaultsKey,
           DefaultsValue::fromStrings(std::vector<std::string>(menuLimitedKeys.begin(), menuLimitedKeys.end()))}};
}

DefaultsWrites encodeFoldTails(const std::map<std::string, double>& tailByPair,
                               const std::map<std::string, double>& baseByPair) {
  return {{cliffFoldTailDefaultsKey, lengthDictionaryUnlessEmpty(tailByPair)},
          {cliffFoldTailBaseDefaultsKey, lengthDictionaryUnlessEmpty(baseByPair)}};
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

std::map<std::string, double> restoredPerAppLengths(const std::map<std::string, double>& stored,
                                                   MenuBarVisibilityPolicy::PublicCollapseSizing sizing) {
  // A length longer than its screen's tail ceiling was learnt on a wider screen under the same key.
  constexpr double ceilingTolerance = 0.5;
  std::map<std::string, double> restored;
  for (const auto& [key, length] : stored) {
    auto width = CollapseLengthCache::screenWidth(CollapseLengthCache::screenPart(key));
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
  CliffRecord record{.screenKey = *key, .length = *lengthValue};
  if (auto gap = read(cliffGapDefaultsKey)) record.gap = finiteNumber(*gap).value_or(-1);
  return record;
}

PersistedCollapseLengths decodeCollapseLengths(const DefaultsReader& read,
                                               MenuBarVisibilityPolicy::PublicCollapseSizing sizing) {
  PersistedCollapseLengths state;
  state.cliffRecord = decodeCliffRecord(read);
  state.perAppLengths.perApp = restoredPerAppLengths(decodeLengthMap(read(cliffPerAppDefaultsKey)), sizing);
  state.perAppLengths.knownGoodMinByScreen = decodeLengthMap(read(cliffMinGoodDefaultsKey));
  state.perAppLengths.knownGoodMaxByApp = decodeLengthMap(read(cliffMaxGoodDefaultsKey));
  state.perAppLengths.knownGoodGapByScreen = decodeLengthMap(read(cliffGoodGapDefaultsKey));
  for (const auto& [screen, gap] : decodeLengthMap(read(cliffSearchGapDefaultsKey))) {
    state.perAppLengths.recordSearchGap(screen, gap);
  }
  state.menuLimitedKeys = decodeStringSet(read(cliffMenuLimitedDefaultsKey));
  state.foldTailByPair = decodeLengthMap(read(cliffFoldTailDefaultsKey));
  state.foldTailBaseByPair = decodeLengthMap(read(cliffFoldTailBaseDefaultsKey));
  return state;
}

}  // namespace tarvolo
