#pragma once

// What the new-app notices remember, persisted in the defaults store: the applications seen
// running before (a newly found one is news only if it is not among them), those that already
// had their one notice, and whether notices are on at all. The first scan of a first run takes
// everything running as the starting point rather than as news. Main thread only.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/MainThreadChecker.h"
#include "base/Published.h"
#include "platform/Platform.h"

namespace tarvolo {

class NewAppNoticeLedger {
 public:
  static constexpr std::string_view knownBundleIDsKey = "com.ostrand.tarvolo.known_bundle_ids";
  static constexpr std::string_view noticedBundleIDsKey = "com.ostrand.tarvolo.noticed_bundle_ids";
  // Whether newly started apps get their notice (a Boolean, on when absent).
  static constexpr std::string_view newAppNoticesKey = "com.ostrand.tarvolo.new_app_notices";
  // When the app first ran; written once.
  static constexpr std::string_view firstLaunchDateKey = "tarvolo_first_launch_date";

  struct Dependencies {
    platform::DefaultsStore& defaults;
    const Clock& clock;
  };
  // Loads both lists. A stored value of the wrong type is logged and ignored, and stays stored
  // until a change rewrites it; an unreadable known list counts as a first run.
  explicit NewAppNoticeLedger(Dependencies dependencies);
  NewAppNoticeLedger(const NewAppNoticeLedger&) = delete;
  NewAppNoticeLedger& operator=(const NewAppNoticeLedger&) = delete;

  // Newly found applications, lower-cased, oldest first, waiting for their notice.
  Published<std::vector<std::string>> pendingNewAppBundleIds;

  // What a scan found running: the ones never seen become known and, while notices are on, wait
  // for their notice.
  void noteFound(const std::vector<std::string>& foundBundleIDs);
  bool isKnown(std::string_view bundleID) const;

  bool launchNoticeAlreadySeen(std::string_view bundleID) const;
  // Settles the application's one notice, whether it showed or not.
  void markLaunchNoticeSeen(std::string_view bundleID);

  bool newAppNoticesEnabled() const;
  void setNewAppNoticesEnabled(bool enabled);

 private:
  void load(const Clock& clock);

  platform::DefaultsStore& defaults_;
  MainThreadChecker mainThread_;
  // Lower-cased, in the order first seen; absent until a first scan stores it.
  std::optional<std::vector<std::string>> known_;
  // Lower-cased, in the order settled.
  std::vector<std::string> noticed_;
};

}  // namespace tarvolo
