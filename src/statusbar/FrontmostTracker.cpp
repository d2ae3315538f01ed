#include "statusbar/FrontmostTracker.h"

#include <cmath>

#include "base/Log.h"
#include "base/Text.h"

namespace tarvolo {

namespace {
constexpr double kCommitDelay = 1.0;
constexpr double kLengthTolerance = 1.0;
}  // namespace

FrontmostTracker::FrontmostTracker(platform::Platform& platform, Host& host)
    : platform_(platform), host_(host), frontmostCommitWork_(platform.mainQueue()) {
  if (auto app = platform_.workspace().frontmostApplication()) recorded_ = app->bundleIdentifier;
}

void FrontmostTracker::noteFrontmostApplication(const platform::RunningApplication& app) {
  const std::string bundle = app.bundleIdentifier.value_or("none");
  if (bundle == "none" || text::equalsIgnoringCase(bundle, platform_.system().ownBundleIdentifier())) return;
  if (recorded_ && *recorded_ == bundle) return;
  LogLine line("frontmost change");
  line.add("from", recorded_.value_or("none")).add("to", bundle);
  recorded_ = bundle;
  if (!host_.barCollapsed()) {
    MenuBarLog::log(line.add("action", "expanded"));
    return;
  }
  const double length = host_.collapseLength(bundle);
  auto inForce = host_.lastAppliedNormalLength();
  if (inForce && std::fabs(*inForce - length) <= kLengthTolerance) {
    MenuBarLog::log(line.add("action", "ignore").add("length", length));
    return;
  }
  MenuBarLog::log(line.add("action", "debounce").add("length", length));
  frontmostCommitWork_.schedule(kCommitDelay, bindWeak(weakFactory_.handle(), &FrontmostTracker::commit));
}

void FrontmostTracker::commit() {
  if (!host_.barCollapsed()) return;
  MenuBarLog::log(LogLine("frontmost commit").add("to", recorded_));
  host_.commitFrontmostLength();
}

}  // namespace tarvolo
