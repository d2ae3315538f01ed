#pragma once

#include <concepts>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace tarvolo {

enum class LogCategory { menubar, state };

// Where log lines go: the platform's unified log, or the simulator's record of it.
class LogSink {
 public:
  virtual ~LogSink() = default;
  // `message` is the complete text as the unified log shows it.
  virtual void write(LogCategory category, std::string_view message) = 0;
  virtual void writeStandardOutput(std::string_view line) = 0;
  // The system log every process shares (what NSLog writes), for the few failures an
  // administrator should find there.
  virtual void writeSystemLog(std::string_view line) = 0;
};

// The two unified-log channels. Messages are built whole before logging; the sink is the
// platform's (installed by the app at start-up), and lines are dropped while none is installed.
namespace Logging {
void setSink(LogSink* sink);
LogSink* sink();
}  // namespace Logging

// Category "menubar": menu-bar, collapse and repair traces, written as "tarvolo <message>".
namespace MenuBarLog {
void log(const std::string& message);
}

// Category "state": general state diagnostics.
namespace Diag {
void log(const std::string& message);
}

// The shared system log, beside the app's own channels.
namespace SystemLog {
void log(const std::string& message);
}

inline const char* boolText(bool value) { return value ? "true" : "false"; }
// Points and seconds in logs: integers stay integers, others keep up to three decimals.
std::string numberText(double value);

// Builds one message of short key=value fields: LogLine("collapse").add("reason", "menu")
// gives "collapse reason=menu". Absent values print as "none".
class LogLine {
 public:
  explicit LogLine(std::string_view head) : text_(head) {}

  LogLine& add(std::string_view key, std::string_view value);
  LogLine& add(std::string_view key, const std::string& value) { return add(key, std::string_view(value)); }
  LogLine& add(std::string_view key, const char* value) { return add(key, std::string_view(value)); }
  LogLine& add(std::string_view key, bool value) { return add(key, std::string_view(boolText(value))); }
  template <std::integral T>
    requires(!std::same_as<T, bool>)
  LogLine& add(std::string_view key, T value) {
    return add(key, std::string_view(std::to_string(value)));
  }
  LogLine& add(std::string_view key, double value) { return add(key, std::string_view(numberText(value))); }
  LogLine& add(std::string_view key, const std::optional<double>& value);
  LogLine& add(std::string_view key, const std::optional<std::string>& value);
  // The values joined by commas, in order; an empty set prints as "none".
  LogLine& add(std::string_view key, const std::set<std::string>& values);
  // Points rounded down to whole ones, as the search reports its bounds.
  LogLine& integer(std::string_view key, double value);
  // Free text after a space, for the rare field that is not key=value.
  LogLine& raw(std::string_view text);

  const std::string& text() const { return text_; }
  operator const std::string&() const { return text_; }

 private:
  std::string text_;
};

}  // namespace tarvolo
