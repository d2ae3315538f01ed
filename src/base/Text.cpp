#include "base/Text.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "base/FoldTable.h"

namespace tarvolo::text {

namespace {

using unicode::kBaseLetters;
using unicode::kCombiningMarks;

bool isWhitespace(char32_t c) {
  return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

char32_t lowerScalar(char32_t c) {
  if (c < 0x80) return (c >= 'A' && c <= 'Z') ? c + 0x20 : c;
  // Latin-1: À…Þ except ×.
  if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 0x20;
  // Latin Extended-A pairs upper/lower, on even code points up to Ĳ…ķ and from Ŋ on, on odd
  // ones in between; İ, ĸ and ŉ stand alone, Ÿ lowers to ÿ.
  if (c >= 0x100 && c <= 0x17F) {
    if (c == 0x130) return 'i';
    if (c == 0x178) return 0xFF;
    if (c == 0x138 || c == 0x149 || c == 0x17F) return c;
    const bool oddPairs = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
    if (oddPairs) return (c % 2 == 1) ? c + 1 : c;
    return (c % 2 == 0) ? c + 1 : c;
  }
  // Greek capitals, the accented ones included.
  if (c >= 0x391 && c <= 0x3AB && c != 0x3A2) return c + 0x20;
  if (c == 0x386) return 0x3AC;
  if (c >= 0x388 && c <= 0x38A) return c + 0x25;
  if (c == 0x38C) return 0x3CC;
  if (c == 0x38E || c == 0x38F) return c + 0x3F;
  // Cyrillic.
  if (c >= 0x410 && c <= 0x42F) return c + 0x20;
  if (c >= 0x400 && c <= 0x40F) return c + 0x50;
  // Full-width Latin.
  if (c >= 0xFF21 && c <= 0xFF3A) return c + 0x20;
  return c;
}

static_assert(std::is_sorted(std::begin(kBaseLetters), std::end(kBaseLetters),
                             [](const auto& a, const auto& b) { return a.first < b.first; }));
static_assert(std::is_sorted(std::begin(kCombiningMarks), std::end(kCombiningMarks),
                             [](const auto& a, const auto& b) { return a.second < b.first; }));

std::optional<char32_t> baseLetter(char32_t c) {
  const auto* end = std::end(kBaseLetters);
  const auto* it = std::lower_bound(std::begin(kBaseLetters), end, c,
                                    [](const auto& entry, char32_t value) { return entry.first < value; });
  if (it == end || it->first != c) return std::nullopt;
  return it->second;
}

bool isCombiningMark(char32_t c) {
  const auto* end = std::end(kCombiningMarks);
  // The first range that ends at or after c.
  const auto* it = std::lower_bound(std::begin(kCombiningMarks), end, c,
                                    [](const auto& range, char32_t value) { return range.second < value; });
  return it != end && it->first <= c;
}

// The two case foldings that are not lower-casings.
const char* caseFolding(char32_t c) {
  if (c == 0xDF) return "ss";
  if (c == 0x3C2) return "\u03C3";
  return nullptr;
}

}  // namespace

char32_t decodeScalar(std::string_view text, std::size_t& offset) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(offset);
  int length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
  if (length == 0 || offset + static_cast<std::size_t>(length) > text.size()) {
    ++offset;
    return 0xFFFD;
  }
  char32_t scalar = length == 1 ? lead : lead & (0x7F >> length);
  for (int i = 1; i < length; ++i) {
    const unsigned char next = byte(offset + static_cast<std::size_t>(i));
    if ((next & 0xC0) != 0x80) {
      ++offset;
      return 0xFFFD;
    }
    scalar = (scalar << 6) | (next & 0x3F);
  }
  offset += static_cast<std::size_t>(length);
  return scalar;
}

void appendScalar(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

std::string lowercased(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    // ASCII, by far the common case, stays byte for byte.
    if (static_cast<unsigned char>(text[i]) < 0x80) {
      char c = text[i++];
      out += (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 0x20) : c;
      continue;
    }
    appendScalar(out, lowerScalar(decodeScalar(text, i)));
  }
  return out;
}

std::vector<std::string_view> words(std::string_view text) {
  std::vector<std::string_view> out;
  std::optional<std::size_t> wordStart;
  for (std::size_t offset = 0; offset < text.size();) {
    const std::size_t start = offset;
    const bool blank = isWhitespace(decodeScalar(text, offset));
    if (blank && wordStart) {
      out.push_back(text.substr(*wordStart, start - *wordStart));
      wordStart.reset();
    } else if (!blank && !wordStart) {
      wordStart = start;
    }
  }
  if (wordStart) out.push_back(text.substr(*wordStart));
  return out;
}

std::string_view trimmed(std::string_view text) {
  std::size_t begin = 0;
  while (begin < text.size()) {
    std::size_t next = begin;
    if (!isWhitespace(decodeScalar(text, next))) break;
    begin = next;
  }
  std::size_t end = text.size();
  while (end > begin) {
    // Step back to the start of the last scalar.
    std::size_t start = end - 1;
    while (start > begin && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) --start;
    std::size_t probe = start;
    if (!isWhitespace(decodeScalar(text, probe))) break;
    end = start;
  }
  return text.substr(begin, end - begin);
}

std::string folded(std::string_view text) {
  const std::string_view trimmedText = trimmed(text);
  std::string out;
  out.reserve(trimmedText.size());
  for (std::size_t i = 0; i < trimmedText.size();) {
    const char32_t raw = decodeScalar(trimmedText, i);
    if (isCombiningMark(raw)) continue;
    const char32_t scalar = lowerScalar(raw);
    auto base = baseLetter(raw);
    if (!base) base = baseLetter(scalar);
    if (base) {
      appendScalar(out, *base);
      continue;
    }
    if (const char* replacement = caseFolding(scalar)) {
      out += replacement;
    } else {
      appendScalar(out, scalar);
    }
  }
  return out;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) { return lowercased(a) == lowercased(b); }

}  // namespace tarvolo::text
