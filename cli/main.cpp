// tarvolo-sim: runs Tarvolo on a simulated desktop through a scenario's timeline.

#include <CLI/CLI.hpp>
#include <iostream>

#include "cli/Command.h"
#include "cli/StringsCommand.h"

int main(int argc, char** argv) {
  using namespace tarvolo::scenario;
  CLI::App app{"Runs Tarvolo on a simulated macOS desktop through a scenario's timeline.", "tarvolo-sim"};
  app.require_subcommand(1);

  CommandOptions options;
  std::string scenarioPath;
  std::string defaultsPath;
  CLI::App* run = app.add_subcommand("run", "Run SCENARIO.json and report the bar as it stood when Tarvolo quit.");
  run->add_option("scenario", scenarioPath, "Scenario file (JSON; see scenarios/README.md)")->required();
  run->add_option("--report", options.report, "Write the JSON report to FILE (\"-\": standard output)")
      ->type_name("FILE");
  run->add_flag("--render", options.render, "Draw the menu bar after start-up, after each step and at the quit");
  run->add_option("--defaults", defaultsPath, "Keep the app's defaults in this JSON file across runs")
      ->type_name("FILE");

  std::string language;
  CLI::App* strings = app.add_subcommand("strings", "Print the built-in texts as JSON (key to text).");
  strings->add_option("--lang", language, "Only this language (en, zh, zh-Hant, ja, ko, de, fr, es, pt)")
      ->type_name("CODE");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    int status = app.exit(error);
    return status == 0 ? 0 : kExitBadScenario;
  }
  if (strings->parsed()) {
    auto table = stringsAsJson(language.empty() ? std::nullopt : std::optional<std::string>(language));
    if (!table) {
      std::cerr << "tarvolo-sim: unknown language \"" << language << "\"\n";
      return kExitBadScenario;
    }
    std::cout << table->dump(2) << '\n';
    return kExitRan;
  }
  options.scenario = scenarioPath;
  if (!defaultsPath.empty()) options.defaults = defaultsPath;
  return runCommand(options, std::cout, std::cerr);
}
