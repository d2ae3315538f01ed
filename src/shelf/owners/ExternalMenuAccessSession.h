#pragma once

// Watches a foreign status item's menu that the shelf opened, and reports once it has closed:
// the item or its application went away, the menu closed, the user interacted and no menu is
// left, or five minutes passed. Main thread; the visibility probes run on a queue of their own.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "platform/Platform.h"

namespace tarvolo {

class ExternalMenuAccessSession {
 public:
  static constexpr double watchdogDelay = 300;
  static constexpr double recheckDelay = 0.2;
  static constexpr const char* checkQueueLabel = "com.ostrand.tarvolo.menu-lifetime";
  // Key codes of the keys that can close a menu: Return, Escape, keypad Enter.
  static constexpr std::uint16_t returnKeyCode = 36;
  static constexpr std::uint16_t escapeKeyCode = 53;
  static constexpr std::uint16_t enterKeyCode = 76;

  // Starts watching at once.
  ExternalMenuAccessSession(platform::Platform& platform, platform::AXElement item, std::function<void()> onEnd);
  ~ExternalMenuAccessSession();
  ExternalMenuAccessSession(const ExternalMenuAccessSession&) = delete;
  ExternalMenuAccessSession& operator=(const ExternalMenuAccessSession&) = delete;

  // Only the first call acts; `onEnd` runs once.
  void stop();
  bool isStopped() const { return stopped_; }
  // Whether the observer could be installed (without it, input and the watchdog still end it).
  bool observing() const { return observer_ != nullptr; }

 private:
  void notification(const std::string& name);
  void input(const platform::Event& event);
  void checkAfterInteraction();

  platform::Platform& platform_;
  platform::AXElement item_;
  std::optional<platform::AXElement> app_;
  std::function<void()> onEnd_;
  std::unique_ptr<platform::Registration> monitor_;
  std::unique_ptr<platform::Registration> localMonitor_;
  std::unique_ptr<platform::AXObserver> observer_;
  WorkItem watchdog_;
  WorkItem recheck_;
  bool stopped_ = false;
  // Shared with its running task, which may outlive the session.
  std::shared_ptr<platform::SerialQueue> checkQueue_;
  MainThreadChecker mainThread_;
  WeakHandleFactory<ExternalMenuAccessSession> weakFactory_{this};
};

}  // namespace tarvolo
