#include "localization/StringTable.h"

#include <algorithm>
#include <unordered_map>

#include "localization/StringGroups.h"

namespace tarvolo::StringTable {

bool isLanguageCode(std::string_view code) {
  return std::find(kLanguageCodes.begin(), kLanguageCodes.end(), code) != kLanguageCodes.end();
}

namespace {

std::vector<Entry> joinedGroups() {
  std::vector<Entry> all;
  for (std::span<const Entry> group : {statusBarEntries(), iconShelfEntries(), placementEntries(), settingsEntries(),
                                            shortcutAndDisplayEntries(), systemReportEntries()}) {
    all.insert(all.end(), group.begin(), group.end());
  }
  return all;
}

const std::vector<Entry>& allEntries() {
  static const std::vector<Entry> all = joinedGroups();
  return all;
}

const std::unordered_map<std::string_view, const Entry*>& index() {
  static const auto byKey = [] {
    std::unordered_map<std::string_view, const Entry*> map;
    for (const Entry& entry : allEntries()) map.emplace(entry.key, &entry);
    return map;
  }();
  return byKey;
}

}  // namespace

std::span<const Entry> entries() { return allEntries(); }

const Entry* find(std::string_view key) {
  auto it = index().find(key);
  return it == index().end() ? nullptr : it->second;
}

std::optional<std::string_view> text(std::string_view key, std::string_view code) {
  const Entry* entry = find(key);
  if (entry == nullptr) return std::nullopt;
  std::string_view localized = entry->texts.in(code);
  return localized.empty() ? entry->texts.en : localized;
}

std::vector<KeyedText> textsIn(std::string_view code) {
  std::vector<KeyedText> result;
  result.reserve(allEntries().size());
  for (const Entry& entry : allEntries()) {
    std::string_view localized = entry.texts.in(code);
    result.push_back({entry.key, localized.empty() ? entry.texts.en : localized});
  }
  return result;
}

}  // namespace tarvolo::StringTable
