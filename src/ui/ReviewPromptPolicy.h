#pragma once

// When to ask the user for a rating: rarely, only after real use, never in the middle of
// something, once per version at most and never again once answered. Pure.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarvolo::ReviewPromptPolicy {

// Distinct days the app was used, and time since install, before the first question.
inline constexpr std::size_t minimumDaysOfUse = 7;
inline constexpr double minimumAge = 14 * 86400.0;
// Between two questions, even across an update.
inline constexpr double minimumInterval = 60 * 86400.0;
// The prompt follows a calm moment by this much, so it never replaces what the user just saw.
inline constexpr double settleDelay = 2.0;

// What the user last answered; `declined` is "don't ask again".
enum class Answer { none, later, rated, declined };
std::string_view rawValue(Answer answer);
// Absent for text that names no answer.
std::optional<Answer> answerFromRaw(std::string_view raw);

// Whether anything else is up: a menu, the shelf, the guide, the coach, a notice or a window.
enum class Surroundings { calm, busy };

enum class Verdict { offer, answered, askedThisVersion, askedRecently, tooNew, tooFewDays, busy };
std::string_view rawValue(Verdict verdict);

struct Input {
  double now = 0;
  std::optional<double> installDate;
  std::size_t daysOfUse = 0;
  std::string_view version;
  std::optional<std::string> askedVersion;
  std::optional<double> askedDate;
  Answer answer = Answer::none;
  Surroundings surroundings = Surroundings::busy;
};
// The first reason not to ask, in order of permanence, or `offer`.
Verdict verdict(const Input& input);

}  // namespace tarvolo::ReviewPromptPolicy
