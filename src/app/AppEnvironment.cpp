#include "app/AppEnvironment.h"

#include "app/Log.h"
#include "localization/LocalizationManager.h"
#include "statusbar/StatusBarController.h"

namespace tarvolo {

AppEnvironment::AppEnvironment(platform::Platform& platform) : platform_(platform) {
  Logging::setSink(&platform.logSink());
}

AppEnvironment::~AppEnvironment() {
  // The controller unsubscribes from the centers, so it goes first.
  statusBarController_.reset();
  localization_.reset();
  if (Logging::sink() == &platform_.logSink()) Logging::setSink(nullptr);
}

LocalizationManager& AppEnvironment::localization() {
  if (!localization_) {
    localization_ = std::make_unique<LocalizationManager>(LocalizationManagerArgs{
        .defaults = platform_.defaults(),
        .preferredLanguages = [&system = platform_.system()] { return system.preferredLanguages(); },
        .languageDidChange = [this] { defaultCenter_.post(Notifications::appLanguageDidChange); },
        .log = [](std::string message) { Diag::log(message); },
    });
  }
  return *localization_;
}

std::string AppEnvironment::tr(std::string_view key) { return localization().tr(key); }

StatusBarController& AppEnvironment::statusBarController() {
  if (!statusBarController_) statusBarController_ = std::make_unique<StatusBarController>(*this);
  return *statusBarController_;
}

}  // namespace tarvolo
