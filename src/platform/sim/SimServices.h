#pragma once

// The smaller services the simulated desktop gives the app's process: its log, the system's
// facts, the application object, the workspace and the login item. Each records what the app
// asked of it, for reports and tests.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/sim/SimSetup.h"

namespace tarvolo::sim {

class SimBar;
class SimMainQueue;
class SimProcesses;

struct SimLogLine {
  double time = 0;
  std::string channel;  // "menubar", "state", "stdout" or "system"
  std::string message;
};

class SimLog final : public platform::LogSink {
 public:
  explicit SimLog(const Clock& clock) : clock_(clock) {}
  void write(platform::LogCategory category, std::string_view message) override;
  void writeStandardOutput(std::string_view line) override { record("stdout", line); }
  void writeSystemLog(std::string_view line) override { record("system", line); }

  const std::vector<SimLogLine>& lines() const { return lines_; }
  // The messages of one channel, or of all with an empty one.
  std::vector<std::string> messages(const std::string& channel = "") const;

 private:
  void record(std::string channel, std::string_view message);

  const Clock& clock_;
  std::vector<SimLogLine> lines_;
};

class SimSystemInfo final : public platform::SystemInfo {
 public:
  explicit SimSystemInfo(const SimSettings& settings) : settings_(settings) {}
  int osMajorVersion() const override { return settings_.osMajor; }
  std::optional<std::string> osBuildVersion() const override { return settings_.buildVersion(); }
  std::vector<std::string> preferredLanguages() const override { return settings_.preferredLanguages; }
  std::vector<std::string> processArguments() const override { return settings_.arguments; }
  std::string ownBundleIdentifier() const override;
  std::string homeDirectory() const override { return "/Users/user"; }

 private:
  const SimSettings& settings_;
};

class SimApplication final : public platform::Application {
 public:
  SimApplication(SimProcesses& processes, SimMainQueue& queue) : processes_(processes), queue_(queue) {}
  void setActivationPolicy(platform::ActivationPolicy policy) override;
  platform::ActivationPolicy activationPolicy() const override;
  // Termination unwinds after the current event, as the real run loop does.
  void terminate() override;
  // Installs what the Mac backend installs: the app's commands with the standard Edit and Window
  // menus.
  void setMainMenu(const platform::Menu& appCommands) override { mainMenu_ = platform::mainMenuWith(appCommands); }
  void copyToPasteboard(const std::string& text) override { pasteboard_ = text; }
  void openURL(const std::string& address) override { openedURLs_.push_back(address); }

  // What terminating does once it unwinds; the desktop ends the process there.
  void setTerminationHandler(std::function<void()> handler) { terminate_ = std::move(handler); }
  const platform::MainMenu& mainMenu() const { return mainMenu_; }
  // The general pasteboard, shared with every other app: what was copied last, by anyone.
  const std::string& pasteboard() const { return pasteboard_; }
  void setPasteboard(std::string text) { pasteboard_ = std::move(text); }
  // Addresses the app opened, in order.
  const std::vector<std::string>& openedURLs() const { return openedURLs_; }
  void ownProcessExited() { mainMenu_ = {}; }

 private:
  SimProcesses& processes_;
  SimMainQueue& queue_;
  std::function<void()> terminate_;
  platform::MainMenu mainMenu_;
  std::string pasteboard_;
  std::vector<std::string> openedURLs_;
};

class SimWorkspace final : public platform::Workspace {
 public:
  SimWorkspace(const SimProcesses& processes, const SimBar& bar) : processes_(processes), bar_(bar) {}
  std::vector<platform::RunningApplication> runningApplications() const override;
  std::optional<platform::RunningApplication> frontmostApplication() const override;
  std::optional<platform::RunningApplication> menuBarOwningApplication() const override;
  std::optional<double> applicationMenusMaxX() const override;
  bool openURL(const std::string& url) override;

  // URLs the app asked the workspace to open, in order.
  const std::vector<std::string>& openedURLs() const { return openedURLs_; }

 private:
  const SimProcesses& processes_;
  const SimBar& bar_;
  std::vector<std::string> openedURLs_;
};

// What the login-item service was asked, for the report.
struct SimLoginItemRecord {
  int registrations = 0;
  int unregistrations = 0;
};

class SimLoginItems final : public platform::LoginItemService {
 public:
  // The status lives in the settings, where a scenario sets how the system starts out.
  explicit SimLoginItems(SimSettings& settings) : settings_(settings) {}
  platform::LoginItemStatus status() const override { return settings_.loginItemStatus; }
  std::optional<std::string> registerMainApp() override;
  std::optional<std::string> unregisterMainApp() override;
  void openSystemSettingsLoginItems() override { ++settingsOpened_; }

  const SimLoginItemRecord& record() const { return record_; }
  int systemSettingsOpened() const { return settingsOpened_; }

 private:
  SimSettings& settings_;
  SimLoginItemRecord record_;
  int settingsOpened_ = 0;
};

}  // namespace tarvolo::sim
