// The simulated desktop as the platform contract's backend: a notched laptop with a display
// beside it, a frontmost app and an icon, and the app's own process running.

#include "platform/contract/PlatformContract.h"
#include "platform/sim/SimDesktop.h"

namespace tarvolo::contract {

namespace {

class SimContractBackend final : public ContractBackend {
 public:
  SimContractBackend()
      : desktop_({sim::SimScreenSetup{.width = 1512, .height = 982, .notchWidth = 185},
                  sim::SimScreenSetup{.width = 1920, .height = 1080, .x = 1512}},
                 {sim::SimAppSetup{.bundleId = "com.example.editor", .name = "Editor", .menusWidth = 420},
                  sim::SimAppSetup{.bundleId = "com.example.icon", .name = "Icon",
                                  .activation = platform::ActivationPolicy::accessory, .menusWidth = 0,
                                  .items = {sim::SimItemSetup{.width = 30, .position = 10}}}},
                 {}) {
    desktop_.setFrontmost("com.example.editor");
    desktop_.launchOwnApp();
  }

  platform::Platform& platform() override { return desktop_; }
  void runFor(double seconds) override { desktop_.queue().runFor(seconds); }
  int ownPid() const override { return sim::kOwnPid; }

 private:
  sim::SimDesktop desktop_;
};

}  // namespace

std::unique_ptr<ContractBackend> makeContractBackend() { return std::make_unique<SimContractBackend>(); }

}  // namespace tarvolo::contract
