#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvolo {

// The interface language the user picked; `system` follows the system's preferred languages.
enum class AppLanguage { system, en, zh, zhHant, ja, ko, de, fr, es, pt };

// Picker order.
inline constexpr std::array<AppLanguage, 10> kAllAppLanguages = {
    AppLanguage::system, AppLanguage::en, AppLanguage::zh, AppLanguage::zhHant, AppLanguage::ja,
    AppLanguage::ko,     AppLanguage::de, AppLanguage::fr, AppLanguage::es,     AppLanguage::pt};

std::string_view rawValue(AppLanguage language);
// Exact match only; anything else is no language.
std::optional<AppLanguage> appLanguageFromRaw(std::string_view raw);

// The language's own name for itself, as the picker lists it ("日本語"); none for `system`,
// whose label is a text of the string table.
std::optional<std::string_view> nativeLanguageName(AppLanguage language);

// The table code for the first of the system's preferred languages (BCP 47 tags, most preferred
// first). Taiwan, Hong Kong and Macau get traditional Chinese even when the tag names no script.
std::string_view systemLanguageCode(const std::vector<std::string>& preferredLanguages);

// The table code used for lookups under `language`.
std::string_view effectiveLanguageCode(AppLanguage language, const std::vector<std::string>& preferredLanguages);

}  // namespace tarvolo
