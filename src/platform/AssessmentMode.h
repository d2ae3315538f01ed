#pragma once

// The system's assessment mode: an assertion that lets only an allow-list of applications (and
// the listed system items) show status items. The classes are private and looked up at run time,
// so a system may offer none of it.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvolo::platform {

struct AssessmentModeConfiguration {
  // The system's own items that stay allowed, by index.
  std::vector<int> allowedSystemItems;
  std::vector<std::string> allowedBundleIdentifiers;
};

// One assertion, created for one configuration. Invalidating it (or destroying it) lifts its
// restrictions; invalidating twice does nothing.
class AssessmentModeAssertion {
 public:
  virtual ~AssessmentModeAssertion() = default;
  // The completion runs on the main queue, once, with the system's error text when activation
  // failed; it never runs after `invalidate()`.
  virtual void activate(std::function<void(std::optional<std::string> error)> completion) = 0;
  virtual void invalidate() = 0;
};

class AssessmentMode {
 public:
  virtual ~AssessmentMode() = default;
  // Loads the framework; the first call decides, later calls return its answer.
  virtual bool loadFramework() = 0;
  // Both classes are there and answer every selector the assertion needs.
  virtual bool classesAvailable() const = 0;
  // Absent when the system refuses to make one.
  virtual std::unique_ptr<AssessmentModeAssertion> createAssertion(const AssessmentModeConfiguration& configuration) = 0;
};

}  // namespace tarvolo::platform
