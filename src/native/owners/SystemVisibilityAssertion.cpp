#include "native/owners/SystemVisibilityAssertion.h"

#include "base/Log.h"

namespace tarvolo {

namespace {
constexpr int kSystemItemCount = 64;
}  // namespace

std::vector<int> SystemVisibilityAssertion::allSystemItems() {
  std::vector<int> items;
  for (int index = 0; index < kSystemItemCount; ++index) items.push_back(index);
  return items;
}

std::unique_ptr<SystemVisibilityAssertion> SystemVisibilityAssertion::create(platform::AssessmentMode& mode,
                                                                             std::vector<std::string> allowedBundleIDs) {
  auto assertion = mode.createAssertion(
      {.allowedSystemItems = allSystemItems(), .allowedBundleIdentifiers = std::move(allowedBundleIDs)});
  if (!assertion) return nullptr;
  return std::unique_ptr<SystemVisibilityAssertion>(new SystemVisibilityAssertion(std::move(assertion)));
}

SystemVisibilityAssertion::SystemVisibilityAssertion(std::unique_ptr<platform::AssessmentModeAssertion> assertion)
    : assertion_(std::move(assertion)) {}

SystemVisibilityAssertion::~SystemVisibilityAssertion() { invalidate(); }

void SystemVisibilityAssertion::activate(std::function<void(bool)> completion) {
  mainThread_.check();
  assertion_->activate(
      [weak = weakFactory_.handle(), completion = std::move(completion)](std::optional<std::string> error) {
        auto* self = weak.get();
        // The owner is gone: its destructor has invalidated the assertion already.
        if (!self) return;
        self->activated(completion, error);
      });
}

void SystemVisibilityAssertion::activated(const std::function<void(bool)>& completion,
                                          const std::optional<std::string>& error) {
  mainThread_.check();
  MenuBarLog::log(LogLine("native activation completed").add("success", !error.has_value()));
  if (error) MenuBarLog::log(LogLine("native activation error").add("message", *error));
  if (invalidated_) return;
  auto done = completion;
  done(!error.has_value());
}

void SystemVisibilityAssertion::invalidate() {
  if (invalidated_) return;
  invalidated_ = true;
  assertion_->invalidate();
}

}  // namespace tarvolo
