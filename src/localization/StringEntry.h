#pragma once

// One key of the built-in table with its text in every language the table holds.

#include <string_view>

namespace tarvolo::StringTable {

// One key's texts. An empty text means the language has none and lookups fall back to English.
struct Texts {
  std::string_view en;
  std::string_view zh;
  std::string_view zhHant;
  std::string_view ja;
  std::string_view ko;
  std::string_view de;
  std::string_view fr;
  std::string_view es;
  std::string_view pt;

  // The text stored for `code` itself (no fallback); empty for an unknown code.
  std::string_view in(std::string_view code) const;
};

struct Entry {
  std::string_view key;
  Texts texts;
};

}  // namespace tarvolo::StringTable
