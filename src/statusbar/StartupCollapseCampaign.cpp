#include "statusbar/StartupCollapseCampaign.h"

#include <array>

#include "base/Log.h"

namespace tarvolo {

namespace {
constexpr std::array<double, 4> kStartupCollapseRetryDelays = {0.2, 0.5, 1.0, 2.0};
}  // namespace

StartupCollapseCampaign::StartupCollapseCampaign(MainQueue& queue, Host& host)
    : queue_(queue), host_(host), startupCollapseRetryWork_(queue) {}

// The campaign retries for the reason the first collapse was withheld, or for start-up.
std::string StartupCollapseCampaign::retryReason() const {
  return std::string(startupCollapseWithheldReason_ ? rawValue(*startupCollapseWithheldReason_)
                                                    : rawValue(CollapseReason::startup));
}

void StartupCollapseCampaign::beginIfNeeded() {
  mainThread_.check();
  const std::string reason = retryReason();
  startupCollapseWithheldReason_.reset();
  if (startupCollapsePending_ || !host_.startupCollapseMayRun() || !host_.showsEverything()) return;
  startupCollapseRetryAttempt_ = 0;
  startupCollapsePending_ = true;
  scheduleStartupCollapseRetry(reason);
}

void StartupCollapseCampaign::scheduleStartupCollapseRetry(const std::string& reason) {
  if (!startupCollapsePending_) return;
  const int attempt = startupCollapseRetryAttempt_;
  if (attempt >= static_cast<int>(kStartupCollapseRetryDelays.size())) {
    startupCollapsePending_ = false;
    MenuBarLog::log(LogLine("collapse retry gave up").add("reason", reason));
    if (!host_.readAlwaysVisibleAnchor().has_value() && host_.startupCollapseMayRun()) {
      host_.collapseBar(CollapseReason::startup);
    }
    if (host_.showsEverything()) host_.startupCollapseGaveUp();
    return;
  }
  startupCollapseRetryWork_.schedule(kStartupCollapseRetryDelays[static_cast<std::size_t>(attempt)],
                                     bindWeak(weakFactory_.handle(),
                                              &StartupCollapseCampaign::performStartupCollapseRetry, reason));
}

void StartupCollapseCampaign::performStartupCollapseRetry(const std::string& reason) {
  if (!startupCollapsePending_) return;
  ++startupCollapseRetryAttempt_;
  MenuBarLog::log(LogLine("collapse retry").add("reason", reason).add("attempt", startupCollapseRetryAttempt_));
  if (!host_.startupCollapseMayRun()) {
    cancelStartupCollapseRetry();
    return;
  }
  if (host_.readAlwaysVisibleAnchor() == true) {
    startupCollapseRetryWork_.cancel();
    host_.collapseBar(CollapseReason::startup);
    if (host_.showsEverything() && host_.startupCollapseMayRun()) {
      scheduleStartupCollapseRetry(reason);
      return;
    }
    startupCollapsePending_ = false;
    startupCollapseWithheldReason_.reset();
    return;
  }
  scheduleStartupCollapseRetry(reason);
}

void StartupCollapseCampaign::startupCollapseFramesReady() {
  mainThread_.check();
  if (!startupCollapsePending_ || !host_.startupCollapseMayRun()) return;
  if (host_.readAlwaysVisibleAnchor() != true) return;
  startupCollapseRetryWork_.cancel();
  queue_.post(0, bindWeak(weakFactory_.handle(), &StartupCollapseCampaign::performStartupCollapseRetry, retryReason()));
}

void StartupCollapseCampaign::cancelStartupCollapseRetry() {
  mainThread_.check();
  startupCollapsePending_ = false;
  startupCollapseWithheldReason_.reset();
  startupCollapseRetryWork_.cancel();
}

}  // namespace tarvolo
