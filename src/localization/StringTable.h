#pragma once

// The built-in texts of every user-visible string, compiled into the program.

#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "localization/StringEntry.h"

namespace tarvolo::StringTable {

// Table codes in column order; each is also the raw value of its `AppLanguage`.
inline constexpr std::array<std::string_view, 9> kLanguageCodes = {"en", "zh", "zh-Hant", "ja", "ko",
                                                                   "de", "fr", "es",      "pt"};

bool isLanguageCode(std::string_view code);

// Every entry, grouped by where the texts appear.
std::span<const Entry> entries();
const Entry* find(std::string_view key);

// The key's text in `code`, the English text where that language has none; absent for a key
// the table does not hold.
std::optional<std::string_view> text(std::string_view key, std::string_view code);

struct KeyedText {
  std::string_view key;
  std::string_view text;
};

// The whole table in one language (with the English fallback), in table order.
std::vector<KeyedText> textsIn(std::string_view code);

}  // namespace tarvolo::StringTable
