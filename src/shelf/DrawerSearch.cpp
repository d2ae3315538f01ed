#include "shelf/DrawerSearch.h"

#include <unordered_map>

#include "base/Text.h"

namespace tarvolo::DrawerSearch {

namespace {

// Only the characters of common Chinese application names; not a dictionary.
const std::unordered_map<char32_t, char>& pinyinTable() {
  static const std::unordered_map<char32_t, char> table = {
      {U'微', 'w'}, {U'信', 'x'}, {U'钉', 'd'}, {U'网', 'w'}, {U'易', 'y'}, {U'飞', 'f'}, {U'书', 's'},
      {U'搜', 's'}, {U'狗', 'g'}, {U'百', 'b'}, {U'度', 'd'}, {U'阿', 'a'}, {U'里', 'l'}, {U'腾', 't'},
      {U'讯', 'x'}, {U'音', 'y'}, {U'乐', 'l'}, {U'邮', 'y'}, {U'件', 'j'}, {U'天', 't'}, {U'气', 'q'},
      {U'日', 'r'}, {U'历', 'l'}, {U'备', 'b'}, {U'忘', 'w'}, {U'录', 'l'}, {U'输', 's'}, {U'入', 'r'},
      {U'法', 'f'}, {U'夸', 'k'}, {U'克', 'k'}, {U'图', 't'}, {U'标', 'b'},
  };
  return table;
}

// Scalars that join the character before them rather than starting one of their own.
bool extendsCharacter(char32_t c) {
  return (c >= 0x300 && c <= 0x36F) || (c >= 0x1AB0 && c <= 0x1AFF) || (c >= 0x1DC0 && c <= 0x1DFF) ||
         (c >= 0x20D0 && c <= 0x20FF) || (c >= 0xFE20 && c <= 0xFE2F) || (c >= 0xFE00 && c <= 0xFE0F) ||
         (c >= 0x1F3FB && c <= 0x1F3FF) || c == 0x200D || (c >= 0xE0100 && c <= 0xE01EF);
}

bool isAsciiLetterOrDigit(char32_t c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

}  // namespace

std::string fold(std::string_view text) { return text::folded(text); }

std::optional<std::string> pinyinInitials(std::string_view name) {
  std::string out;
  bool usedTable = false;
  std::size_t offset = 0;
  while (offset < name.size()) {
    // One user-perceived character: a scalar and the marks and joiners that extend it.
    std::vector<char32_t> character{text::decodeScalar(name, offset)};
    bool joined = false;
    while (offset < name.size()) {
      std::size_t peek = offset;
      const char32_t next = text::decodeScalar(name, peek);
      if (!joined && !extendsCharacter(next)) break;
      joined = next == 0x200D;
      character.push_back(next);
      offset = peek;
    }
    const char32_t first = character.front();
    if (character.size() == 1 && first < 0x80) {
      if (first == ' ' || first == '-' || first == '_') continue;
      if (isAsciiLetterOrDigit(first)) out += static_cast<char>(first >= 'A' && first <= 'Z' ? first + 0x20 : first);
      continue;
    }
    if (character.size() == 1) {
      const auto& table = pinyinTable();
      if (auto it = table.find(first); it != table.end()) {
        out += it->second;
        usedTable = true;
        continue;
      }
    }
    const bool beyondLatin = std::any_of(character.begin(), character.end(), [](char32_t c) { return c > 0x2FF; });
    if (beyondLatin) return std::nullopt;
  }
  if (!usedTable) return std::nullopt;
  return out;
}

std::optional<int> rank(std::string_view query, std::string_view name, std::string_view bundleID) {
  const std::string q = fold(query);
  if (q.empty()) return 0;
  const std::string foldedName = fold(name);
  if (foldedName == q) return 0;
  if (foldedName.starts_with(q)) return 1;
  if (foldedName.find(q) != std::string::npos) return 2;
  if (fold(bundleID).find(q) != std::string::npos) return 3;
  // Only a name with a non-ASCII byte can have initials; skip the walk for the rest.
  const bool maybeHan = std::any_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  if (!maybeHan) return std::nullopt;
  if (auto initials = pinyinInitials(name); initials && initials->find(q) != std::string::npos) return 4;
  return std::nullopt;
}

}  // namespace tarvolo::DrawerSearch
