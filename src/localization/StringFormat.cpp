#include "localization/StringFormat.h"

#include <cctype>

namespace tarvolo {

std::string formatText(std::string_view pattern, const std::vector<std::string>& arguments) {
  std::string out;
  std::size_t next = 0;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] != '%' || i + 1 >= pattern.size()) {
      out += pattern[i];
      continue;
    }
    if (pattern[i + 1] == '%') {
      out += '%';
      ++i;
      continue;
    }
    std::size_t j = i + 1;
    std::size_t index = next;
    bool numbered = false;
    std::size_t digits = j;
    while (digits < pattern.size() && std::isdigit(static_cast<unsigned char>(pattern[digits]))) ++digits;
    if (digits > j && digits < pattern.size() && pattern[digits] == '$') {
      index = std::stoul(std::string(pattern.substr(j, digits - j))) - 1;
      numbered = true;
      j = digits + 1;
    }
    if (j < pattern.size() && (pattern[j] == '@' || pattern[j] == 'd')) {
      if (index < arguments.size()) out += arguments[index];
      if (!numbered) ++next;
      i = j;
      continue;
    }
    out += pattern[i];
  }
  return out;
}

}  // namespace tarvolo
