#include "permissions/AccessibilityPermission.h"

#include "base/Log.h"

namespace tarvolo {

AccessibilityPermission::AccessibilityPermission(Dependencies dependencies)
    : isTrusted(dependencies.platform.accessibility().isProcessTrusted()),
      platform_(dependencies.platform),
      poll_(dependencies.platform.mainQueue()) {
  becameActive_ = dependencies.defaultCenter.addObserver(
      Notifications::applicationDidBecomeActive,
      onMainQueue(platform_.mainQueue(), [call = bindWeak(weakFactory_.handle(), &AccessibilityPermission::recheck)](
                                             const Notification&) { call(); }));
  Diag::log(LogLine("accessibility").add("trusted", isTrusted.get()));
}

void AccessibilityPermission::recheck() {
  mainThread_.check();
  const bool trusted = platform_.accessibility().isProcessTrusted();
  if (trusted == isTrusted.get()) return;
  Diag::log(LogLine("accessibility changed").add("trusted", trusted));
  isTrusted = trusted;
}

void AccessibilityPermission::setAsking(std::string_view window, bool asking) {
  mainThread_.check();
  auto found = askers_.find(window);
  if (asking && found == askers_.end()) askers_.emplace(window);
  if (!asking && found != askers_.end()) askers_.erase(found);
  if (askers_.empty() || isTrusted.get()) {
    poll_.cancel();
  } else if (!poll_.isScheduled()) {
    poll_.schedule(askingPollInterval, bindWeak(weakFactory_.handle(), &AccessibilityPermission::poll));
  }
}

void AccessibilityPermission::poll() {
  recheck();
  if (askers_.empty() || isTrusted.get()) return;
  poll_.schedule(askingPollInterval, bindWeak(weakFactory_.handle(), &AccessibilityPermission::poll));
}

void AccessibilityPermission::requestAccess() {
  mainThread_.check();
  recheck();
  if (isTrusted.get()) return;
  if (promptsShown_ == 0) {
    ++promptsShown_;
    Diag::log(LogLine("accessibility request").add("via", "prompt"));
    isTrusted = platform_.accessibility().requestTrustWithPrompt();
    return;
  }
  const bool opened = platform_.workspace().openURL(settingsURL);
  Diag::log(LogLine("accessibility request").add("via", "settings").add("opened", opened));
}

}  // namespace tarvolo
