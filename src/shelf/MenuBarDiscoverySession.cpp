#include "shelf/MenuBarDiscoverySession.h"

#include <algorithm>
#include <utility>

namespace tarvolo {

std::string_view MenuBarDiscoverySession::rawValue(Outcome outcome) {
  switch (outcome) {
    case Outcome::completed: return "completed";
    case Outcome::cancelled: return "cancelled";
    case Outcome::failed: return "failed";
    case Outcome::timedOut: return "timedOut";
  }
  return "completed";
}

MenuBarDiscoverySession::MenuBarDiscoverySession(Operations operations)
    : schedule_(std::move(operations.schedule)),
      reveal_(std::move(operations.reveal)),
      scan_(std::move(operations.scan)),
      finished_(std::move(operations.finished)),
      delays_(std::move(operations.delays)) {}

void MenuBarDiscoverySession::start(std::optional<std::vector<std::string>> owners) {
  if (isRunning_) return;
  isRunning_ = true;
  deadlineRun_ = ++step_;
  perOwner_ = owners.has_value();
  owners_ = owners.value_or(std::vector<std::string>{});
  std::sort(owners_.begin(), owners_.end());
  owners_.erase(std::unique(owners_.begin(), owners_.end()), owners_.end());
  ownerIndex_ = 0;
  const unsigned long long run = deadlineRun_;
  cancelDeadline_ = schedule_(perOwner_ ? perOwnerDeadline : plainDeadline, [this, run] {
    if (isRunning_ && deadlineRun_ == run) finish(Outcome::timedOut);
  });
  if (perOwner_) {
    nextOwner();
  } else {
    waitForScan(0);
  }
}

void MenuBarDiscoverySession::cancel() { finish(Outcome::cancelled); }

void MenuBarDiscoverySession::nextOwner() {
  if (!isRunning_) return;
  if (ownerIndex_ >= owners_.size()) {
    finish(Outcome::completed);
    return;
  }
  const std::string owner = owners_[ownerIndex_++];
  const unsigned long long token = ++step_;
  reveal_(owner, [this, token](bool revealed) {
    if (!isRunning_ || step_ != token) return;
    ++step_;
    if (revealed) {
      waitForScan(0);
    } else {
      finish(Outcome::failed);
    }
  });
}

void MenuBarDiscoverySession::waitForScan(std::size_t attempt) {
  const unsigned long long token = ++step_;
  if (attempt >= delays_.size()) return;
  cancelWait_ = schedule_(delays_[attempt], [this, token, attempt] {
    if (!isRunning_ || step_ != token) return;
    cancelWait_.reset();
    const unsigned long long scanToken = ++step_;
    scan_([this, scanToken, attempt] {
      if (!isRunning_ || step_ != scanToken) return;
      ++step_;
      if (attempt + 1 < delays_.size()) {
        waitForScan(attempt + 1);
      } else if (perOwner_) {
        nextOwner();
      } else {
        finish(Outcome::completed);
      }
    });
  });
}

void MenuBarDiscoverySession::finish(Outcome outcome) {
  if (!isRunning_) return;
  isRunning_ = false;
  owners_.clear();
  if (auto wait = std::exchange(cancelWait_, std::nullopt)) (*wait)();
  if (auto deadline = std::exchange(cancelDeadline_, std::nullopt)) (*deadline)();
  // Last: the receiver may start the next run or destroy the session.
  auto finished = finished_;
  finished(outcome);
}

}  // namespace tarvolo
