#include "shelf/owners/ExternalMenuAccessSession.h"

#include "base/Log.h"
#include "shelf/owners/MenuVisibilityProbe.h"

namespace tarvolo {

using platform::EventType;

ExternalMenuAccessSession::ExternalMenuAccessSession(platform::Platform& platform, platform::AXElement item,
                                                     std::function<void()> onEnd)
    : platform_(platform),
      item_(std::move(item)),
      onEnd_(std::move(onEnd)),
      watchdog_(platform.mainQueue()),
      recheck_(platform.mainQueue()),
      checkQueue_(platform.makeSerialQueue(checkQueueLabel)) {
  auto& accessibility = platform_.accessibility();
  if (auto pid = accessibility.processID(item_)) {
    app_ = accessibility.applicationElement(*pid);
    accessibility.setMessagingTimeout(*app_, 0.1);
    observer_ = accessibility.makeObserver(
        *pid, [weak = weakFactory_.handle()](const platform::AXElement&, const std::string& name) {
          if (auto* self = weak.get()) self->notification(name);
        });
    if (observer_) {
      for (const auto* element : {&item_, &*app_}) {
        observer_->addNotification(*element, "AXMenuClosed");
        observer_->addNotification(*element, "AXUIElementDestroyed");
      }
    }
  }
  const platform::EventMask mask = EventType::leftMouseUp | EventType::rightMouseUp | EventType::keyUp;
  auto weak = weakFactory_.handle();
  monitor_ = platform_.events().addGlobalMonitor(mask, bindWeak(weak, &ExternalMenuAccessSession::input));
  localMonitor_ = platform_.events().addLocalMonitor(mask, [weak](const platform::Event& event) {
    if (auto* self = weak.get()) self->input(event);
    return std::optional<platform::Event>(event);
  });
  watchdog_.schedule(watchdogDelay, bindWeak(weak, &ExternalMenuAccessSession::stop));
}

ExternalMenuAccessSession::~ExternalMenuAccessSession() {
  // Teardown without the callback: the owner is going away.
  onEnd_ = nullptr;
  stop();
}

void ExternalMenuAccessSession::notification(const std::string& name) {
  if (name == "AXUIElementDestroyed") {
    stop();
    return;
  }
  checkAfterInteraction();
}

void ExternalMenuAccessSession::input(const platform::Event& event) {
  if (event.type == EventType::keyUp) {
    const auto code = event.keyCode.value_or(0);
    if (code != returnKeyCode && code != escapeKeyCode && code != enterKeyCode) return;
  }
  checkAfterInteraction();
}

void ExternalMenuAccessSession::checkAfterInteraction() {
  mainThread_.check();
  if (stopped_) return;
  auto weak = weakFactory_.handle();
  recheck_.schedule(recheckDelay, [this, weak] {
    if (!weak || stopped_) return;
    checkQueue_->post(0, [queue = checkQueue_, &accessibility = platform_.accessibility(), item = item_, app = app_,
                          weak] {
      const bool shown = visibleMenu(accessibility, item) || (app && visibleMenu(accessibility, *app));
      queue->postToMain([weak, shown] {
        if (auto* self = weak.get(); self && !shown) self->stop();
      });
    });
  });
}

void ExternalMenuAccessSession::stop() {
  if (stopped_) return;
  stopped_ = true;
  watchdog_.cancel();
  recheck_.cancel();
  observer_.reset();
  monitor_.reset();
  localMonitor_.reset();
  MenuBarLog::log("iconShelf menuSession ended");
  if (auto onEnd = std::exchange(onEnd_, nullptr)) onEnd();
}

}  // namespace tarvolo
