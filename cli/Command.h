#pragma once

// `tarvolo-sim run`, apart from argument parsing so tests can drive it.

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>

namespace tarvolo::scenario {

struct CommandOptions {
  std::filesystem::path scenario;
  // "-" writes the report to standard output.
  std::optional<std::string> report;
  bool render = false;
  std::optional<std::filesystem::path> defaults;
};

// Exit statuses of the runner.
inline constexpr int kExitRan = 0;
inline constexpr int kExitReportUnwritable = 1;
inline constexpr int kExitBadScenario = 2;

int runCommand(const CommandOptions& options, std::ostream& out, std::ostream& err);

}  // namespace tarvolo::scenario
