// The system's assessment mode, from the private MenuBarClientCore framework.
//
// OS quirks handled here:
// - The classes have no public headers: they are looked up by name and messaged through
//   objc_msgSend cast to the exact function type of each selector (a variadic call would pass
//   arguments wrongly on arm64), ownership attributes included for init.
// - The framework exists from macOS 27 on only; every step checks before it relies on it, and
//   a missing piece makes the whole engine unavailable rather than failing later.
// - The activation handler may arrive on any thread; it is moved to the main queue, and it is
//   dropped there when the assertion was invalidated (or its owner went away) meanwhile.

#include <dlfcn.h>
#include <objc/message.h>
#include <objc/runtime.h>

#include "platform/macos/MacBackend.h"

namespace tarvolo::platform::mac {

namespace {

constexpr const char* kFrameworkPath = "/System/Library/PrivateFrameworks/MenuBarClientCore.framework/MenuBarClientCore";

SEL configurationInitSelector() { return NSSelectorFromString(@"initWithAllowedSystemItems:allowedBundleIdentifiers:"); }
SEL activateSelector() { return NSSelectorFromString(@"activateWithConfiguration:completionHandler:"); }
SEL invalidateSelector() { return NSSelectorFromString(@"invalidate"); }

Class configurationClass() { return NSClassFromString(@"MBAssessmentModeConfiguration"); }
Class assertionClass() { return NSClassFromString(@"MBAssessmentModeAssertion"); }

// The state an activation's handler shares with its assertion; the handler holds it weakly.
struct ActivationState {
  bool invalidated = false;
};

class MacAssessmentModeAssertion final : public AssessmentModeAssertion {
 public:
  MacAssessmentModeAssertion(id assertion, id configuration)
      : assertion_(assertion), configuration_(configuration), state_(std::make_shared<ActivationState>()) {}
  ~MacAssessmentModeAssertion() override { invalidate(); }

  void activate(std::function<void(std::optional<std::string>)> completion) override {
    std::weak_ptr<ActivationState> weakState = state_;
    __block auto handler = std::move(completion);
    void (^reply)(NSError*) = ^(NSError* error) {
      std::optional<std::string> failure;
      if (error) failure = error.localizedDescription ? stdString(error.localizedDescription) : "activation failed";
      dispatch_async(dispatch_get_main_queue(), ^{
        auto state = weakState.lock();
        if (!state || state->invalidated || !handler) return;
        auto run = std::move(handler);
        handler = nullptr;
        run(failure);
      });
    };
    using Activate = void (*)(id, SEL, id, void (^)(NSError*));
    reinterpret_cast<Activate>(objc_msgSend)(assertion_, activateSelector(), configuration_, reply);
  }

  void invalidate() override {
    if (state_->invalidated) return;
    state_->invalidated = true;
    using Invalidate = void (*)(id, SEL);
    reinterpret_cast<Invalidate>(objc_msgSend)(assertion_, invalidateSelector());
  }

 private:
  id assertion_;
  id configuration_;
  std::shared_ptr<ActivationState> state_;
};

}  // namespace

bool MacAssessmentMode::loadFramework() {
  if (!loaded_) {
    // Kept open for the life of the process, as the classes are.
    handle_ = dlopen(kFrameworkPath, RTLD_NOW | RTLD_LOCAL);
    loaded_ = handle_ != nullptr;
  }
  return *loaded_;
}

bool MacAssessmentMode::classesAvailable() const {
  if (!loaded_.value_or(false)) return false;
  Class configuration = configurationClass();
  Class assertion = assertionClass();
  if (!configuration || !assertion || !object_isClass(configuration) || !object_isClass(assertion)) return false;
  return [configuration instancesRespondToSelector:configurationInitSelector()] &&
         [assertion instancesRespondToSelector:activateSelector()] &&
         [assertion instancesRespondToSelector:invalidateSelector()];
}

std::unique_ptr<AssessmentModeAssertion> MacAssessmentMode::createAssertion(
    const AssessmentModeConfiguration& configuration) {
  if (!classesAvailable()) return nullptr;
  NSMutableArray<NSNumber*>* systemItems = [NSMutableArray array];
  for (int item : configuration.allowedSystemItems) [systemItems addObject:[NSNumber numberWithInt:item]];
  NSMutableArray<NSString*>* bundles = [NSMutableArray array];
  for (const auto& bundle : configuration.allowedBundleIdentifiers) [bundles addObject:nsString(bundle)];

  // An init consumes the allocated object and returns a retained one, possibly another object
  // (having released the first): the function type says so, or ARC would release the
  // allocation once more and balance a result it did not own.
  typedef id __attribute__((ns_returns_retained)) (*Init)(__attribute__((ns_consumed)) id, SEL, id, id);
  id made = reinterpret_cast<Init>(objc_msgSend)([configurationClass() alloc], configurationInitSelector(), systemItems,
                                                 bundles);
  id assertion = [[assertionClass() alloc] init];
  if (!made || !assertion) return nullptr;
  return std::make_unique<MacAssessmentModeAssertion>(assertion, made);
}

}  // namespace tarvolo::platform::mac
