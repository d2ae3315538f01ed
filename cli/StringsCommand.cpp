#include "cli/StringsCommand.h"

#include "localization/StringTable.h"

namespace tarvolo::scenario {

namespace {

nlohmann::ordered_json languageTable(std::string_view code) {
  nlohmann::ordered_json table = nlohmann::ordered_json::object();
  for (const auto& [key, text] : StringTable::textsIn(code)) table[std::string(key)] = std::string(text);
  return table;
}

}  // namespace

std::optional<nlohmann::ordered_json> stringsAsJson(const std::optional<std::string>& language) {
  if (language) {
    if (!StringTable::isLanguageCode(*language)) return std::nullopt;
    return languageTable(*language);
  }
  nlohmann::ordered_json all = nlohmann::ordered_json::object();
  for (auto code : StringTable::kLanguageCodes) all[std::string(code)] = languageTable(code);
  return all;
}

}  // namespace tarvolo::scenario
