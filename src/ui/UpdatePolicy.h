#pragma once

// When Tarvolo looks for a new version on its own, which versions it offers, and how sizes read.
// Pure.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarvolo::UpdatePolicy {

// Background checks come at most this often.
inline constexpr double checkInterval = 86400;
// The first background check of a run waits this long, so it never competes with start-up.
inline constexpr double launchDelay = 15;
// A check that fell due while the first-launch coach runs looks again this much later.
inline constexpr double coachRetryDelay = 600;

// Orders dotted versions numerically, part by part ("1.10" after "1.9", "2" equal to "2.0");
// a part that is not a number compares as text. Negative, zero or positive.
int compareVersions(std::string_view a, std::string_view b);

// Whether a background check runs now, or the first reason it does not.
enum class Verdict { check, switchedOff, coachRunning, busy, notDue };
std::string_view rawValue(Verdict verdict);

struct BackgroundInput {
  double now = 0;  // seconds since 1970
  bool automaticChecks = true;
  bool coachRunning = false;
  bool sessionRunning = false;  // a check or an update is under way
  std::optional<double> lastCheck;
};
Verdict backgroundVerdict(const BackgroundInput& input);

// Seconds from `now` until a background check is due; 0 when it is due. A last check in the
// future (the clock was set back) is not trusted: due now.
double secondsUntilDue(std::optional<double> lastCheck, double now);

// A version at or below the one the user skipped is never offered again.
bool isOffered(std::string_view version, const std::optional<std::string>& skippedVersion);

// "4.2" megabytes of `bytes` with one decimal, in the decimal mark of `languageCode`.
std::string megabytes(std::uint64_t bytes, std::string_view languageCode);

}  // namespace tarvolo::UpdatePolicy
