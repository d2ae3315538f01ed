#include "ui/UpdatePolicy.h"

#include <algorithm>
#include <cstdio>

namespace tarvolo::UpdatePolicy {

namespace {

std::string_view nextPart(std::string_view& rest) {
  const std::size_t dot = rest.find('.');
  std::string_view part = rest.substr(0, dot);
  rest = dot == std::string_view::npos ? std::string_view() : rest.substr(dot + 1);
  return part;
}

bool isNumber(std::string_view part) {
  return !part.empty() && std::all_of(part.begin(), part.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Compares two decimal numbers of any length without converting them.
int compareNumbers(std::string_view a, std::string_view b) {
  a.remove_prefix(std::min(a.find_first_not_of('0'), a.size()));
  b.remove_prefix(std::min(b.find_first_not_of('0'), b.size()));
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  return a.compare(b) < 0 ? -1 : (a == b ? 0 : 1);
}

bool usesDecimalComma(std::string_view languageCode) {
  return languageCode == "de" || languageCode == "fr" || languageCode == "es" || languageCode == "pt";
}

}  // namespace

int compareVersions(std::string_view a, std::string_view b) {
  while (!a.empty() || !b.empty()) {
    std::string_view left = nextPart(a);
    std::string_view right = nextPart(b);
    // A missing part counts as 0: "2" is "2.0".
    if (left.empty()) left = "0";
    if (right.empty()) right = "0";
    const int order = isNumber(left) && isNumber(right) ? compareNumbers(left, right) : left.compare(right);
    if (order != 0) return order < 0 ? -1 : 1;
  }
  return 0;
}

std::string_view rawValue(Verdict verdict) {
  switch (verdict) {
    case Verdict::check: return "check";
    case Verdict::switchedOff: return "switched-off";
    case Verdict::coachRunning: return "coach";
    case Verdict::busy: return "busy";
    case Verdict::notDue: return "not-due";
  }
  return "not-due";
}

double secondsUntilDue(std::optional<double> lastCheck, double now) {
  if (!lastCheck || *lastCheck > now) return 0;
  return std::max(0.0, *lastCheck + checkInterval - now);
}

Verdict backgroundVerdict(const BackgroundInput& input) {
  if (!input.automaticChecks) return Verdict::switchedOff;
  if (secondsUntilDue(input.lastCheck, input.now) > 0) return Verdict::notDue;
  if (input.coachRunning) return Verdict::coachRunning;
  if (input.sessionRunning) return Verdict::busy;
  return Verdict::check;
}

bool isOffered(std::string_view version, const std::optional<std::string>& skippedVersion) {
  return !skippedVersion || compareVersions(version, *skippedVersion) > 0;
}

std::string megabytes(std::uint64_t bytes, std::string_view languageCode) {
  // Tenths of a megabyte, rounded half up, without floating point.
  const std::uint64_t tenths = (bytes + 50'000) / 100'000;
  char text[32];
  std::snprintf(text, sizeof text, "%llu%c%llu", static_cast<unsigned long long>(tenths / 10),
                usesDecimalComma(languageCode) ? ',' : '.', static_cast<unsigned long long>(tenths % 10));
  return text;
}

}  // namespace tarvolo::UpdatePolicy
