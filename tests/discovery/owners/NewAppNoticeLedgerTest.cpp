#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "base/Log.h"
#include "discovery/owners/NewAppNoticeLedger.h"
#include "platform/sim/SimDefaultsStore.h"

namespace tarvolo {
namespace {

using Strings = std::vector<std::string>;

const std::string kKnown(NewAppNoticeLedger::knownBundleIDsKey);
const std::string kNoticed(NewAppNoticeLedger::noticedBundleIDsKey);
const std::string kEnabled(NewAppNoticeLedger::newAppNoticesKey);
const std::string kFirstLaunch(NewAppNoticeLedger::firstLaunchDateKey);

struct RecordingSink final : LogSink {
  std::vector<std::string> lines;
  void write(LogCategory, std::string_view message) override { lines.emplace_back(message); }
  void writeStandardOutput(std::string_view) override {}
  void writeSystemLog(std::string_view) override {}
};

struct FixedClock final : Clock {
  double date = 1'700'000'000;
  double now() const override { return 0; }
  double currentDate() const override { return date; }
};

class NewAppNoticeLedgerTest : public ::testing::Test {
 protected:
  void SetUp() override { Logging::setSink(&sink); }
  void TearDown() override { Logging::setSink(nullptr); }

  // A run of the app: the ledger loads what the defaults hold.
  NewAppNoticeLedger& load() {
    ledger = std::make_unique<NewAppNoticeLedger>(NewAppNoticeLedger::Dependencies{.defaults = defaults, .clock = clock});
    return *ledger;
  }
  long loggedCount(const std::string& fragment) const {
    return std::count_if(sink.lines.begin(), sink.lines.end(),
                         [&](const std::string& line) { return line.find(fragment) != std::string::npos; });
  }

  RecordingSink sink;
  sim::SimDefaultsStore defaults;
  FixedClock clock;
  std::unique_ptr<NewAppNoticeLedger> ledger;
};

TEST_F(NewAppNoticeLedgerTest, AFirstRunTakesWhatRunsAsKnownWithoutNews) {
  NewAppNoticeLedger& notices = load();
  EXPECT_FALSE(notices.isKnown("com.example.notes"));
  notices.noteFound({"Com.Example.Notes", "com.example.clock", "com.example.notes"});
  EXPECT_EQ(defaults.getStringArray(kKnown), (Strings{"com.example.notes", "com.example.clock"}));
  EXPECT_TRUE(notices.isKnown("COM.EXAMPLE.CLOCK"));
  EXPECT_TRUE(notices.pendingNewAppBundleIds.get().empty());
  EXPECT_EQ(loggedCount("catalog new"), 0);
}

TEST_F(NewAppNoticeLedgerTest, AnAppNeverSeenWaitsForItsNoticeOnceAndOnlyWhileNoticesAreOn) {
  defaults.set(kKnown, DefaultsValue::fromStrings({"Com.Example.Notes"}));
  NewAppNoticeLedger& notices = load();
  EXPECT_TRUE(notices.newAppNoticesEnabled());
  notices.noteFound({"com.example.notes", "Com.Example.Clock"});
  notices.noteFound({"com.example.notes", "com.example.clock"});
  EXPECT_EQ(notices.pendingNewAppBundleIds.get(), Strings{"com.example.clock"});
  EXPECT_EQ(defaults.getStringArray(kKnown), (Strings{"com.example.notes", "com.example.clock"}));
  EXPECT_EQ(loggedCount("catalog new bundle=com.example.clock"), 1);

  // Switched off, news still becomes known, so switching on again brings no backlog.
  notices.setNewAppNoticesEnabled(false);
  EXPECT_EQ(defaults.getBool(kEnabled), false);
  notices.noteFound({"com.example.paint"});
  EXPECT_TRUE(notices.isKnown("com.example.paint"));
  EXPECT_EQ(notices.pendingNewAppBundleIds.get(), Strings{"com.example.clock"});
  EXPECT_FALSE(load().newAppNoticesEnabled());
}

TEST_F(NewAppNoticeLedgerTest, ASettledNoticeLeavesTheQueueAndIsRememberedAcrossARestart) {
  defaults.set(kKnown, DefaultsValue::fromStrings({}));
  NewAppNoticeLedger& notices = load();
  notices.noteFound({"com.example.clock", "com.example.paint"});
  notices.markLaunchNoticeSeen("Com.Example.Clock");
  notices.markLaunchNoticeSeen("com.example.clock");
  notices.markLaunchNoticeSeen("");
  EXPECT_EQ(notices.pendingNewAppBundleIds.get(), Strings{"com.example.paint"});
  EXPECT_EQ(defaults.getStringArray(kNoticed), Strings{"com.example.clock"});

  NewAppNoticeLedger& reloaded = load();
  EXPECT_TRUE(reloaded.launchNoticeAlreadySeen("COM.example.clock"));
  EXPECT_FALSE(reloaded.launchNoticeAlreadySeen("com.example.paint"));
  // What waited is not persisted: the launch center offers it again when the app next starts.
  EXPECT_TRUE(reloaded.pendingNewAppBundleIds.get().empty());
}

TEST_F(NewAppNoticeLedgerTest, UnreadableListsAreLoggedAndTheFirstLaunchDateIsWrittenOnce) {
  defaults.set(kKnown, DefaultsValue("not a list"));
  defaults.set(kNoticed, DefaultsValue(7));
  NewAppNoticeLedger& notices = load();
  EXPECT_EQ(loggedCount("catalog load ignored key=" + kKnown + " reason=type"), 1);
  EXPECT_EQ(loggedCount("catalog load ignored key=" + kNoticed + " reason=type"), 1);
  EXPECT_FALSE(notices.launchNoticeAlreadySeen("com.example.clock"));
  EXPECT_EQ(defaults.object(kNoticed), DefaultsValue(7));
  // An unreadable known list is a first run: what runs is the starting point, not news.
  notices.noteFound({"com.example.clock"});
  EXPECT_TRUE(notices.pendingNewAppBundleIds.get().empty());
  EXPECT_EQ(defaults.getStringArray(kKnown), Strings{"com.example.clock"});

  EXPECT_EQ(defaults.getDouble(kFirstLaunch), clock.date);
  clock.date += 86'400;
  load();
  EXPECT_EQ(defaults.getDouble(kFirstLaunch), clock.date - 86'400);
}

}  // namespace
}  // namespace tarvolo
