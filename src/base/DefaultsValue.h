#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tarvolo {

// One value of the defaults store: the property-list types the core uses.
class DefaultsValue {
 public:
  using Array = std::vector<DefaultsValue>;
  using Dictionary = std::map<std::string, DefaultsValue>;
  using Storage = std::variant<bool, std::int64_t, double, std::string, Array, Dictionary>;

  DefaultsValue() : storage_(false) {}
  DefaultsValue(bool v) : storage_(v) {}
  DefaultsValue(int v) : storage_(static_cast<std::int64_t>(v)) {}
  DefaultsValue(std::int64_t v) : storage_(v) {}
  DefaultsValue(double v) : storage_(v) {}
  DefaultsValue(const char* v) : storage_(std::string(v)) {}
  DefaultsValue(std::string v) : storage_(std::move(v)) {}
  DefaultsValue(Array v) : storage_(std::move(v)) {}
  DefaultsValue(Dictionary v) : storage_(std::move(v)) {}

  const Storage& storage() const { return storage_; }

  bool isBool() const { return std::holds_alternative<bool>(storage_); }
  bool isNumber() const {
    return std::holds_alternative<std::int64_t>(storage_) || std::holds_alternative<double>(storage_);
  }
  bool isString() const { return std::holds_alternative<std::string>(storage_); }
  bool isArray() const { return std::holds_alternative<Array>(storage_); }
  bool isDictionary() const { return std::holds_alternative<Dictionary>(storage_); }

  // Conversions follow the property-list rules: numbers and Booleans convert into each other,
  // a string reads as a Boolean the way the platform's own Boolean lookup reads it ("YES",
  // "true", "1" are true; "NO", "false", "" are false), everything else of the wrong type is
  // absent. A number that is not finite, or out of the integer range for `asInteger`, is absent
  // too: nothing the app writes is one, and converting it would be undefined.
  std::optional<bool> asBool() const;
  std::optional<double> asDouble() const;
  std::optional<std::int64_t> asInteger() const;
  const std::string* asString() const { return std::get_if<std::string>(&storage_); }
  const Array* asArray() const { return std::get_if<Array>(&storage_); }
  const Dictionary* asDictionary() const { return std::get_if<Dictionary>(&storage_); }

  // Only strings survive; a mixed array yields just its strings.
  std::optional<std::vector<std::string>> asStringArray() const;
  // Only string values survive.
  std::optional<std::map<std::string, std::string>> asStringDictionary() const;

  static DefaultsValue fromStrings(const std::vector<std::string>& values);
  static DefaultsValue fromStringMap(const std::map<std::string, std::string>& values);

  friend bool operator==(const DefaultsValue&, const DefaultsValue&) = default;

 private:
  Storage storage_;
};

}  // namespace tarvolo
