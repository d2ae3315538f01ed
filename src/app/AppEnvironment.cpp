#include "app/AppEnvironment.h"

#include "app/Log.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

AppEnvironment::AppEnvironment(platform::Platform& platform) : platform_(platform) {
  Logging::setSink(&platform.logSink());
}

AppEnvironment::~AppEnvironment() {
  // The controller unsubscribes from the centers, so it goes first.
  statusBarController_.reset();
  if (Logging::sink() == &platform_.logSink()) Logging::setSink(nullptr);
}

StatusBarController& AppEnvironment::statusBarController() {
  if (!statusBarController_) statusBarController_ = std::make_unique<StatusBarController>(*this);
  return *statusBarController_;
}

}  // namespace tarvolo
