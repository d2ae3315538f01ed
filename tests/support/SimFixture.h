#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "harness/SimSession.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo::testing {

// Desktops the tests boot the app on.
sim::SimScreenSetup notchedLaptop();   // 1512×982 with a 185-wide notch
sim::SimScreenSetup plainDisplay();    // 1920×1080

// A dozen-icon menu bar: icons at stored positions 10, 20, … (larger stands further left).
std::vector<sim::SimAppSetup> sampleApps(int count = 6);

struct DesktopOptions {
  std::vector<sim::SimScreenSetup> screens = {notchedLaptop()};
  std::vector<sim::SimAppSetup> apps = sampleApps();
  sim::SimSettings settings;
  bool onboardingComplete = true;
  // Own positions: toggle, separator, always-hidden separator.
  std::optional<std::array<double, 3>> ownPositions = std::array<double, 3>{5, 35, 55};
  std::string frontmost = "com.example.editor";
};

// One app on one simulated desktop, on virtual time.
class SimAppTest : public ::testing::Test {
 protected:
  void boot(DesktopOptions options = {});
  void launch() { session_->launch(); }
  void run(double seconds) { session_->runFor(seconds); }

  sim::SimSession& session() { return *session_; }
  sim::SimDesktop& desktop() { return session_->desktop(); }
  StatusBarController& controller();
  std::vector<std::string> menubarLog() const { return session_->desktop().logSink().messages("menubar"); }
  std::vector<std::string> stateLog() const { return session_->desktop().logSink().messages("state"); }
  bool logged(const std::string& needle) const;
  int loggedCount(const std::string& needle) const;
  // Whether a foreign app's first icon is on screen right now.
  bool iconOnScreen(const std::string& bundleId);

  std::unique_ptr<sim::SimSession> session_;
};

}  // namespace tarvolo::testing
