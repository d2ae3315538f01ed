#include "harness/ScenarioFields.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <sstream>

namespace tarvolo::scenario {

using json = nlohmann::json;

namespace {

// Virtual key codes of the ANSI letter keys, "A" to "Z".
constexpr std::array<std::uint16_t, 26> kLetterKeyCodes = {0,  11, 8,  2,  14, 3,  5,  4,  34, 38, 40, 37, 46,
                                                           45, 31, 35, 12, 15, 1,  17, 32, 9,  13, 7,  16, 6};

bool isIdentifier(std::string_view key) {
  if (key.empty() || std::isdigit(static_cast<unsigned char>(key.front()))) return false;
  return std::all_of(key.begin(), key.end(), [](unsigned char c) { return std::isalnum(c) || c == '_'; });
}

sim::SimScreenSetup parseScreen(const Field& field) {
  field.allowOnly({"width", "height", "x", "y", "notchWidth", "name", "id"});
  sim::SimScreenSetup screen;
  screen.width = field.required("width").positive();
  screen.height = field.required("height").positive();
  if (auto x = field.optional("x")) screen.x = x->number();
  if (auto y = field.optional("y")) screen.y = y->number();
  if (auto notch = field.optional("notchWidth")) {
    double width = notch->positive();
    if (width >= screen.width) notch->fail("must be narrower than the screen");
    screen.notchWidth = width;
  }
  if (auto name = field.optional("name")) screen.name = name->nonEmptyString();
  if (auto id = field.optional("id")) screen.id = id->nonEmptyString();
  return screen;
}

}  // namespace

ScenarioError::ScenarioError(std::string path, std::string problem)
    : std::runtime_error((path.empty() ? std::string("scenario") : path) + ": " + problem),
      path_(std::move(path)),
      problem_(std::move(problem)) {}

std::string lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

std::string inQuotes(std::string_view text) { return json(std::string(text)).dump(); }

std::string joined(const std::vector<std::string>& words, std::string_view separator) {
  std::string out;
  for (const auto& word : words) {
    if (!out.empty()) out += separator;
    out += word;
  }
  return out;
}

std::string Field::childPath(std::string_view key) const {
  std::string name = isIdentifier(key) ? std::string(key) : "[" + inQuotes(key) + "]";
  if (path_.empty()) return name;
  return isIdentifier(key) ? path_ + "." + name : path_ + name;
}

std::vector<sim::SimScreenSetup> parseScreens(const Field& field) {
  std::vector<sim::SimScreenSetup> screens;
  for (const Field& element : field.array()) screens.push_back(parseScreen(element));
  if (screens.empty()) field.fail("needs at least one screen");
  return screens;
}

platform::ModifierFlags parseModifiers(const Field& field) {
  platform::ModifierFlags flags;
  for (const Field& element : field.array()) {
    std::string name = element.string();
    if (name == "command") {
      flags = flags.with(platform::Modifier::command);
    } else if (name == "option") {
      flags = flags.with(platform::Modifier::option);
    } else if (name == "shift") {
      flags = flags.with(platform::Modifier::shift);
    } else if (name == "control") {
      flags = flags.with(platform::Modifier::control);
    } else {
      element.fail("unknown modifier " + inQuotes(name) + " (expected command, option, shift or control)");
    }
  }
  return flags;
}

std::pair<std::uint16_t, std::string> parseKey(const Field& field) {
  if (field.value().is_number()) {
    double code = field.nonNegative();
    if (code > 0xFFFF || code != static_cast<double>(static_cast<int>(code))) field.fail("not a virtual key code");
    return {static_cast<std::uint16_t>(code), "#" + std::to_string(static_cast<int>(code))};
  }
  std::string name = field.string();
  if (lower(name) == "escape") return {53, "Escape"};
  if (name.size() == 1 && std::isalpha(static_cast<unsigned char>(name[0]))) {
    char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    return {kLetterKeyCodes[static_cast<std::size_t>(upper - 'A')], std::string(1, upper)};
  }
  field.fail("unknown key " + inQuotes(name) + " (expected a letter, escape or a key code)");
}

MenuBarAccessTier parseTier(const Field& field) {
  std::string raw = field.string();
  auto tier = menuBarAccessTier(raw);
  if (!tier) field.fail("unknown tier " + inQuotes(raw) + " (expected all, always_visible, hidden or always_hidden)");
  return *tier;
}

void expectTrue(const Field& field) {
  if (!field.boolean()) field.fail("expected true (leave the step out instead)");
}

std::string numberWord(double value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

std::string modifierSymbols(platform::ModifierFlags flags) {
  std::string out;
  if (flags.has(platform::Modifier::control)) out += "⌃";
  if (flags.has(platform::Modifier::option)) out += "⌥";
  if (flags.has(platform::Modifier::shift)) out += "⇧";
  if (flags.has(platform::Modifier::command)) out += "⌘";
  return out;
}

}  // namespace tarvolo::scenario
