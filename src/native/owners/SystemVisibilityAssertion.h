#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/MainThreadChecker.h"
#include "base/WeakHandle.h"
#include "platform/AssessmentMode.h"

namespace tarvolo {

// One system assertion with its configuration: every system item stays allowed, and the given
// bundles. Destroying it invalidates it. Main thread only.
class SystemVisibilityAssertion {
 public:
  // The system items the configuration keeps allowed: all of them.
  static std::vector<int> allSystemItems();

  // Absent when the system makes no assertion.
  static std::unique_ptr<SystemVisibilityAssertion> create(platform::AssessmentMode& mode,
                                                           std::vector<std::string> allowedBundleIDs);
  ~SystemVisibilityAssertion();
  SystemVisibilityAssertion(const SystemVisibilityAssertion&) = delete;
  SystemVisibilityAssertion& operator=(const SystemVisibilityAssertion&) = delete;

  // `completion` runs on the main queue with whether the system accepted the assertion; never
  // once this object is gone (the assertion is invalidated with it).
  void activate(std::function<void(bool success)> completion);
  void invalidate();
  bool isInvalidated() const { return invalidated_; }

 private:
  explicit SystemVisibilityAssertion(std::unique_ptr<platform::AssessmentModeAssertion> assertion);
  void activated(const std::function<void(bool)>& completion, const std::optional<std::string>& error);

  std::unique_ptr<platform::AssessmentModeAssertion> assertion_;
  bool invalidated_ = false;
  MainThreadChecker mainThread_;
  WeakHandleFactory<SystemVisibilityAssertion> weakFactory_{this};
};

}  // namespace tarvolo
