#pragma once

// The Mac backend: AppKit, CoreGraphics and the system services behind `platform::Platform`.
// Plain C++ so that the entry point (and nothing else above this directory) can include it.

#include <memory>

#include "platform/Platform.h"

namespace tarvolo::platform {

class MacPlatform final : public Platform {
 public:
  // Needs the shared NSApplication to exist; everything runs on the main thread.
  MacPlatform();
  ~MacPlatform() override;
  MacPlatform(const MacPlatform&) = delete;
  MacPlatform& operator=(const MacPlatform&) = delete;

  Clock& clock() override;
  MainQueue& mainQueue() override;
  LogSink& logSink() override;
  Events& events() override;
  StatusBar& statusBar() override;
  Screens& screens() override;
  Workspace& workspace() override;
  WindowList& windowList() override;
  Accessibility& accessibility() override;
  DefaultsStore& defaults() override;
  SystemInfo& system() override;
  Application& application() override;
  UserInterface& userInterface() override;
  AssessmentMode& assessmentMode() override;
  Updater& updater() override;
  HotkeyService& hotkeys() override;
  LoginItemService& loginItems() override;
  void setSystemEventSink(SystemEventSink* sink) override;
  std::unique_ptr<SerialQueue> makeSerialQueue(const std::string& label) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tarvolo::platform
