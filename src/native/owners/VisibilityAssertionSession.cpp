#include "native/owners/VisibilityAssertionSession.h"

#include "base/Log.h"

namespace tarvolo {

VisibilityAssertionSession::VisibilityAssertionSession(platform::AssessmentMode& mode, MainQueue& queue,
                                                       std::function<void(Failure)> failureHandler)
    : mode_(mode), failureHandler_(std::move(failureHandler)), timeout_(queue) {}

VisibilityAssertionSession::~VisibilityAssertionSession() { retire(detach()); }

void VisibilityAssertionSession::collapse(std::vector<std::string> allowedBundleIDs,
                                          std::function<void(bool)> completion) {
  mainThread_.check();
  auto generation = state_.request(std::move(allowedBundleIDs));
  if (!generation) {
    // The same list: it holds already, or its activation is still on its way (a list is only
    // ever current while its assertion lives; failing and expanding clear it).
    if (!completion) return;
    if (active_) {
      completion(true);
      return;
    }
    waiters_.push_back(std::move(completion));
    return;
  }
  // A new list: a fresh assertion replaces the old, whose waiters now wait for the new one.
  retire(detach());
  request_ = Request{.bundleIDs = *state_.allowList(), .generation = *generation};
  if (completion) waiters_.push_back(std::move(completion));
  assertion_ = SystemVisibilityAssertion::create(mode_, request_->bundleIDs);
  if (!assertion_) {
    MenuBarLog::log(LogLine("native assertion unavailable").add("generation", *generation));
    fail(*generation, Failure::refused);
    return;
  }
  MenuBarLog::log(LogLine("native activate")
                      .add("generation", *generation)
                      .add("allowed", static_cast<int>(request_->bundleIDs.size())));
  // The time-out is armed before activating, so an answer that arrives synchronously cancels it.
  const auto armed = *generation;
  timeout_.schedule(activationTimeout, [weak = weakFactory_.handle(), armed] {
    auto* self = weak.get();
    if (!self) return;
    MenuBarLog::log(LogLine("native activation timed out").add("generation", armed));
    self->fail(armed, Failure::timedOut);
  });
  assertion_->activate([weak = weakFactory_.handle(), armed](bool success) {
    if (auto* self = weak.get()) self->activationAnswered(armed, success);
  });
}

void VisibilityAssertionSession::activationAnswered(NativeVisibilityRequestState::Generation generation,
                                                    bool success) {
  mainThread_.check();
  if (!state_.accepts(generation, assertion_ != nullptr)) return;
  timeout_.cancel();
  if (!success) {
    fail(generation, Failure::refused);
    return;
  }
  active_ = true;
  answerWaiters(true);
}

void VisibilityAssertionSession::expand() {
  mainThread_.check();
  timeout_.cancel();
  retire(detach());
  state_.expand();
  request_.reset();
  answerWaiters(false);
}

void VisibilityAssertionSession::fail(NativeVisibilityRequestState::Generation generation, Failure failure) {
  mainThread_.check();
  if (!request_ || generation != state_.generation()) return;
  timeout_.cancel();
  state_.expand();
  request_.reset();
  retire(detach());
  // The handler may reach back into the session: run it on a moved copy.
  if (auto handler = failureHandler_) handler(failure);
  answerWaiters(false);
}

std::unique_ptr<SystemVisibilityAssertion> VisibilityAssertionSession::detach() {
  active_ = false;
  return std::move(assertion_);
}

void VisibilityAssertionSession::retire(std::unique_ptr<SystemVisibilityAssertion> assertion) {
  if (assertion) assertion->invalidate();
}

void VisibilityAssertionSession::answerWaiters(bool success) {
  auto waiters = std::move(waiters_);
  waiters_.clear();
  for (auto& waiter : waiters) waiter(success);
}

}  // namespace tarvolo
