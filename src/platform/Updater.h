#pragma once

// The update framework: it reads the app's feed, downloads a new version, checks its signature
// and installs it, relaunching the app. The framework draws nothing itself here; it tells the
// core what happens through `UpdaterListener` and waits for the user's answers. It is loaded
// at run time, so an app built without it has no updater at all.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarvolo::platform {

// Who asked for a check: the user from a menu or a button, or the app's own schedule. A
// background check tells nothing when it finds nothing or fails.
enum class UpdateCheckKind { user, background };

std::string_view rawValue(UpdateCheckKind kind);

// A newer version as the feed describes it.
struct UpdateOffer {
  std::string version;  // as shown to the user ("1.2")
  std::string releaseNotes;  // plain text; empty when the feed links them elsewhere
  std::optional<std::uint64_t> size;  // bytes of the download, when the feed says
  friend bool operator==(const UpdateOffer&, const UpdateOffer&) = default;
};

// What the user answers to an offer or to an update ready to install.
enum class UpdateChoice {
  install,  // download and install; at "ready", install now and relaunch
  later,    // not now; an update already downloaded installs when the app quits
  skip,     // this version is never offered again; at "ready", the installation is dropped
};

std::string_view rawValue(UpdateChoice choice);

// Why an update ended before it was installed.
enum class UpdateFailure {
  feedUnreachable,     // the feed could not be read
  download,            // the download failed
  downloadIncomplete,  // the download stopped before it was complete
  signature,           // the download's signature does not match the app's public key
  installation,        // the framework could not install the new version
  other,               // see `detail`
};

std::string_view rawValue(UpdateFailure failure);

struct UpdateError {
  UpdateFailure failure = UpdateFailure::other;
  std::string detail;  // the framework's own words, for the log; may be empty
  friend bool operator==(const UpdateError&, const UpdateError&) = default;
};

// What the framework reports, on the main thread, in this order for one update: a check under
// way (user checks only), then found or not found or failed; after `install`: download started,
// its length and data, extraction, ready; after `install` again: installing, and installed
// when the framework's process is still there to say so. `dismissed` ends every session.
class UpdaterListener {
 public:
  virtual ~UpdaterListener() = default;
  // A check the user asked for is under way; `Updater::cancel()` stops it.
  virtual void updateCheckStarted() = 0;
  // Answer with `Updater::answer`.
  virtual void updateFound(const UpdateOffer& offer) = 0;
  // Release notes the feed links to instead of holding them, once they arrived.
  virtual void releaseNotesLoaded(const std::string& text) = 0;
  // Acknowledge with `Updater::acknowledge()`.
  virtual void updateNotFound() = 0;
  // `Updater::cancel()` stops the download until extraction starts.
  virtual void downloadStarted() = 0;
  virtual void downloadExpectedLength(std::uint64_t bytes) = 0;
  virtual void downloadReceived(std::uint64_t bytes) = 0;
  virtual void extractionStarted() = 0;
  virtual void extractionProgress(double fraction) = 0;
  // Answer with `Updater::answer`: install now (the app quits and is relaunched) or later.
  virtual void readyToInstall() = 0;
  // The framework quits the app (unless it has quit already) and installs.
  virtual void installing(bool applicationTerminated) = 0;
  // Acknowledge with `Updater::acknowledge()`.
  virtual void installed(bool relaunched) = 0;
  // Acknowledge with `Updater::acknowledge()`.
  virtual void failed(const UpdateError& error) = 0;
  // The user asked again while something is shown: bring it to the front.
  virtual void focusRequested() = 0;
  // The session is over; nothing the framework asked is pending any more.
  virtual void dismissed() = 0;
};

class Updater {
 public:
  virtual ~Updater() = default;
  // Loads the framework; the first call decides, later calls return its answer.
  virtual bool loadFramework() = 0;
  // Starts the framework, which reports to `listener` until `stop()`. Absent on success, else
  // why it could not start (say, the app carries no feed address or public key).
  virtual std::optional<std::string> start(UpdaterListener& listener) = 0;
  // Nothing reaches the listener any more; questions still pending are answered "later".
  virtual void stop() = 0;
  // Asks the feed now. Does nothing while a session runs.
  virtual void check(UpdateCheckKind kind) = 0;
  // The answer to the pending offer or "ready to install"; nothing when none is pending.
  virtual void answer(UpdateChoice choice) = 0;
  // Stops the check or the download under way.
  virtual void cancel() = 0;
  // The user saw "not found", the failure or "installed".
  virtual void acknowledge() = 0;
  // The version running now, as the feed compares it ("1.0").
  virtual std::string installedVersion() const = 0;
};

}  // namespace tarvolo::platform
