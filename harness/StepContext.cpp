#include "harness/StepContext.h"

#include <algorithm>

#include "app/AppEnvironment.h"
#include "harness/Scenario.h"
#include "harness/SimSession.h"

namespace tarvolo::scenario {

sim::SimDesktop& StepContext::desktop() { return session_.desktop(); }

AppEnvironment* StepContext::environment() {
  AppDelegate* delegate = session_.delegate();
  return delegate ? delegate->environment() : nullptr;
}

bool StepContext::appRunning(const std::string& bundleId) {
  const sim::SimAppSetup* listed = scenario_.app(bundleId);
  if (!listed) return false;
  const auto& apps = desktop().processes().apps();
  auto app = std::find_if(apps.begin(), apps.end(),
                          [&](const sim::SimAppSetup& candidate) { return candidate.bundleId == listed->bundleId; });
  return app != apps.end() && app->running;
}

}  // namespace tarvolo::scenario
