#pragma once

// Reading a scenario: each JSON value with the path of the field it sits in, so that every
// complaint names its field ("steps[3].click"), and the readers of the values several parts
// of a scenario share, and how step descriptions write them back.

#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/MenuBarAccessTier.h"
#include "platform/Platform.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::scenario {

// What makes a scenario unusable, with the path of the offending field ("steps[3].click").
class ScenarioError : public std::runtime_error {
 public:
  ScenarioError(std::string path, std::string problem);
  // Empty for the document as a whole.
  const std::string& path() const { return path_; }
  const std::string& problem() const { return problem_; }

 private:
  std::string path_;
  std::string problem_;
};

std::string lower(std::string_view text);
// JSON's quoting: "foo".
std::string inQuotes(std::string_view text);
std::string joined(const std::vector<std::string>& words, std::string_view separator = ", ");

// A JSON value together with where it sits in the document, so every complaint names its field.
class Field {
 public:
  Field(const nlohmann::json& value, std::string path) : value_(value), path_(std::move(path)) {}

  const nlohmann::json& value() const { return value_; }
  const std::string& path() const { return path_; }
  [[noreturn]] void fail(const std::string& problem) const { throw ScenarioError(path_, problem); }

  std::string childPath(std::string_view key) const;

  void expectType(nlohmann::json::value_t type, const char* expected) const {
    if (value_.type() != type) fail(std::string("expected ") + expected + ", got " + value_.type_name());
  }

  const nlohmann::json::object_t& object() const {
    expectType(nlohmann::json::value_t::object, "an object");
    return value_.get_ref<const nlohmann::json::object_t&>();
  }

  std::vector<Field> array() const {
    expectType(nlohmann::json::value_t::array, "an array");
    std::vector<Field> out;
    for (std::size_t i = 0; i < value_.size(); ++i) out.emplace_back(value_[i], path_ + "[" + std::to_string(i) + "]");
    return out;
  }

  bool has(std::string_view key) const { return object().count(std::string(key)) > 0; }
  bool isString() const { return value_.is_string(); }

  std::optional<Field> optional(std::string_view key) const {
    const auto& members = object();
    auto it = members.find(std::string(key));
    if (it == members.end()) return std::nullopt;
    return Field(it->second, childPath(key));
  }

  Field required(std::string_view key) const {
    if (auto field = optional(key)) return *field;
    throw ScenarioError(childPath(key), "required field is missing");
  }

  void allowOnly(std::initializer_list<std::string_view> keys) const {
    for (const auto& [key, value] : object()) {
      if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
        std::vector<std::string> names(keys.begin(), keys.end());
        throw ScenarioError(childPath(key), "unknown field (expected " + joined(names) + ")");
      }
    }
  }

  double number() const {
    if (!value_.is_number()) fail(std::string("expected a number, got ") + value_.type_name());
    double number = value_.get<double>();
    if (!std::isfinite(number)) fail("expected a finite number");
    return number;
  }
  double nonNegative() const {
    double value = number();
    if (value < 0) fail("must not be negative, got " + value_.dump());
    return value;
  }
  double positive() const {
    double value = number();
    if (value <= 0) fail("must be greater than 0, got " + value_.dump());
    return value;
  }
  long long integer() const {
    if (!value_.is_number_integer()) fail(std::string("expected an integer, got ") + value_.dump());
    return value_.get<long long>();
  }
  bool boolean() const {
    if (!value_.is_boolean()) fail(std::string("expected true or false, got ") + value_.type_name());
    return value_.get<bool>();
  }
  std::string string() const {
    if (!value_.is_string()) fail(std::string("expected a string, got ") + value_.type_name());
    return value_.get<std::string>();
  }
  std::string nonEmptyString() const {
    std::string text = string();
    if (text.empty()) fail("must not be empty");
    return text;
  }
  std::vector<std::string> strings() const {
    std::vector<std::string> out;
    for (const Field& element : array()) out.push_back(element.nonEmptyString());
    return out;
  }

 private:
  const nlohmann::json& value_;
  std::string path_;
};

// Screens: at least one, each with a positive size and a notch narrower than itself.
std::vector<sim::SimScreenSetup> parseScreens(const Field& field);
// "command", "option", "shift" and "control".
platform::ModifierFlags parseModifiers(const Field& field);
// A key by name: "A"…"Z" (either case), "escape", or a virtual key code; with its name for
// descriptions.
std::pair<std::uint16_t, std::string> parseKey(const Field& field);
MenuBarAccessTier parseTier(const Field& field);
// A step without a value of its own takes `true`.
void expectTrue(const Field& field);

// Values as step descriptions show them: "1920", "0.5"; "⌃⌥⇧⌘".
std::string numberWord(double value);
std::string modifierSymbols(platform::ModifierFlags flags);

}  // namespace tarvolo::scenario
