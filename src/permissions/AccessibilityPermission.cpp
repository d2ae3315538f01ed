#include "permissions/AccessibilityPermission.h"

#include "base/Log.h"

namespace tarvolo {

AccessibilityPermission::AccessibilityPermission(Dependencies dependencies)
    : isTrusted(dependencies.platform.accessibility().isProcessTrusted()), platform_(dependencies.platform) {
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
