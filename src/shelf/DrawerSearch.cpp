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

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c; }

// A text in its folded form: ASCII stays where it is (trimmed, lower-cased as it is read);
// anything else is folded once into a copy.
struct FoldedText {
  explicit FoldedText(std::string_view text)
      : ascii(std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
    if (ascii) {
      view = text::trimmed(text);
    } else {
      copy = text::folded(text);
      view = copy;
    }
  }
  bool matchesAt(std::size_t offset, std::string_view folded) const {
    for (std::size_t i = 0; i < folded.size(); ++i) {
      if (lowerAscii(view[offset + i]) != folded[i]) return false;
    }
    return true;
  }
  bool equals(std::string_view folded) const { return view.size() == folded.size() && matchesAt(0, folded); }
  bool startsWith(std::string_view folded) const { return view.size() >= folded.size() && matchesAt(0, folded); }
  bool contains(std::string_view folded) const {
    if (folded.size() > view.size()) return false;
    for (std::size_t offset = 0; offset + folded.size() <= view.size(); ++offset) {
      if (matchesAt(offset, folded)) return true;
    }
    return false;
  }

  bool ascii = true;
  std::string copy;
  std::string_view view;
};

bool isAsciiLetterOrDigit(char32_t c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

}  // namespace

std::string fold(std::string_view text) { return text::folded(text); }

std::optional<std::string> pinyinInitials(std::string_view name) {
  std::string out;
  bool usedTable = false;
  std::size_t offset = 0;
  while (offset < name.size()) {
    // One user-perceived character: a scalar and the marks and joiners that extend it.
    const char32_t first = text::decodeScalar(name, offset);
    std::size_t scalars = 1;
    bool beyondLatin = first > 0x2FF;
    bool joined = false;
    while (offset < name.size()) {
      std::size_t peek = offset;
      const char32_t next = text::decodeScalar(name, peek);
      if (!joined && !extendsCharacter(next)) break;
      joined = next == 0x200D;
      beyondLatin = beyondLatin || next > 0x2FF;
      ++scalars;
      offset = peek;
    }
    if (scalars == 1 && first < 0x80) {
      if (first == ' ' || first == '-' || first == '_') continue;
      if (isAsciiLetterOrDigit(first)) out += lowerAscii(static_cast<char>(first));
      continue;
    }
    if (scalars == 1) {
      const auto& table = pinyinTable();
      if (auto it = table.find(first); it != table.end()) {
        out += it->second;
        usedTable = true;
        continue;
      }
    }
    if (beyondLatin) return std::nullopt;
  }
  if (!usedTable) return std::nullopt;
  return out;
}

std::optional<int> rank(std::string_view query, std::string_view name, std::string_view bundleID) {
  return rankFolded(fold(query), name, bundleID);
}

std::optional<int> rankFolded(std::string_view q, std::string_view name, std::string_view bundleID) {
  if (q.empty()) return 0;
  // Most names and every bundle identifier are ASCII: compare them folded in place.
  const FoldedText foldedName(name);
  if (foldedName.equals(q)) return 0;
  if (foldedName.startsWith(q)) return 1;
  if (foldedName.contains(q)) return 2;
  if (FoldedText(bundleID).contains(q)) return 3;
  if (foldedName.ascii) return std::nullopt;  // no Han character, so no initials
  if (auto initials = pinyinInitials(name); initials && initials->find(q) != std::string_view::npos) return 4;
  return std::nullopt;
}

SearchKey searchKey(std::string_view name, std::string_view bundleID) {
  return SearchKey{.name = fold(name), .bundleID = fold(bundleID), .initials = pinyinInitials(name)};
}

std::optional<int> rankKey(std::string_view q, const SearchKey& key) {
  if (q.empty()) return 0;
  const std::string_view name = key.name;
  if (name == q) return 0;
  if (name.starts_with(q)) return 1;
  if (name.find(q) != std::string_view::npos) return 2;
  if (key.bundleID.find(q) != std::string::npos) return 3;
  if (key.initials && key.initials->find(q) != std::string::npos) return 4;
  return std::nullopt;
}

}  // namespace tarvolo::DrawerSearch
