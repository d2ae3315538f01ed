#include "statusbar/FrontmostTracker.h"

#include <cmath>

#include "base/Log.h"
#include "visibility/owners/CollapseEngine.h"

namespace tarvolo {

namespace {
constexpr double kCommitDelay = 1.0;
constexpr double kLengthTolerance = 1.0;
}  // namespace

FrontmostTracker::FrontmostTracker(Dependencies dependencies)
    : platform_(dependencies.platform),
      state_(dependencies.state),
      engine_(dependencies.engine),
      host_(dependencies.host),
      frontmostCommitWork_(dependencies.platform.mainQueue()) {
  if (auto app = platform_.workspace().frontmostApplication()) recorded_ = BundleID::from(app->bundleIdentifier);
}

void FrontmostTracker::noteFrontmostApplication(const platform::RunningApplication& app) {
  mainThread_.check();
  if (!app.bundleIdentifier) return;
  const BundleID bundle(*app.bundleIdentifier);
  if (bundle == BundleID(platform_.system().ownBundleIdentifier())) return;
  if (recorded_ == bundle) return;
  LogLine line("frontmost change");
  line.add("from", spellingOf(recorded_)).add("to", bundle.spelling());
  recorded_ = bundle;
  if (shelfShown()) {
    // Other menus end elsewhere: the always-hidden separator takes the new app's length and is
    // measured again.
    MenuBarLog::log(line.add("action", "shelf"));
    frontmostCommitWork_.schedule(kCommitDelay, bindWeak(weakFactory_.handle(), &FrontmostTracker::commit));
    return;
  }
  if (!barCollapsed()) {
    MenuBarLog::log(line.add("action", "expanded"));
    return;
  }
  const double length = engine_.collapseLength(bundle);
  auto inForce = engine_.presentedBar().lastAppliedNormalLength;
  if (inForce && std::fabs(*inForce - length) <= kLengthTolerance) {
    MenuBarLog::log(line.add("action", "ignore").add("length", length));
    return;
  }
  MenuBarLog::log(line.add("action", "debounce").add("length", length));
  frontmostCommitWork_.schedule(kCommitDelay, bindWeak(weakFactory_.handle(), &FrontmostTracker::commit));
}

void FrontmostTracker::commit() {
  if (!barCollapsed() && !shelfShown()) return;
  MenuBarLog::log(LogLine("frontmost commit").add("to", spellingOf(recorded_)));
  host_.commitFrontmostLength();
}

}  // namespace tarvolo
