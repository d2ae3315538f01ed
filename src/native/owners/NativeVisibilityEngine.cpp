#include "native/owners/NativeVisibilityEngine.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "base/Text.h"
#include "base/vocabulary/OwnBundle.h"
#include "visibility/MenuBarVisibilityPolicy.h"

namespace tarvolo {

NativeVisibilityEngine::NativeVisibilityEngine(Dependencies dependencies)
    : platform_(dependencies.platform),
      defaultCenter_(dependencies.defaultCenter),
      effectCheck_(dependencies.platform.mainQueue()) {
  frameworkLoaded_ = platform_.assessmentMode().loadFramework();
  MenuBarLog::log(LogLine("native engine")
                      .add("framework", frameworkLoaded_)
                      .add("classes", frameworkLoaded_ && platform_.assessmentMode().classesAvailable()));
  if (frameworkLoaded_ && platform_.assessmentMode().classesAvailable() && rememberedTimeOut()) {
    failedForSession = true;
  }
}

bool NativeVisibilityEngine::rememberedTimeOut() const {
  auto stored = platform_.defaults().object(timedOutKey);
  if (!stored) return false;
  const auto* record = stored->asDictionary();
  auto field = [record](const char* name) -> const DefaultsValue* {
    if (!record) return nullptr;
    auto found = record->find(name);
    return found == record->end() ? nullptr : &found->second;
  };
  const std::string* build = field("build") ? field("build")->asString() : nullptr;
  std::optional<double> date = field("date") ? field("date")->asDouble() : std::nullopt;
  if (!build || !date) {
    // Left in place: the next time-out overwrites it, nothing else reads it.
    MenuBarLog::log(LogLine("native time-out record unreadable; engine tried"));
    return false;
  }
  const auto current = platform_.system().osBuildVersion();
  const double age = platform_.clock().currentDate() - *date;
  // A clock set back makes the age negative; bounded both ways, a wrong clock cannot keep the
  // engine off for longer than a week either.
  if (!current || *current != *build || std::abs(age) >= timeOutMemory) {
    MenuBarLog::log(LogLine("native time-out record expired; engine tried")
                        .add("build", *build)
                        .add("days", static_cast<int>(age / (24 * 3600))));
    return false;
  }
  MenuBarLog::log(LogLine("native engine skipped: timed out before on this system").add("build", *build));
  return true;
}

NativeVisibilityEngine::~NativeVisibilityEngine() = default;

bool NativeVisibilityEngine::isAvailable() const {
  return frameworkLoaded_ && platform_.assessmentMode().classesAvailable() && !failedForSession.get();
}

VisibilityAssertionSession& NativeVisibilityEngine::session() {
  if (!session_) {
    session_ = std::make_unique<VisibilityAssertionSession>(platform_.assessmentMode(), platform_.mainQueue(),
                                                            [weak = weakFactory_.handle()](auto failure) {
                                                              if (auto* self = weak.get()) self->sessionFailed(failure);
                                                            });
  }
  return *session_;
}

void NativeVisibilityEngine::collapse(const std::vector<std::string>& allowedBundleIds,
                                      std::function<void(bool)> completion) {
  mainThread_.check();
  if (!isAvailable()) {
    if (completion) completion(false);
    return;
  }
  std::string own = platform_.system().ownBundleIdentifier();
  std::vector<std::string> list;
  std::set<std::string> seen;
  // The system reads the list as a set: each bundle once, whatever its case.
  auto add = [&](std::string id) {
    if (seen.insert(text::lowercased(id)).second) list.push_back(std::move(id));
  };
  add(own.empty() ? std::string(ownBundleID) : own);
  for (const auto& id : allowedBundleIds) add(id);
  for (auto id : MenuBarVisibilityPolicy::alwaysOnSystemBundleIDs) add(std::string(id));
  session().collapse(std::move(list), [weak = weakFactory_.handle(), completion = std::move(completion)](bool success) {
    if (auto* self = weak.get()) self->activationFinished(success);
    if (completion) completion(success);
  });
}

void NativeVisibilityEngine::expand() {
  mainThread_.check();
  effectCheck_.cancel();
  if (session_) session_->expand();
}

void NativeVisibilityEngine::activationFinished(bool success) {
  mainThread_.check();
  if (!success || !session_ || !session_->isActive()) return;
  // The engine answers on this system again: whatever timed out before is forgotten.
  if (platform_.defaults().contains(timedOutKey)) platform_.defaults().remove(timedOutKey);
  effectCheck_.schedule(effectCheckDelay, bindWeak(weakFactory_.handle(), &NativeVisibilityEngine::checkEffect,
                                                   session_->requestState().generation()));
}

// A success reply does not prove an effect: read the bar, and treat a list the system ignores
// like a failed activation.
void NativeVisibilityEngine::checkEffect(NativeVisibilityRequestState::Generation generation) {
  mainThread_.check();
  if (!session_ || !session_->isActive() || session_->requestState().generation() != generation) return;
  auto list = allowList();
  if (!list || !platform_.accessibility().isProcessTrusted()) return;
  std::set<std::string> allowed;
  for (const auto& id : *list) allowed.insert(text::lowercased(id));
  std::vector<std::pair<int, std::string>> targets;
  for (const auto& app : platform_.workspace().runningApplications()) {
    if (!app.bundleIdentifier || allowed.contains(text::lowercased(*app.bundleIdentifier))) continue;
    targets.emplace_back(app.pid, *app.bundleIdentifier);
  }
  if (targets.empty()) return;
  if (!effectQueue_) effectQueue_ = platform_.makeSerialQueue("effect check");
  effectQueue_->post(0, [queue = effectQueue_, &accessibility = platform_.accessibility(), targets = std::move(targets),
                         done = bindWeak(weakFactory_.handle(), &NativeVisibilityEngine::effectRead, generation)] {
    std::vector<std::string> outsiders;
    for (const auto& [pid, bundleId] : targets) {
      auto items = accessibility.extrasMenuBarItems(pid);
      const bool shows = items && std::any_of(items->begin(), items->end(), [](const auto& item) {
                           return item.frame && item.frame->width > 0;
                         });
      if (shows) outsiders.push_back(bundleId);
    }
    queue->postToMain([done, outsiders = std::move(outsiders)]() mutable { done(std::move(outsiders)); });
  });
}

void NativeVisibilityEngine::effectRead(NativeVisibilityRequestState::Generation generation,
                                        std::vector<std::string> outsiders) {
  mainThread_.check();
  // Expanded or collapsed anew while the read ran: this reading is of another request.
  if (!session_ || !session_->isActive() || session_->requestState().generation() != generation) return;
  if (outsiders.empty()) return;
  MenuBarLog::log(LogLine("native activation without effect")
                      .add("visible", static_cast<int>(outsiders.size()))
                      .add("first", outsiders.front()));
  session_->fail(generation, VisibilityAssertionSession::Failure::withoutEffect);
}

void NativeVisibilityEngine::sessionFailed(VisibilityAssertionSession::Failure failure) {
  mainThread_.check();
  effectCheck_.cancel();
  MenuBarLog::log(LogLine("native activation failed or timed out; restrictions released"));
  if (failure == VisibilityAssertionSession::Failure::timedOut) {
    if (auto build = platform_.system().osBuildVersion()) {
      platform_.defaults().set(timedOutKey, DefaultsValue::Dictionary{{"build", *build},
                                                                      {"date", platform_.clock().currentDate()}});
    }
  }
  failedForSession = true;
  defaultCenter_.post(Notifications::nativeVisibilityAvailabilityDidChange);
}

NativeEngineState NativeVisibilityEngine::state() const {
  if (failedForSession.get()) return NativeEngineState::failed;
  if (!isAvailable()) return NativeEngineState::unsupported;
  if (!session_) return NativeEngineState::ready;
  if (session_->isActive()) return NativeEngineState::active;
  if (session_->isActivating()) return NativeEngineState::activating;
  return NativeEngineState::ready;
}

std::optional<std::vector<std::string>> NativeVisibilityEngine::allowList() const {
  if (!session_) return std::nullopt;
  return session_->requestState().allowList();
}

}  // namespace tarvolo
