// The Mac backend as the platform contract's backend. The run loop runs the main dispatch queue
// while a test waits.

#include <unistd.h>

#include "platform/contract/PlatformContract.h"
#include "platform/macos/MacBackend.h"
#include "platform/macos/MacPlatform.h"

namespace tarvolo::contract {

namespace {

class MacContractBackend final : public ContractBackend {
 public:
  platform::Platform& platform() override { return platform_; }
  void runFor(double seconds) override {
    NSDate* until = [NSDate dateWithTimeIntervalSinceNow:seconds];
    while (until.timeIntervalSinceNow > 0) {
      @autoreleasepool {
        [NSRunLoop.mainRunLoop runMode:NSDefaultRunLoopMode beforeDate:until];
      }
    }
  }
  int ownPid() const override { return getpid(); }

 private:
  platform::MacPlatform platform_;
};

}  // namespace

std::unique_ptr<ContractBackend> makeContractBackend() { return std::make_unique<MacContractBackend>(); }

}  // namespace tarvolo::contract
