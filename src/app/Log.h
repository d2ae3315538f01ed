#pragma once

#include <string>

namespace tarvolo {

namespace platform {
class LogSink;
}

// The two unified-log channels. Messages are built whole before logging; the sink is the
// platform's (installed by the app at start-up), and lines are dropped while none is installed.
namespace Logging {
void setSink(platform::LogSink* sink);
platform::LogSink* sink();
}  // namespace Logging

// Category "menubar": menu-bar, collapse and repair traces, written as "tarvolo <message>".
namespace MenuBarLog {
void log(const std::string& message);
}

// Category "state": general state diagnostics.
namespace Diag {
void log(const std::string& message);
}

inline const char* boolText(bool value) { return value ? "true" : "false"; }
// Points and seconds in logs: integers stay integers, others keep up to three decimals.
std::string numberText(double value);

}  // namespace tarvolo
