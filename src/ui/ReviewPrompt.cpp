#include "ui/ReviewPrompt.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tarvolo::ReviewPrompt {

std::string dayString(double date) {
  // Civil-from-days (proleptic Gregorian), so no time-zone or locale state is read.
  long long days = static_cast<long long>(std::floor(date / 86400.0));
  days += 719468;
  long long era = (days >= 0 ? days : days - 146096) / 146097;
  long long doe = days - era * 146097;
  long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  long long y = yoe + era * 400;
  long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  long long mp = (5 * doy + 2) / 153;
  long long d = doy - (153 * mp + 2) / 5 + 1;
  long long m = mp < 10 ? mp + 3 : mp - 9;
  if (m <= 2) ++y;
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%04lld-%02lld-%02lld", y, m, d);
  return buffer;
}

void noteUse(platform::DefaultsStore& defaults, double date) {
  if (!defaults.getDouble(installDateKey)) defaults.set(installDateKey, DefaultsValue(date));
  auto days = defaults.getStringArray(usageDaysKey).value_or(std::vector<std::string>{});
  std::string today = dayString(date);
  if (std::find(days.begin(), days.end(), today) != days.end()) return;
  days.push_back(today);
  if (days.size() > usageDaysKept) days.erase(days.begin(), days.end() - usageDaysKept);
  defaults.set(usageDaysKey, DefaultsValue::fromStrings(days));
}

std::size_t daysOfUse(const platform::DefaultsStore& defaults) {
  return defaults.getStringArray(usageDaysKey).value_or(std::vector<std::string>{}).size();
}

}  // namespace tarvolo::ReviewPrompt
