#include "base/Text.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace tarvolo::text {

namespace {

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

// Lower-case letters whose canonical decomposition is a base letter and marks, with that base;
// plus the two case foldings that are not lower-casings. Sorted by code point.
constexpr std::pair<char32_t, const char*> kFoldings[] = {
    {0xDF, "ss"},        {0xE0, "a"},         {0xE1, "a"},         {0xE2, "a"},         {0xE3, "a"},
    {0xE4, "a"},         {0xE5, "a"},         {0xE7, "c"},         {0xE8, "e"},         {0xE9, "e"},
    {0xEA, "e"},         {0xEB, "e"},         {0xEC, "i"},         {0xED, "i"},         {0xEE, "i"},
    {0xEF, "i"},         {0xF1, "n"},         {0xF2, "o"},         {0xF3, "o"},         {0xF4, "o"},
    {0xF5, "o"},         {0xF6, "o"},         {0xF9, "u"},         {0xFA, "u"},         {0xFB, "u"},
    {0xFC, "u"},         {0xFD, "y"},         {0xFF, "y"},         {0x101, "a"},        {0x103, "a"},
    {0x105, "a"},        {0x107, "c"},        {0x109, "c"},        {0x10B, "c"},        {0x10D, "c"},
    {0x10F, "d"},        {0x113, "e"},        {0x115, "e"},        {0x117, "e"},        {0x119, "e"},
    {0x11B, "e"},        {0x11D, "g"},        {0x11F, "g"},        {0x121, "g"},        {0x123, "g"},
    {0x125, "h"},        {0x129, "i"},        {0x12B, "i"},        {0x12D, "i"},        {0x12F, "i"},
    {0x135, "j"},        {0x137, "k"},        {0x13A, "l"},        {0x13C, "l"},        {0x13E, "l"},
    {0x144, "n"},        {0x146, "n"},        {0x148, "n"},        {0x14D, "o"},        {0x14F, "o"},
    {0x151, "o"},        {0x155, "r"},        {0x157, "r"},        {0x159, "r"},        {0x15B, "s"},
    {0x15D, "s"},        {0x15F, "s"},        {0x161, "s"},        {0x163, "t"},        {0x165, "t"},
    {0x169, "u"},        {0x16B, "u"},        {0x16D, "u"},        {0x16F, "u"},        {0x171, "u"},
    {0x173, "u"},        {0x175, "w"},        {0x177, "y"},        {0x17A, "z"},        {0x17C, "z"},
    {0x17E, "z"},        {0x1A1, "o"},        {0x1B0, "u"},        {0x1CE, "a"},        {0x1D0, "i"},
    {0x1D2, "o"},        {0x1D4, "u"},        {0x1E7, "g"},        {0x1E9, "k"},        {0x1EB, "o"},
    {0x1F0, "j"},        {0x1F5, "g"},        {0x1F9, "n"},        {0x219, "s"},        {0x21B, "t"},
    {0x390, "\u03B9"},   {0x3AC, "\u03B1"},   {0x3AD, "\u03B5"},   {0x3AE, "\u03B7"},   {0x3AF, "\u03B9"},
    {0x3B0, "\u03C5"},   {0x3C2, "\u03C3"},   {0x3CA, "\u03B9"},   {0x3CB, "\u03C5"},   {0x3CC, "\u03BF"},
    {0x3CD, "\u03C5"},   {0x3CE, "\u03C9"},   {0x439, "\u0438"},   {0x450, "\u0435"},   {0x451, "\u0435"},
    {0x453, "\u0433"},   {0x457, "\u0456"},   {0x45C, "\u043A"},   {0x45D, "\u0438"},   {0x45E, "\u0443"},
    {0x1E03, "b"},       {0x1E0B, "d"},       {0x1E1F, "f"},       {0x1E23, "h"},       {0x1E41, "m"},
    {0x1E57, "p"},       {0x1E61, "s"},       {0x1E6B, "t"},       {0x1E81, "w"},       {0x1E83, "w"},
    {0x1E85, "w"},       {0x1E8D, "x"},       {0x1EA1, "a"},       {0x1EA3, "a"},       {0x1EB9, "e"},
    {0x1EBB, "e"},       {0x1EBD, "e"},       {0x1EC9, "i"},       {0x1ECB, "i"},       {0x1ECD, "o"},
    {0x1ECF, "o"},       {0x1EE5, "u"},       {0x1EE7, "u"},       {0x1EF3, "y"},       {0x1EF9, "y"},
};
static_assert(std::is_sorted(std::begin(kFoldings), std::end(kFoldings),
                             [](const auto& a, const auto& b) { return a.first < b.first; }));

bool isCombiningMark(char32_t c) {
  return (c >= 0x300 && c <= 0x36F) || (c >= 0x1AB0 && c <= 0x1AFF) || (c >= 0x1DC0 && c <= 0x1DFF) ||
         (c >= 0x20D0 && c <= 0x20FF) || (c >= 0xFE20 && c <= 0xFE2F);
}

const char* folding(char32_t c) {
  const auto* end = std::end(kFoldings);
  const auto* it = std::lower_bound(std::begin(kFoldings), end, c,
                                    [](const auto& entry, char32_t value) { return entry.first < value; });
  return (it != end && it->first == c) ? it->second : nullptr;
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
    const char32_t scalar = lowerScalar(decodeScalar(trimmedText, i));
    if (isCombiningMark(scalar)) continue;
    if (const char* replacement = folding(scalar)) {
      out += replacement;
    } else {
      appendScalar(out, scalar);
    }
  }
  return out;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) { return lowercased(a) == lowercased(b); }

}  // namespace tarvolo::text
