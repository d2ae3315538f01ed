#include "platform/sim/SimUpdater.h"

#include <algorithm>

#include "platform/sim/SimMainQueue.h"

namespace tarvolo::sim {

using platform::UpdateChoice;
using platform::UpdateFailure;
using platform::UpdaterListener;

namespace {

// The framework's own order of versions: dotted numbers, part by part, a missing part as 0.
bool newer(const std::string& candidate, const std::string& than) {
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < candidate.size() || j < than.size()) {
    auto part = [](const std::string& text, std::size_t& at) {
      unsigned long long value = 0;
      while (at < text.size() && text[at] != '.') {
        if (text[at] >= '0' && text[at] <= '9') value = value * 10 + static_cast<unsigned long long>(text[at] - '0');
        ++at;
      }
      if (at < text.size()) ++at;
      return value;
    };
    const auto left = part(candidate, i);
    const auto right = part(than, j);
    if (left != right) return left > right;
  }
  return false;
}

}  // namespace

SimUpdater::SimUpdater(const SimSettings& settings, SimMainQueue& queue)
    : settings_(settings), queue_(queue), installed_(settings.updates ? settings.updates->installedVersion : "") {}

bool SimUpdater::loadFramework() {
  if (!loaded_) loaded_ = present();
  return *loaded_;
}

std::optional<std::string> SimUpdater::start(UpdaterListener& listener) {
  if (!loadFramework()) return std::string("the framework is not in the app");
  if (!updates().configured) return std::string("the app names no feed or public key");
  listener_ = &listener;
  return std::nullopt;
}

void SimUpdater::stop() {
  listener_ = nullptr;
  // A question left open counts as "later"; a ready update still installs when the app quits.
  if (stage_ != Stage::ready && stage_ != Stage::installing) release_.reset();
  stage_ = Stage::idle;
  ++generation_;
}

void SimUpdater::later(double delay, std::function<void()> step) {
  queue_.post(delay, [this, generation = generation_, step = std::move(step)] {
    if (generation == generation_) step();
  });
}

void SimUpdater::deliver(const std::function<void(UpdaterListener&)>& call) {
  if (listener_) call(*listener_);
}

const SimRelease* SimUpdater::newest() const {
  const SimRelease* best = nullptr;
  for (const SimRelease& release : updates().feed) {
    if (!newer(release.version, installed_)) continue;
    if (!best || newer(release.version, best->version)) best = &release;
  }
  return best;
}

void SimUpdater::check(platform::UpdateCheckKind kind) {
  if (!listener_ || stage_ != Stage::idle) return;
  checks_.push_back(SimUpdateCheck{.at = queue_.now(), .kind = kind});
  stage_ = Stage::checking;
  if (kind == platform::UpdateCheckKind::user) deliver([](UpdaterListener& l) { l.updateCheckStarted(); });
  later(updates().checkDuration, [this] { finishCheck(); });
}

void SimUpdater::finishCheck() {
  if (!updates().feedReachable) {
    fail(UpdateFailure::feedUnreachable, "the feed could not be read");
    return;
  }
  const SimRelease* release = newest();
  if (!release) {
    stage_ = Stage::ended;
    deliver([](UpdaterListener& l) { l.updateNotFound(); });
    return;
  }
  release_ = *release;
  stage_ = Stage::offered;
  platform::UpdateOffer offer{.version = release->version, .releaseNotes = release->notes, .size = release->size};
  deliver([&offer](UpdaterListener& l) { l.updateFound(offer); });
}

void SimUpdater::answer(UpdateChoice choice) {
  if (stage_ == Stage::offered) {
    if (choice != UpdateChoice::install) {
      dismiss();
      return;
    }
    stage_ = Stage::downloading;
    received_ = 0;
    deliver([](UpdaterListener& l) { l.downloadStarted(); });
    const std::uint64_t size = release_->size;
    deliver([size](UpdaterListener& l) { l.downloadExpectedLength(size); });
    later(updates().progressInterval, [this] { receiveNext(); });
    return;
  }
  if (stage_ != Stage::ready) return;
  switch (choice) {
    case UpdateChoice::install:
      stage_ = Stage::installing;
      pendingInstall_ = release_;
      relaunchAfterInstall_ = true;
      deliver([](UpdaterListener& l) { l.installing(false); });
      // The framework quits the app; the installer replaces it once the process is gone.
      if (terminate_) terminate_();
      return;
    case UpdateChoice::later:
      // Installs when the app quits, without relaunching it.
      pendingInstall_ = release_;
      relaunchAfterInstall_ = false;
      dismiss();
      return;
    case UpdateChoice::skip:
      pendingInstall_.reset();
      dismiss();
      return;
  }
}

void SimUpdater::receiveNext() {
  const std::uint64_t size = release_->size;
  const auto piece = static_cast<std::uint64_t>(std::max(1.0, updates().bytesPerSecond * updates().progressInterval));
  // Where a broken download gives up.
  std::optional<std::uint64_t> breaksAt;
  if (release_->download == SimDownload::fails) breaksAt = size * 2 / 5;
  if (release_->download == SimDownload::stopsHalfway) breaksAt = size / 2;
  const std::uint64_t limit = breaksAt.value_or(size);
  const std::uint64_t bytes = std::min(piece, limit - std::min(limit, received_));
  if (bytes > 0) {
    received_ += bytes;
    bytesDownloaded_ += bytes;
    deliver([bytes](UpdaterListener& l) { l.downloadReceived(bytes); });
  }
  if (received_ < limit) {
    later(updates().progressInterval, [this] { receiveNext(); });
    return;
  }
  if (release_->download == SimDownload::fails) {
    fail(UpdateFailure::download, "the server closed the connection");
    return;
  }
  if (release_->download == SimDownload::stopsHalfway) {
    fail(UpdateFailure::downloadIncomplete, "the download ended before it was complete");
    return;
  }
  stage_ = Stage::extracting;
  deliver([](UpdaterListener& l) { l.extractionStarted(); });
  later(updates().extractionDuration / 2, [this] {
    deliver([](UpdaterListener& l) { l.extractionProgress(0.5); });
    later(updates().extractionDuration / 2, [this] { extract(); });
  });
}

void SimUpdater::extract() {
  // The signature is checked on the archive before anything of it is used.
  if (release_->badSignature) {
    fail(UpdateFailure::signature, "the archive's signature does not match the public key");
    return;
  }
  deliver([](UpdaterListener& l) { l.extractionProgress(1.0); });
  stage_ = Stage::ready;
  deliver([](UpdaterListener& l) { l.readyToInstall(); });
}

void SimUpdater::cancel() {
  if (stage_ != Stage::checking && stage_ != Stage::downloading) return;
  dismiss();
}

void SimUpdater::acknowledge() {
  if (stage_ != Stage::ended) return;
  dismiss();
}

void SimUpdater::fail(UpdateFailure failure, std::string detail) {
  stage_ = Stage::ended;
  release_.reset();
  platform::UpdateError error{.failure = failure, .detail = std::move(detail)};
  deliver([&error](UpdaterListener& l) { l.failed(error); });
}

void SimUpdater::dismiss() {
  stage_ = Stage::idle;
  if (!pendingInstall_) release_.reset();
  ++generation_;
  // Reported after the answer's own call has returned, as the framework does.
  later(0, [this] { deliver([](UpdaterListener& l) { l.dismissed(); }); });
}

void SimUpdater::ownProcessExited() {
  listener_ = nullptr;
  // An update ready and not answered counts as "later": it installs now, without a relaunch.
  if (stage_ == Stage::ready && !pendingInstall_) {
    pendingInstall_ = release_;
    relaunchAfterInstall_ = false;
  }
  stage_ = Stage::idle;
  ++generation_;
  if (!pendingInstall_) return;
  const SimRelease release = *pendingInstall_;
  const bool relaunch = relaunchAfterInstall_;
  pendingInstall_.reset();
  release_.reset();
  queue_.post(updates().installDuration, [this, release, relaunch] {
    if (release.installFails) {
      // The old version stays; a relaunch brings it back as it was.
      if (relaunch && relaunch_) relaunch_();
      return;
    }
    installed_ = release.version;
    installs_.push_back(SimInstall{.at = queue_.now(), .version = release.version, .relaunched = relaunch});
    if (relaunch && relaunch_) relaunch_();
  });
}

}  // namespace tarvolo::sim
