#include "app/AppEnvironment.h"

#include "statusbar/StatusBarController.h"

namespace tarvolo {

AppEnvironment::AppEnvironment(platform::Platform& platform) : platform_(platform) {}

AppEnvironment::~AppEnvironment() {
  // The controller unsubscribes from the centers, so it goes first.
  statusBarController_.reset();
}

StatusBarController& AppEnvironment::statusBarController() {
  if (!statusBarController_) statusBarController_ = std::make_unique<StatusBarController>(*this);
  return *statusBarController_;
}

}  // namespace tarvolo
