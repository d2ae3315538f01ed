#pragma once

// The simulated Accessibility tree of the menu bar: every process's status items as the items of
// its extras menu bar, at the frames the window server reports. From 27 on items the system has
// hidden are absent from the tree, as on a real Mac.

#include <optional>
#include <set>
#include <vector>

#include "platform/Platform.h"

namespace tarvolo::sim {

class SimDesktop;

class SimAccessibility final : public platform::Accessibility {
 public:
  explicit SimAccessibility(const SimDesktop& desktop) : desktop_(desktop) {}

  bool isProcessTrusted() const override { return trusted_; }
  // The prompt changes nothing by itself: the user grants the permission later, in System
  // Settings (`setTrusted`).
  bool requestTrustWithPrompt() override {
    ++promptsShown_;
    return trusted_;
  }
  int promptsShown() const { return promptsShown_; }
  std::optional<std::vector<platform::AccessibilityMenuBarItem>> extrasMenuBarItems(int pid) const override;

  void setTrusted(bool trusted) { trusted_ = trusted; }
  // A process that does not answer Accessibility requests (busy, or hung).
  void setUnresponsive(int pid, bool unresponsive);

 private:
  const SimDesktop& desktop_;
  bool trusted_ = true;
  int promptsShown_ = 0;
  std::set<int> unresponsive_;
};

}  // namespace tarvolo::sim
