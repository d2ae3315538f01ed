#include "ui/ReviewPromptPolicy.h"

namespace tarvolo::ReviewPromptPolicy {

std::string_view rawValue(Answer answer) {
  switch (answer) {
    case Answer::none: return "none";
    case Answer::later: return "later";
    case Answer::rated: return "rated";
    case Answer::declined: return "declined";
  }
  return "none";
}

std::optional<Answer> answerFromRaw(std::string_view raw) {
  for (Answer answer : {Answer::none, Answer::later, Answer::rated, Answer::declined}) {
    if (raw == rawValue(answer)) return answer;
  }
  return std::nullopt;
}

std::string_view rawValue(Verdict verdict) {
  switch (verdict) {
    case Verdict::offer: return "offer";
    case Verdict::answered: return "answered";
    case Verdict::askedThisVersion: return "asked-this-version";
    case Verdict::askedRecently: return "asked-recently";
    case Verdict::tooNew: return "too-new";
    case Verdict::tooFewDays: return "too-few-days";
    case Verdict::busy: return "busy";
  }
  return "busy";
}

Verdict verdict(const Input& input) {
  switch (input.answer) {
    case Answer::rated:
    case Answer::declined: return Verdict::answered;
    case Answer::none:
    case Answer::later: break;
  }
  if (input.askedVersion && *input.askedVersion == input.version) return Verdict::askedThisVersion;
  if (input.askedDate && input.now - *input.askedDate < minimumInterval) return Verdict::askedRecently;
  // Without a known install date the app cannot tell how long it has been used.
  if (!input.installDate || input.now - *input.installDate < minimumAge) return Verdict::tooNew;
  if (input.daysOfUse < minimumDaysOfUse) return Verdict::tooFewDays;
  switch (input.surroundings) {
    case Surroundings::busy: return Verdict::busy;
    case Surroundings::calm: break;
  }
  return Verdict::offer;
}

}  // namespace tarvolo::ReviewPromptPolicy
