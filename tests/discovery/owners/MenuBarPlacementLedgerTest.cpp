#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "discovery/owners/MenuBarPlacementLedger.h"
#include "discovery/PlacementPolicy.h"
#include "platform/sim/SimDefaultsStore.h"

namespace tarvolo {
namespace {

const std::string kSeated(MenuBarPlacementLedger::seatedKey);
const std::string kAttention(MenuBarPlacementLedger::attentionKey);

class PlacementLedgerTest : public ::testing::Test {
 protected:
  std::unique_ptr<MenuBarPlacementLedger> makeLedger(int osMajorVersion = 15) {
    return std::make_unique<MenuBarPlacementLedger>(defaults, osMajorVersion,
                                                    [this](std::string line) { logLines.push_back(std::move(line)); });
  }
  long countLog(std::string_view fragment) const {
    return std::count_if(logLines.begin(), logLines.end(),
                         [&](const std::string& line) { return line.find(fragment) != std::string::npos; });
  }

  DefaultsValue stored(const std::string& key) const { return defaults.object(key).value_or(DefaultsValue("absent")); }

  sim::SimDefaultsStore defaults;
  std::vector<std::string> logLines;
};

TEST_F(PlacementLedgerTest, RelaunchOfAConfirmedVisibleAppFlagsItOnceAndPersists) {
  auto ledger = makeLedger();
  ledger->confirm("Com.Example.Notes", ItemCategory::alwaysVisible);
  EXPECT_EQ(ledger->confirmedCategory("com.example.notes"), "always_visible");
  EXPECT_EQ(countLog("placement confirm bundle=Com.Example.Notes category=always_visible"), 1);

  ledger->noteTerminated("com.example.notes");
  ledger->noteLaunched("com.example.notes");
  ledger->noteTerminated("com.example.notes");
  ledger->noteLaunched("com.example.notes");

  EXPECT_EQ(ledger->confirmedCategory("com.example.notes"), std::nullopt);
  EXPECT_EQ(ledger->attentionBundleIDs(), std::vector<std::string>{"com.example.notes"});
  EXPECT_EQ(countLog("placement displace bundle=com.example.notes reason=relaunch"), 1);
  EXPECT_EQ(stored(kSeated), DefaultsValue(DefaultsValue::Dictionary{}));
  EXPECT_EQ(stored(kAttention), DefaultsValue::fromStrings({"com.example.notes"}));
}

TEST_F(PlacementLedgerTest, ReloadKeepsConfirmationsAndAttentionButForgetsPendingRelaunches) {
  auto first = makeLedger();
  first->confirmAlwaysVisible({"A.App", "b.app"});
  EXPECT_EQ(countLog("placement confirm category=always_visible count=2"), 1);
  first->noteTerminated("b.app");
  first->noteLaunched("b.app");
  first->noteTerminated("a.app");
  first.reset();

  // a.app quit while nothing was watching: its next launch must not flag it.
  auto second = makeLedger();
  second->noteLaunched("a.app");
  EXPECT_EQ(second->confirmedCategory("A.APP"), "always_visible");
  EXPECT_EQ(second->attentionBundleIDs(), std::vector<std::string>{"b.app"});
}

TEST_F(PlacementLedgerTest, StoredValueOfTheWrongTypeIsIgnoredWithoutLosingTheOther) {
  defaults.set(kSeated, DefaultsValue(42));
  defaults.set(kAttention, DefaultsValue::fromStrings({"c.app", "a.app", "b.app"}));
  auto ledger = makeLedger();
  EXPECT_TRUE(ledger->snapshot().confirmed.empty());
  EXPECT_EQ(ledger->attentionBundleIDs(), (std::vector<std::string>{"a.app", "b.app", "c.app"}));
  EXPECT_EQ(countLog("placement load ignored key=" + kSeated), 1);

  // Nothing persisted changes, so the odd value stays until there is something to replace it.
  ledger->noteTerminated("a.app");
  ledger->noteLaunched("z.app");
  EXPECT_EQ(stored(kSeated), DefaultsValue(42));
  ledger->confirm("d.app", ItemCategory::hidden);
  EXPECT_EQ(stored(kSeated), DefaultsValue::fromStringMap({{"d.app", "hidden"}}));
  EXPECT_EQ(stored(kAttention), DefaultsValue::fromStrings({"a.app", "b.app", "c.app"}));
}

TEST_F(PlacementLedgerTest, PartlyMistypedCollectionsAreIgnoredWhole) {
  defaults.set(kSeated, DefaultsValue::fromStringMap({{"a.app", "always_visible"}}));
  defaults.set(kAttention, DefaultsValue(DefaultsValue::Array{DefaultsValue("b.app"), DefaultsValue(1)}));
  auto ledger = makeLedger();
  EXPECT_EQ(ledger->confirmedCategory("a.app"), "always_visible");
  EXPECT_TRUE(ledger->attentionBundleIDs().empty());
  EXPECT_EQ(countLog("placement load ignored key=" + kAttention), 1);

  defaults.set(kSeated, DefaultsValue(DefaultsValue::Dictionary{{"a.app", DefaultsValue("hidden")},
                                                                 {"b.app", DefaultsValue(true)}}));
  EXPECT_TRUE(makeLedger()->snapshot().confirmed.empty());
}

TEST_F(PlacementLedgerTest, NoOpChangesStillLogButNeitherWriteNorNotify) {
  auto ledger = makeLedger();
  const auto writesBefore = defaults.writeCount();
  int notified = 0;
  auto id = ledger->addObserver([&](const PlacementLedgerSnapshot&) { ++notified; });
  ledger->confirm("", ItemCategory::alwaysVisible);
  EXPECT_EQ(countLog("placement confirm bundle= category=always_visible"), 1);
  ledger->noteLaunched(std::nullopt);
  EXPECT_EQ(notified, 0);
  EXPECT_EQ(defaults.writeCount(), writesBefore);

  ledger->confirm("a.app", ItemCategory::alwaysVisible);
  ledger->noteTerminated("a.app");  // in memory only: observers hear it, the store does not
  EXPECT_EQ(notified, 2);
  EXPECT_EQ(defaults.writeCount(), writesBefore + 2);
  ledger->removeObserver(id);
  ledger->clearAttention("a.app");
  ledger->noteLaunched("a.app");
  EXPECT_EQ(notified, 2);
  ledger->clearAttention("A.App");
  EXPECT_TRUE(ledger->attentionBundleIDs().empty());
  EXPECT_EQ(stored(kAttention), DefaultsValue(DefaultsValue::Array{}));
}

TEST_F(PlacementLedgerTest, OutOfPlaceIgnoresTheLedgerFromVersion26On) {
  defaults.set(kSeated, DefaultsValue::fromStringMap({{"a.app", "always_visible"}}));
  defaults.set(kAttention, DefaultsValue::fromStrings({"b.app"}));
  auto older = makeLedger(15);
  auto newer = makeLedger(26);
  const auto visible = ItemCategory::alwaysVisible;

  // Confirmed but not seen (e.g. pushed off by a collapse): fine before 26, suspect from 26.
  EXPECT_FALSE(older->isOutOfPlace("A.App", visible, std::nullopt));
  EXPECT_TRUE(newer->isOutOfPlace("A.App", visible, std::nullopt));
  // Relaunched and seen in place: still flagged before 26, trusted from 26.
  EXPECT_TRUE(older->isOutOfPlace("b.app", visible, "always_visible"));
  EXPECT_FALSE(newer->isOutOfPlace("b.app", visible, "always_visible"));
  // A confirmed visible app now meant to hide is out of place only while the ledger counts.
  EXPECT_TRUE(older->isOutOfPlace("a.app", ItemCategory::hidden, "hidden"));
  EXPECT_FALSE(newer->isOutOfPlace("a.app", ItemCategory::hidden, "hidden"));
  EXPECT_TRUE(newer->isOutOfPlace("c.app", ItemCategory::hidden, "always_visible"));
}

}  // namespace
}  // namespace tarvolo
