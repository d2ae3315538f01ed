#include "base/DefaultsValue.h"

#include <cmath>
#include <string_view>

namespace tarvolo {

namespace {

// What -[NSString boolValue] answers, and with it -[NSUserDefaults boolForKey:] for a string that
// was written by hand (`defaults write … key YES` stores the string "YES"): past leading blanks,
// an optional sign and zeros, "Y", "y", "T", "t" or a digit 1-9 means true; anything else false.
bool stringAsBool(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  while (i < text.size() && text[i] == '0') ++i;
  if (i == text.size()) return false;
  const char c = text[i];
  return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

}  // namespace

std::optional<bool> DefaultsValue::asBool() const {
  if (auto b = std::get_if<bool>(&storage_)) return *b;
  if (auto i = std::get_if<std::int64_t>(&storage_)) return *i != 0;
  if (auto d = std::get_if<double>(&storage_)) return *d != 0.0;
  if (auto s = std::get_if<std::string>(&storage_)) return stringAsBool(*s);
  return std::nullopt;
}

std::optional<double> DefaultsValue::asDouble() const {
  if (auto d = std::get_if<double>(&storage_)) {
    if (!std::isfinite(*d)) return std::nullopt;
    return *d;
  }
  if (auto i = std::get_if<std::int64_t>(&storage_)) return static_cast<double>(*i);
  if (auto b = std::get_if<bool>(&storage_)) return *b ? 1.0 : 0.0;
  return std::nullopt;
}

std::optional<std::int64_t> DefaultsValue::asInteger() const {
  if (auto i = std::get_if<std::int64_t>(&storage_)) return *i;
  if (auto d = std::get_if<double>(&storage_)) {
    // Converting a double outside int64's range is undefined; such a value is no integer we wrote.
    constexpr double limit = 9223372036854775808.0;  // 2^63, exact in a double
    if (!std::isfinite(*d) || *d < -limit || *d >= limit) return std::nullopt;
    return static_cast<std::int64_t>(*d);
  }
  if (auto b = std::get_if<bool>(&storage_)) return *b ? 1 : 0;
  return std::nullopt;
}

std::optional<std::vector<std::string>> DefaultsValue::asStringArray() const {
  const Array* array = asArray();
  if (!array) return std::nullopt;
  std::vector<std::string> out;
  for (const auto& element : *array) {
    if (const std::string* s = element.asString()) out.push_back(*s);
  }
  return out;
}

std::optional<std::map<std::string, std::string>> DefaultsValue::asStringDictionary() const {
  const Dictionary* dict = asDictionary();
  if (!dict) return std::nullopt;
  std::map<std::string, std::string> out;
  for (const auto& [key, value] : *dict) {
    if (const std::string* s = value.asString()) out.emplace(key, *s);
  }
  return out;
}

DefaultsValue DefaultsValue::fromStrings(const std::vector<std::string>& values) {
  Array array;
  array.reserve(values.size());
  for (const auto& v : values) array.emplace_back(v);
  return DefaultsValue(std::move(array));
}

DefaultsValue DefaultsValue::fromStringMap(const std::map<std::string, std::string>& values) {
  Dictionary dict;
  for (const auto& [k, v] : values) dict.emplace(k, DefaultsValue(v));
  return DefaultsValue(std::move(dict));
}

}  // namespace tarvolo
