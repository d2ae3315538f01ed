#include "app/Log.h"

#include <cmath>
#include <cstdio>

#include "platform/Platform.h"

namespace tarvolo {

namespace {
platform::LogSink* gSink = nullptr;
}

void Logging::setSink(platform::LogSink* sink) { gSink = sink; }
platform::LogSink* Logging::sink() { return gSink; }

void MenuBarLog::log(const std::string& message) {
  if (gSink) gSink->write(platform::LogCategory::menubar, "tarvolo " + message);
}

void Diag::log(const std::string& message) {
  if (gSink) gSink->write(platform::LogCategory::state, message);
}

std::string numberText(double value) {
  if (!std::isfinite(value)) return value > 0 ? "inf" : (value < 0 ? "-inf" : "nan");
  if (value == std::floor(value) && std::fabs(value) < 1e15) {
    return std::to_string(static_cast<long long>(value));
  }
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.3f", value);
  std::string text(buffer);
  while (!text.empty() && text.back() == '0') text.pop_back();
  if (!text.empty() && text.back() == '.') text.pop_back();
  return text;
}

}  // namespace tarvolo
