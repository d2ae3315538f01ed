#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/MainThreadChecker.h"
#include "base/Published.h"
#include "base/WeakHandle.h"
#include "base/WorkItem.h"
#include "native/SystemStatusPresentation.h"
#include "native/owners/VisibilityAssertionSession.h"
#include "platform/Platform.h"

namespace tarvolo {

class NotificationCenter;

// The system's hiding engine: hands the system an allow-list instead of lengthening separators.
// Loads the framework once, when created. One failure (refused, unanswered within the time-out,
// or accepted without effect on the bar) switches it off for the rest of the run and posts
// `nativeVisibilityAvailabilityDidChange`. A time-out is also remembered for the system build it
// happened on, so the next launches hide with separators at once instead of waiting for it again;
// the engine is tried again after a system update or `timeOutMemory`. Main thread only.
class NativeVisibilityEngine {
 public:
  // How long after a successful activation the bar is read to confirm the effect.
  static constexpr double effectCheckDelay = 0.4;
  // How long a remembered time-out keeps the engine off on the same system build.
  static constexpr double timeOutMemory = 7 * 24 * 3600;
  // {"build": the system build, "date": seconds since 1970} of the last time-out.
  static constexpr const char* timedOutKey = "com.ostrand.tarvolo.native.timedOut";

  struct Dependencies {
    platform::Platform& platform;
    NotificationCenter& defaultCenter;
  };

  explicit NativeVisibilityEngine(Dependencies dependencies);
  ~NativeVisibilityEngine();
  NativeVisibilityEngine(const NativeVisibilityEngine&) = delete;
  NativeVisibilityEngine& operator=(const NativeVisibilityEngine&) = delete;

  Published<bool> failedForSession{false};

  bool isAvailable() const;
  // Keeps the app itself, `allowedBundleIds` and the system's always-on bundles visible.
  // `completion` hears false at once when the engine is not available.
  void collapse(const std::vector<std::string>& allowedBundleIds, std::function<void(bool)> completion);
  void expand();

  NativeEngineState state() const;
  SystemStatusPresentation presentation() const { return SystemStatusPresentations::forState(state()); }
  // The list the system is asked to honour, sorted; absent when nothing is restricted.
  std::optional<std::vector<std::string>> allowList() const;

 private:
  VisibilityAssertionSession& session();
  // True when a time-out on this system build within `timeOutMemory` keeps the engine off.
  bool rememberedTimeOut() const;
  void sessionFailed(VisibilityAssertionSession::Failure failure);
  void activationFinished(bool success);
  // Reads, on a background queue, which running applications off the list the bar still
  // shows: one Accessibility round trip per application, which a hung one makes wait.
  void checkEffect(NativeVisibilityRequestState::Generation generation);
  void effectRead(NativeVisibilityRequestState::Generation generation, std::vector<std::string> outsiders);

  platform::Platform& platform_;
  NotificationCenter& defaultCenter_;
  bool frameworkLoaded_ = false;
  MainThreadChecker mainThread_;
  std::unique_ptr<VisibilityAssertionSession> session_;
  WorkItem effectCheck_;
  std::shared_ptr<platform::SerialQueue> effectQueue_;
  WeakHandleFactory<NativeVisibilityEngine> weakFactory_{this};
};

}  // namespace tarvolo
