#pragma once

// What every backend of platform::Platform must do, as real Macs do it: the simulated desktop
// runs these in the normal test run, the Mac backend's test target on a Mac. The tests see only
// the platform interfaces; each backend's target supplies `makeContractBackend`.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace tarvolo::contract {

class ContractBackend {
 public:
  virtual ~ContractBackend() = default;
  virtual platform::Platform& platform() = 0;
  // Lets the main queue work for `seconds`: virtual time on the simulated desktop, the run
  // loop on a Mac.
  virtual void runFor(double seconds) = 0;
  // The process the app's own status items belong to.
  virtual int ownPid() const = 0;
};

std::unique_ptr<ContractBackend> makeContractBackend();

class PlatformContractTest : public ::testing::Test {
 protected:
  void SetUp() override;
  // Removes the items the test created and the keys it wrote, so a real Mac's bar and defaults
  // are left as they were.
  void TearDown() override;

  platform::Platform& platform() { return backend_->platform(); }
  int ownPid() const { return backend_->ownPid(); }
  void runFor(double seconds) { backend_->runFor(seconds); }
  // Lets the queue work in short steps until `done` holds; false when it still does not after
  // `timeout` seconds.
  bool runUntil(const std::function<bool()>& done, double timeout = 2);

  // A name no earlier run has used, for autosave names and defaults keys.
  std::string uniqueName(const std::string& stem);
  // A defaults key the test owns.
  std::string key(const std::string& stem);
  std::string positionKey(const std::string& autosaveName) const {
    return "NSStatusItem Preferred Position " + autosaveName;
  }
  // An own status item, removed again at tear-down unless the test took it back.
  platform::StatusItem& createItem(double length, const std::string& autosaveName);
  std::unique_ptr<platform::StatusItem> takeItem(const platform::StatusItem& item);
  // The frame once the window server reports one, read after it held still for a moment.
  std::optional<Rect> settledFrame(const platform::StatusItem& item);
  const platform::ScreenInfo& primaryScreen();

 private:
  std::unique_ptr<ContractBackend> backend_;
  std::vector<std::unique_ptr<platform::StatusItem>> items_;
  std::vector<std::string> keys_;
  std::vector<platform::ScreenInfo> screens_;
};

}  // namespace tarvolo::contract
