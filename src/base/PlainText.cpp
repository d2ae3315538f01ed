#include "base/PlainText.h"

#include <cstdint>
#include <utility>

#include "base/Text.h"

namespace tarvolo::text {

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }

char lowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 0x20) : c; }

// The tag's name in lower case ("p", "/li", "br"), from the text just after '<'.
std::string tagName(std::string_view tag) {
  std::string name;
  for (char c : tag) {
    if (isSpace(c) || c == '>' || (c == '/' && !name.empty())) break;
    name.push_back(lowerAscii(c));
  }
  return name;
}

bool endsBlock(std::string_view name) {
  static constexpr std::string_view kBlocks[] = {"p",  "/p",  "div", "/div", "ul", "/ul", "ol",
                                                 "/ol", "/h1", "/h2", "/h3", "/h4", "/h5", "/h6", "/tr", "/pre", "hr"};
  for (std::string_view block : kBlocks) {
    if (name == block) return true;
  }
  return false;
}

// A character reference at `text` (just after '&'), decoded; the length it took, 0 when it is
// not one.
std::pair<std::string, std::size_t> reference(std::string_view text) {
  const std::size_t end = text.find(';');
  if (end == std::string_view::npos || end == 0 || end > 10) return {"", 0};
  std::string_view name = text.substr(0, end);
  static constexpr std::pair<std::string_view, std::string_view> kNamed[] = {
      {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "’"}, {"nbsp", " "},
      {"mdash", "—"}, {"ndash", "–"}, {"hellip", "…"}, {"rsquo", "’"}, {"lsquo", "‘"},
      {"ldquo", "“"}, {"rdquo", "”"}, {"bull", "•"}};
  for (const auto& [named, value] : kNamed) {
    if (name == named) return {std::string(value), end + 1};
  }
  if (name[0] != '#' || name.size() < 2) return {"", 0};
  const bool hex = name[1] == 'x' || name[1] == 'X';
  std::string_view digits = name.substr(hex ? 2 : 1);
  if (digits.empty() || digits.size() > 6) return {"", 0};
  std::uint32_t value = 0;
  for (char c : digits) {
    int digit = -1;
    if (c >= '0' && c <= '9') digit = c - '0';
    if (hex && c >= 'a' && c <= 'f') digit = c - 'a' + 10;
    if (hex && c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    if (digit < 0) return {"", 0};
    value = value * (hex ? 16 : 10) + static_cast<std::uint32_t>(digit);
  }
  if (value == 0 || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) value = 0xFFFD;
  std::string out;
  appendScalar(out, static_cast<char32_t>(value));
  return {out, end + 1};
}

// Collapses the spaces within each line, drops blank lines beyond one in a row, trims.
std::string tidied(const std::string& raw) {
  std::string out;
  bool pendingSpace = false;
  int pendingBreaks = 0;
  for (char c : raw) {
    if (c == '\n') {
      ++pendingBreaks;
      pendingSpace = false;
      continue;
    }
    if (isSpace(c)) {
      pendingSpace = true;
      continue;
    }
    if (!out.empty() && pendingBreaks > 0) {
      out.append(pendingBreaks > 1 ? "\n\n" : "\n");
    } else if (!out.empty() && pendingSpace) {
      out.push_back(' ');
    }
    pendingBreaks = 0;
    pendingSpace = false;
    out.push_back(c);
  }
  return out;
}

}  // namespace

std::string plainFromMarkup(std::string_view markup) {
  if (markup.find('<') == std::string_view::npos && markup.find('&') == std::string_view::npos) {
    return std::string(trimmed(markup));
  }
  std::string raw;
  std::size_t i = 0;
  while (i < markup.size()) {
    const char c = markup[i];
    if (c == '<') {
      const std::size_t close = markup.find('>', i);
      if (close == std::string_view::npos) break;
      const std::string name = tagName(markup.substr(i + 1));
      i = close + 1;
      // What scripts and styles hold is never text.
      if (name == "script" || name == "style") {
        const std::size_t end = markup.find("</" + name, i);
        i = end == std::string_view::npos ? markup.size() : markup.find('>', end);
        i = i == std::string_view::npos ? markup.size() : i + 1;
        continue;
      }
      if (name == "br") raw.push_back('\n');
      if (endsBlock(name)) raw.append("\n\n");
      if (name == "li") raw.append("\n• ");
      continue;
    }
    if (c == '&') {
      auto [decoded, length] = reference(markup.substr(i + 1));
      if (length > 0) {
        raw.append(decoded);
        i += length + 1;
        continue;
      }
    }
    // Markup's own line breaks are spaces.
    raw.push_back(c == '\n' || c == '\r' || c == '\t' ? ' ' : c);
    ++i;
  }
  return tidied(raw);
}

}  // namespace tarvolo::text
