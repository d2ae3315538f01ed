#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/MainThreadChecker.h"
#include "base/MainQueue.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "native/NativeVisibilityRequestState.h"
#include "native/owners/SystemVisibilityAssertion.h"
#include "platform/AssessmentMode.h"

namespace tarvolo {

// The live assertion and the allow-list it was asked for. A request for the list already held
// (in any order) activates nothing; a new list replaces the assertion. An activation that fails
// or stays unanswered for `activationTimeout` fails the session's request: the assertion is
// retired and the failure handler runs. Main thread only.
class VisibilityAssertionSession {
 public:
  static constexpr double activationTimeout = 5;

  struct Request {
    std::vector<std::string> bundleIDs;  // sorted
    NativeVisibilityRequestState::Generation generation = 0;
  };

  // Why a request failed: the engine remembers only a time-out, the one failure that costs the
  // user seconds of icons showing on every launch.
  enum class Failure { refused, timedOut, withoutEffect };

  VisibilityAssertionSession(platform::AssessmentMode& mode, MainQueue& queue,
                             std::function<void(Failure)> failureHandler);
  ~VisibilityAssertionSession();
  VisibilityAssertionSession(const VisibilityAssertionSession&) = delete;
  VisibilityAssertionSession& operator=(const VisibilityAssertionSession&) = delete;

  // `completion` hears whether the system holds the list: at once when it already does, else when
  // the activation answers, fails or times out, or when an expand supersedes it (false).
  void collapse(std::vector<std::string> allowedBundleIDs, std::function<void(bool)> completion);
  // Lifts every restriction; answers still on their way are ignored.
  void expand();
  // Fails generation `generation`'s request, if it is still the current one.
  void fail(NativeVisibilityRequestState::Generation generation, Failure failure);

  bool isActive() const { return active_; }
  bool isActivating() const { return assertion_ && !active_; }
  const NativeVisibilityRequestState& requestState() const { return state_; }
  const std::optional<Request>& currentRequest() const { return request_; }

 private:
  void activationAnswered(NativeVisibilityRequestState::Generation generation, bool success);
  std::unique_ptr<SystemVisibilityAssertion> detach();
  static void retire(std::unique_ptr<SystemVisibilityAssertion> assertion);
  void answerWaiters(bool success);

  platform::AssessmentMode& mode_;
  std::function<void(Failure)> failureHandler_;
  NativeVisibilityRequestState state_;
  std::optional<Request> request_;
  std::unique_ptr<SystemVisibilityAssertion> assertion_;
  bool active_ = false;
  MainThreadChecker mainThread_;
  std::vector<std::function<void(bool)>> waiters_;
  WorkItem timeout_;
  WeakHandleFactory<VisibilityAssertionSession> weakFactory_{this};
};

}  // namespace tarvolo
