#include "base/Log.h"

#include <cmath>
#include <cstdio>

namespace tarvolo {

namespace {
LogSink* gSink = nullptr;
}

void Logging::setSink(LogSink* sink) { gSink = sink; }
LogSink* Logging::sink() { return gSink; }

void MenuBarLog::log(const std::string& message) {
  if (gSink) gSink->write(LogCategory::menubar, "tarvolo " + message);
}

void Diag::log(const std::string& message) {
  if (gSink) gSink->write(LogCategory::state, message);
}

void SystemLog::log(const std::string& message) {
  if (gSink) gSink->writeSystemLog(message);
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

LogLine& LogLine::add(std::string_view key, std::string_view value) {
  text_ += ' ';
  text_ += key;
  text_ += '=';
  text_ += value;
  return *this;
}

LogLine& LogLine::add(std::string_view key, const std::optional<double>& value) {
  return value ? add(key, *value) : add(key, std::string_view("none"));
}

LogLine& LogLine::add(std::string_view key, const std::optional<std::string>& value) {
  return add(key, value ? std::string_view(*value) : std::string_view("none"));
}

LogLine& LogLine::add(std::string_view key, const std::set<std::string>& values) {
  std::string joined;
  for (const auto& value : values) joined += (joined.empty() ? "" : ",") + value;
  return add(key, joined.empty() ? std::string_view("none") : std::string_view(joined));
}

LogLine& LogLine::integer(std::string_view key, double value) { return add(key, std::floor(value)); }

LogLine& LogLine::raw(std::string_view text) {
  text_ += ' ';
  text_ += text;
  return *this;
}

}  // namespace tarvolo
