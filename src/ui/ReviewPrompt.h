#pragma once

#include <string>

#include "platform/Platform.h"

namespace tarvolo::ReviewPrompt {

inline constexpr const char* installDateKey = "com.ostrand.tarvolo.review.installDate";
inline constexpr const char* usageDaysKey = "com.ostrand.tarvolo.review.usageDays";
// Enough history to ask after a couple of weeks of real use, small enough to never matter.
inline constexpr std::size_t usageDaysKept = 30;

// The UTC calendar day ("2026-11-21") of a date in seconds since 1970.
std::string dayString(double date);

// Records the install date once and notes `date`'s day as a day of use (at launch, and again
// whenever the user engages, so a run left going for weeks still counts its days).
void noteUse(platform::DefaultsStore& defaults, double date);

// Days of use recorded so far (a corrupt value counts as none and is rewritten on the next launch).
std::size_t daysOfUse(const platform::DefaultsStore& defaults);

}  // namespace tarvolo::ReviewPrompt
