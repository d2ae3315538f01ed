#pragma once

#include <functional>
#include <memory>

#include "app/AppDelegate.h"
#include "platform/sim/SimDesktop.h"

namespace tarvolo::sim {

// The app's process on a simulated desktop: launch, quit, relaunch, and the clock to drive it.
class SimSession {
 public:
  explicit SimSession(std::unique_ptr<SimDesktop> desktop);
  ~SimSession();

  SimDesktop& desktop() { return *desktop_; }
  SimMainQueue& queue() { return desktop_->queue(); }
  double now() const { return desktop_->queue().now(); }

  // Starts the app's process (didFinishLaunching runs at the current time).
  void launch();
  // Terminates through the application, as the Quit menu item does, and lets it unwind.
  void quit();
  void relaunch();
  bool running() const { return delegate_ != nullptr; }
  // Runs whenever the app is about to terminate (however the quit came about), before its
  // delegate hears of it, while its items still stand in the bar.
  void setWillTerminateHandler(std::function<void()> handler) { willTerminate_ = std::move(handler); }

  // Runs the desktop's clock; a process that terminates on the way is torn down as it exits.
  void runUntil(double time);
  void runFor(double seconds) { runUntil(now() + seconds); }

  AppDelegate* delegate() { return delegate_.get(); }
  // The controller of the running app; null when it is not running.
  StatusBarController* controller();
  // The running app's catalogue of other apps' items; null when it is not running.
  StatusItemManager* statusItemManager();

 private:
  // Stands between the desktop and the app's delegate so the session sees termination first.
  class DelegateRelay final : public platform::ApplicationDelegate {
   public:
    explicit DelegateRelay(SimSession& session) : session_(session) {}
    void applicationDidFinishLaunching() override;
    bool applicationShouldHandleReopen(bool hasVisibleWindows) override;
    void applicationWillTerminate() override;
    void applicationOpenURLs(const std::vector<std::string>& urls) override;
    bool applicationPerformScriptCommand(std::string_view command) override;

   private:
    SimSession& session_;
  };

  std::unique_ptr<SimDesktop> desktop_;
  std::unique_ptr<AppDelegate> delegate_;
  DelegateRelay relay_{*this};
  std::function<void()> willTerminate_;
};

}  // namespace tarvolo::sim
