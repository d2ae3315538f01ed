#include "ui/UpdateController.h"

#include <algorithm>

#include "base/Log.h"
#include "base/PlainText.h"
#include "localization/LocalizationManager.h"
#include "localization/StringFormat.h"
#include "platform/windows/UserInterface.h"

namespace tarvolo {

using platform::UpdateAction;
using platform::UpdateCheckKind;
using platform::UpdateChoice;
using platform::UpdatePhase;
using platform::UpdateWindowFocus;

namespace {

// The phases in which the framework works or waits for an answer; the others only show how a
// session ended, until the user closes the window.
bool frameworkDrives(UpdatePhase phase) {
  switch (phase) {
    case UpdatePhase::checking:
    case UpdatePhase::available:
    case UpdatePhase::downloading:
    case UpdatePhase::preparing:
    case UpdatePhase::readyToInstall:
    case UpdatePhase::installing: return true;
    case UpdatePhase::upToDate:
    case UpdatePhase::failed:
    case UpdatePhase::complete: return false;
  }
  return false;
}

UpdateWindowFocus focusFor(bool userAsked) { return userAsked ? UpdateWindowFocus::take : UpdateWindowFocus::leave; }

}  // namespace

UpdateController::UpdateController(Dependencies dependencies)
    : platform_(dependencies.platform),
      localization_(dependencies.localization),
      coachRunning_(std::move(dependencies.coachRunning)),
      backgroundWork_(dependencies.platform.mainQueue()) {
  auto refresh = bindWeak(weakFactory_.handle(), &UpdateController::refresh);
  cancellables_.push_back(dependencies.defaultCenter.addObserver(
      Notifications::appLanguageDidChange, [refresh](const Notification&) { refresh(); }));
}

UpdateController::~UpdateController() {
  backgroundWork_.cancel();
  if (started_) platform_.updater().stop();
  closeWindow();
}

std::string UpdateController::tr(std::string_view key) const { return localization_.tr(key); }

// --- settings ------------------------------------------------------------------------------------

void UpdateController::logUnreadable(std::string_view key) const {
  if (!unreadableLogged_.insert(std::string(key)).second) return;
  Diag::log(LogLine("update setting unreadable").add("key", key));
}

bool UpdateController::automaticChecks() const {
  const auto& defaults = platform_.defaults();
  if (!defaults.contains(automaticChecksKey)) return true;
  if (auto on = defaults.getBool(automaticChecksKey)) return *on;
  // Checking is what a user who never chose gets; the stored value stays for them to fix.
  logUnreadable(automaticChecksKey);
  return true;
}

void UpdateController::setAutomaticChecks(bool on) {
  mainThread_.check();
  platform_.defaults().set(automaticChecksKey, DefaultsValue(on));
  Diag::log(LogLine("update automatic checks").add("on", on));
  if (!on) {
    backgroundWork_.cancel();
    return;
  }
  if (started_) {
    const double now = platform_.clock().currentDate();
    scheduleBackgroundCheck(std::max(UpdatePolicy::launchDelay, UpdatePolicy::secondsUntilDue(lastCheck(), now)));
  }
}

std::optional<double> UpdateController::lastCheck() const {
  const auto& defaults = platform_.defaults();
  if (!defaults.contains(lastCheckKey)) return std::nullopt;
  if (auto date = defaults.getDouble(lastCheckKey)) return date;
  // Counts as never checked; the next check writes a good date over it.
  logUnreadable(lastCheckKey);
  return std::nullopt;
}

std::optional<std::string> UpdateController::skippedVersion() const {
  const auto& defaults = platform_.defaults();
  if (!defaults.contains(skippedVersionKey)) return std::nullopt;
  auto version = defaults.getString(skippedVersionKey);
  if (version && !version->empty()) return version;
  logUnreadable(skippedVersionKey);
  return std::nullopt;
}

std::optional<std::string> UpdateController::pendingVersion() const {
  const auto& defaults = platform_.defaults();
  if (!defaults.contains(pendingVersionKey)) return std::nullopt;
  auto version = defaults.getString(pendingVersionKey);
  if (version && !version->empty()) return version;
  logUnreadable(pendingVersionKey);
  return std::nullopt;
}

// --- start and the schedule ------------------------------------------------------------------------

void UpdateController::start() {
  mainThread_.check();
  auto& updater = platform_.updater();
  // An app built without the framework has no updater, and says nothing of one.
  if (started_ || !updater.loadFramework()) return;
  if (auto problem = updater.start(*this)) {
    Diag::log(LogLine("updater unavailable").add("reason", *problem));
    return;
  }
  started_ = true;
  Diag::log(LogLine("updater started").add("version", updater.installedVersion()).add("automatic", automaticChecks()));
  confirmLastRunsUpdate();
  if (!automaticChecks()) return;
  const double now = platform_.clock().currentDate();
  scheduleBackgroundCheck(std::max(UpdatePolicy::launchDelay, UpdatePolicy::secondsUntilDue(lastCheck(), now)));
}

void UpdateController::confirmLastRunsUpdate() {
  auto pending = pendingVersion();
  if (!pending) return;
  platform_.defaults().remove(pendingVersionKey);
  const std::string running = platform_.updater().installedVersion();
  if (UpdatePolicy::compareVersions(running, *pending) < 0) {
    // The installer gave up after the app had quit; only now can anyone say so.
    Diag::log(LogLine("update not installed").add("version", *pending).add("running", running));
    error_ = platform::UpdateError{.failure = platform::UpdateFailure::installation};
    phase_ = UpdatePhase::failed;
    showWindow(UpdateWindowFocus::leave);
    return;
  }
  Diag::log(LogLine("update installed").add("version", running));
  completedVersion_ = running;
  phase_ = UpdatePhase::complete;
  showWindow(UpdateWindowFocus::leave);
}

void UpdateController::scheduleBackgroundCheck(double delay) {
  backgroundWork_.schedule(delay, bindWeak(weakFactory_.handle(), &UpdateController::backgroundCheckDue));
}

void UpdateController::backgroundCheckDue() {
  const double now = platform_.clock().currentDate();
  const auto verdict = UpdatePolicy::backgroundVerdict({
      .now = now,
      .automaticChecks = automaticChecks(),
      .coachRunning = coachRunning_ && coachRunning_(),
      .sessionRunning = phase_.has_value() || frameworkSession_,
      .lastCheck = lastCheck(),
  });
  switch (verdict) {
    case UpdatePolicy::Verdict::check:
      beginCheck(UpdateCheckKind::background);
      scheduleBackgroundCheck(UpdatePolicy::checkInterval);
      return;
    case UpdatePolicy::Verdict::switchedOff: return;
    case UpdatePolicy::Verdict::coachRunning:
    case UpdatePolicy::Verdict::busy:
      Diag::log(LogLine("update check postponed").add("reason", UpdatePolicy::rawValue(verdict)));
      scheduleBackgroundCheck(UpdatePolicy::coachRetryDelay);
      return;
    case UpdatePolicy::Verdict::notDue: scheduleBackgroundCheck(UpdatePolicy::secondsUntilDue(lastCheck(), now)); return;
  }
}

void UpdateController::beginCheck(UpdateCheckKind kind) {
  platform_.defaults().set(lastCheckKey, DefaultsValue(platform_.clock().currentDate()));
  userAsked_ = kind == UpdateCheckKind::user;
  windowWanted_ = false;
  offer_.reset();
  skippedNote_.reset();
  error_.reset();
  phase_ = UpdatePhase::checking;
  Diag::log(LogLine("update check").add("kind", platform::rawValue(kind)));
  if (userAsked_) showWindow(UpdateWindowFocus::take);
  if (frameworkSession_) {
    queuedCheck_ = kind;
    return;
  }
  frameworkSession_ = true;
  platform_.updater().check(kind);
}

void UpdateController::checkNow() {
  mainThread_.check();
  if (!started_) return;
  if (phase_ && frameworkDrives(*phase_)) {
    // A background check the user now waits for ends in a window, whatever it finds.
    userAsked_ = true;
    showWindow(UpdateWindowFocus::take);
    return;
  }
  // How the last session ended is old news once the user asks again.
  if (phase_) {
    finish();
    platform_.updater().acknowledge();
  }
  beginCheck(UpdateCheckKind::user);
}

// --- what the framework reports ----------------------------------------------------------------------

void UpdateController::updateCheckStarted() {
  frameworkSession_ = true;
  if (!phase_) phase_ = UpdatePhase::checking;
  refresh();
}

void UpdateController::updateFound(const platform::UpdateOffer& offer) {
  frameworkSession_ = true;
  const bool offered = UpdatePolicy::isOffered(offer.version, skippedVersion());
  Diag::log(LogLine("update found").add("version", offer.version).add("offered", offered));
  if (!offered) {
    if (userAsked_) {
      skippedNote_ = offer.version;
      phase_ = UpdatePhase::upToDate;
      showWindow(UpdateWindowFocus::take);
    } else {
      finish();
    }
    platform_.updater().answer(UpdateChoice::later);
    return;
  }
  offer_ = offer;
  // Feeds write their notes as HTML; the window shows text.
  offer_->releaseNotes = text::plainFromMarkup(offer.releaseNotes);
  phase_ = UpdatePhase::available;
  showWindow(focusFor(userAsked_));
}

void UpdateController::releaseNotesLoaded(const std::string& text) {
  if (!offer_) return;
  offer_->releaseNotes = text::plainFromMarkup(text);
  refresh();
}

void UpdateController::updateNotFound() {
  Diag::log(LogLine("update check").add("found", "none"));
  if (!userFollows()) {
    finish();
    platform_.updater().acknowledge();
    return;
  }
  phase_ = UpdatePhase::upToDate;
  showWindow(focusFor(userAsked_));
}

void UpdateController::downloadStarted() {
  Diag::log(LogLine("update download started").add("version", offer_ ? offer_->version : std::string()));
  phase_ = UpdatePhase::downloading;
  receivedBytes_ = 0;
  expectedBytes_ = offer_ && offer_->size ? *offer_->size : 0;
  refresh();
}

void UpdateController::downloadExpectedLength(std::uint64_t bytes) {
  expectedBytes_ = bytes;
  refresh();
}

void UpdateController::downloadReceived(std::uint64_t bytes) {
  receivedBytes_ += bytes;
  refresh();
}

void UpdateController::extractionStarted() {
  Diag::log(LogLine("update downloaded").add("bytes", receivedBytes_));
  phase_ = UpdatePhase::preparing;
  extraction_.reset();
  refresh();
}

void UpdateController::extractionProgress(double fraction) {
  extraction_ = std::clamp(fraction, 0.0, 1.0);
  refresh();
}

void UpdateController::readyToInstall() {
  const std::string version = offer_ ? offer_->version : std::string();
  Diag::log(LogLine("update ready").add("version", version));
  // From here on the framework may install when the app quits; the next launch says whether it did.
  if (!version.empty()) platform_.defaults().set(pendingVersionKey, DefaultsValue(version));
  phase_ = UpdatePhase::readyToInstall;
  showWindow(UpdateWindowFocus::leave);
}

void UpdateController::installing(bool applicationTerminated) {
  Diag::log(LogLine("update installing").add("relaunch", !applicationTerminated));
  phase_ = UpdatePhase::installing;
  refresh();
}

void UpdateController::installed(bool relaunched) {
  completedVersion_ = offer_ ? offer_->version : platform_.updater().installedVersion();
  Diag::log(LogLine("update installed").add("version", completedVersion_).add("relaunched", relaunched));
  platform_.defaults().remove(pendingVersionKey);
  phase_ = UpdatePhase::complete;
  showWindow(UpdateWindowFocus::leave);
}

void UpdateController::failed(const platform::UpdateError& error) {
  Diag::log(LogLine("update failed")
                .add("reason", platform::rawValue(error.failure))
                .add("detail", error.detail.empty() ? std::optional<std::string>() : error.detail));
  if (pendingVersion()) platform_.defaults().remove(pendingVersionKey);
  // A check of the app's own that nobody watches fails quietly; the next one tries again.
  if (phase_ == UpdatePhase::checking && !userFollows()) {
    finish();
    platform_.updater().acknowledge();
    return;
  }
  error_ = error;
  phase_ = UpdatePhase::failed;
  showWindow(focusFor(userAsked_));
}

void UpdateController::focusRequested() {
  if (phase_) showWindow(UpdateWindowFocus::take);
}

void UpdateController::dismissed() {
  frameworkSession_ = false;
  if (queuedCheck_) {
    const UpdateCheckKind kind = *queuedCheck_;
    queuedCheck_.reset();
    frameworkSession_ = true;
    platform_.updater().check(kind);
    return;
  }
  if (!phase_ || !frameworkDrives(*phase_)) return;
  Diag::log(LogLine("update ended").add("phase", platform::rawValue(*phase_)));
  finish();
}

// --- the user's answers ----------------------------------------------------------------------------

void UpdateController::press(UpdateAction action) {
  mainThread_.check();
  if (!phase_) return;
  const UpdatePhase phase = *phase_;
  auto& updater = platform_.updater();
  auto answered = [&](std::string_view choice) {
    Diag::log(LogLine("update answered")
                  .add("choice", choice)
                  .add("version", offer_ ? offer_->version : std::string()));
  };
  // Each case acts only where the window offers that button. The state changes before the
  // framework hears of it: its answer may report back at once.
  switch (action) {
    case UpdateAction::install:
      if (phase != UpdatePhase::available) return;
      answered("install");
      phase_ = UpdatePhase::downloading;
      receivedBytes_ = 0;
      expectedBytes_ = offer_ && offer_->size ? *offer_->size : 0;
      refresh();
      updater.answer(UpdateChoice::install);
      return;
    case UpdateAction::later:
      if (phase != UpdatePhase::available && phase != UpdatePhase::readyToInstall) return;
      answered("later");
      finish();
      updater.answer(UpdateChoice::later);
      return;
    case UpdateAction::skip:
      if (phase != UpdatePhase::available || !offer_) return;
      answered("skip");
      platform_.defaults().set(skippedVersionKey, DefaultsValue(offer_->version));
      finish();
      updater.answer(UpdateChoice::skip);
      return;
    case UpdateAction::cancel:
      if (phase != UpdatePhase::checking && phase != UpdatePhase::downloading) return;
      Diag::log(LogLine("update cancelled").add("phase", platform::rawValue(phase)));
      finish();
      updater.cancel();
      return;
    case UpdateAction::installAndRelaunch:
      if (phase != UpdatePhase::readyToInstall) return;
      answered("install-and-relaunch");
      phase_ = UpdatePhase::installing;
      refresh();
      updater.answer(UpdateChoice::install);
      return;
    case UpdateAction::close:
      if (frameworkDrives(phase)) return;
      finish();
      updater.acknowledge();
      return;
  }
}

void UpdateController::windowClosed() {
  mainThread_.check();
  if (auto action = cancelAction()) {
    press(*action);
    return;
  }
  // Preparing or installing goes on by itself; the window comes back when it needs the user.
  windowWanted_ = false;
}

std::optional<UpdateAction> UpdateController::cancelAction() const {
  if (!phase_) return std::nullopt;
  switch (*phase_) {
    case UpdatePhase::checking:
    case UpdatePhase::downloading: return UpdateAction::cancel;
    case UpdatePhase::available:
    case UpdatePhase::readyToInstall: return UpdateAction::later;
    case UpdatePhase::upToDate:
    case UpdatePhase::failed:
    case UpdatePhase::complete: return UpdateAction::close;
    case UpdatePhase::preparing:
    case UpdatePhase::installing: return std::nullopt;
  }
  return std::nullopt;
}

// --- the window ----------------------------------------------------------------------------------

bool UpdateController::isWindowShown() const { return platform_.userInterface().updateWindow().isShown(); }

void UpdateController::showWindow(UpdateWindowFocus focus) {
  windowWanted_ = true;
  auto weak = weakFactory_.handle();
  platform_.userInterface().updateWindow().show(viewState(),
                                                platform::UpdateWindowCallbacks{
                                                    .press = bindWeak(weak, &UpdateController::press),
                                                    .closed = bindWeak(weak, &UpdateController::windowClosed),
                                                },
                                                focus);
}

void UpdateController::refresh() {
  auto& window = platform_.userInterface().updateWindow();
  if (phase_ && windowWanted_ && window.isShown()) window.update(viewState());
}

void UpdateController::closeWindow() {
  auto& window = platform_.userInterface().updateWindow();
  if (window.isShown()) window.close();
}

void UpdateController::finish() {
  phase_.reset();
  userAsked_ = false;
  windowWanted_ = false;
  offer_.reset();
  skippedNote_.reset();
  error_.reset();
  extraction_.reset();
  receivedBytes_ = 0;
  expectedBytes_ = 0;
  closeWindow();
}

std::string UpdateController::versionLine() const {
  const std::string installed = platform_.updater().installedVersion();
  if (!offer_) return formatText(tr("update.you_have"), {installed});
  std::string line = formatText(tr("update.version_line"), {offer_->version, installed});
  if (offer_->size) {
    const auto code = localization_.effectiveLanguageCode();
    line += " · " + formatText(tr("update.megabytes"), {UpdatePolicy::megabytes(*offer_->size, code)});
  }
  return line;
}

std::optional<std::string> UpdateController::failureReason() const {
  if (!error_) return std::nullopt;
  switch (error_->failure) {
    case platform::UpdateFailure::feedUnreachable: return tr("update.error.feed");
    case platform::UpdateFailure::download: return tr("update.error.download");
    case platform::UpdateFailure::downloadIncomplete: return tr("update.error.interrupted");
    case platform::UpdateFailure::signature: return tr("update.error.signature");
    case platform::UpdateFailure::installation: return tr("update.error.install");
    case platform::UpdateFailure::other: break;
  }
  // The framework words what only it knows, in the system's language.
  if (error_->detail.empty()) return std::nullopt;
  return error_->detail;
}

platform::UpdateViewState UpdateController::viewState() const {
  platform::UpdateViewState state;
  state.windowTitle = tr("update.title");
  state.phase = phase_.value_or(UpdatePhase::checking);
  state.cancelAction = cancelAction();
  const auto code = localization_.effectiveLanguageCode();
  auto button = [this](UpdateAction action, std::string_view key) {
    return platform::UpdateButton{.action = action, .title = tr(key)};
  };
  switch (state.phase) {
    case UpdatePhase::checking:
      state.message = tr("update.checking");
      state.progress = platform::UpdateProgress{.label = tr("update.checking")};
      state.buttons = {button(UpdateAction::cancel, "update.cancel")};
      break;
    case UpdatePhase::upToDate:
      state.message = tr("update.current");
      state.detail = skippedNote_ ? formatText(tr("update.skipped"), {*skippedNote_}) : versionLine();
      state.buttons = {button(UpdateAction::close, "update.close")};
      state.defaultAction = UpdateAction::close;
      break;
    case UpdatePhase::available:
      state.message = tr("update.available");
      state.detail = versionLine();
      if (offer_ && !offer_->releaseNotes.empty()) {
        state.notesTitle = tr("update.notes");
        state.notes = offer_->releaseNotes;
      }
      state.buttons = {button(UpdateAction::skip, "update.skip"), button(UpdateAction::later, "update.later"),
                       button(UpdateAction::install, "update.install_update")};
      state.defaultAction = UpdateAction::install;
      break;
    case UpdatePhase::downloading: {
      state.message = tr("update.downloading");
      const std::string received = UpdatePolicy::megabytes(receivedBytes_, code);
      platform::UpdateProgress progress{.label = tr("update.download")};
      if (expectedBytes_ > 0) {
        const std::string total = UpdatePolicy::megabytes(expectedBytes_, code);
        state.detail = formatText(tr("update.megabytes"),
                                  {formatText(tr("update.progress"), {received, total})});
        progress.fraction = std::min(1.0, static_cast<double>(receivedBytes_) / static_cast<double>(expectedBytes_));
      } else {
        state.detail = formatText(tr("update.megabytes"), {received});
      }
      state.progress = progress;
      state.buttons = {button(UpdateAction::cancel, "update.cancel")};
      break;
    }
    case UpdatePhase::preparing:
      state.message = tr("update.preparing");
      state.progress = platform::UpdateProgress{.fraction = extraction_, .label = tr("update.preparing")};
      break;
    case UpdatePhase::readyToInstall:
      state.message = tr("update.ready");
      state.detail = versionLine();
      state.buttons = {button(UpdateAction::later, "update.later"),
                       button(UpdateAction::installAndRelaunch, "update.install")};
      state.defaultAction = UpdateAction::installAndRelaunch;
      break;
    case UpdatePhase::installing:
      state.message = tr("update.installing");
      state.progress = platform::UpdateProgress{.label = tr("update.installing")};
      break;
    case UpdatePhase::failed:
      state.message = tr("update.failed");
      state.detail = failureReason();
      state.buttons = {button(UpdateAction::close, "update.close")};
      state.defaultAction = UpdateAction::close;
      break;
    case UpdatePhase::complete:
      state.message = tr("update.complete");
      state.detail = formatText(tr("update.installed_version"), {completedVersion_});
      state.buttons = {button(UpdateAction::close, "update.close")};
      state.defaultAction = UpdateAction::close;
      break;
  }
  return state;
}

}  // namespace tarvolo
