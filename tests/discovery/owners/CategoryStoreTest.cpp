#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "discovery/owners/CategoryStore.h"
#include "discovery/owners/MenuBarPlacementLedger.h"
#include "platform/sim/SimDefaultsStore.h"

namespace tarvolo {
namespace {

using Assignments = std::map<std::string, std::string>;

// The categories by the spelling they are stored under.
Assignments assignmentsOf(const CategoryStore& store) {
  Assignments assignments;
  for (const auto& [id, category] : store.menuBarAssignments()) {
    assignments.emplace(id.spelling(), rawValue(category));
  }
  return assignments;
}

const std::string kCategories(CategoryStore::categoriesKey);
const std::string kPins(CategoryStore::pinsKey);

struct RecordingSink final : LogSink {
  std::vector<std::string> lines;
  void write(LogCategory, std::string_view message) override { lines.emplace_back(message); }
  void writeStandardOutput(std::string_view) override {}
  void writeSystemLog(std::string_view) override {}
};

class CategoryStoreTest : public ::testing::Test {
 protected:
  void SetUp() override { Logging::setSink(&sink); }
  void TearDown() override { Logging::setSink(nullptr); }

  // A run of the app: the ledger and the store load what the defaults hold.
  CategoryStore& load() {
    ledger = std::make_unique<MenuBarPlacementLedger>(defaults, 15, [](std::string) {});
    store = std::make_unique<CategoryStore>(
        CategoryStore::Dependencies{.defaults = defaults, .defaultCenter = center, .ledger = *ledger});
    return *store;
  }
  bool logged(const std::string& line) const {
    return std::find(sink.lines.begin(), sink.lines.end(), "tarvolo " + line) != sink.lines.end();
  }

  RecordingSink sink;
  sim::SimDefaultsStore defaults;
  NotificationCenter center;
  std::unique_ptr<MenuBarPlacementLedger> ledger;
  std::unique_ptr<CategoryStore> store;
};

TEST_F(CategoryStoreTest, CategoriesAndPinsSurviveARestartUnderTheSpellingFirstSaved) {
  load().setCategory("Com.Example.Notes", ItemCategory::alwaysHidden);
  store->setCategory("com.example.NOTES", ItemCategory::hidden);
  store->setCategory("com.example.clock", ItemCategory::alwaysHidden);
  store->setPinned("Com.Example.Clock", true);
  store->setPinned("com.example.notes", true);
  store->setPinned("com.example.notes", false);

  CategoryStore& reloaded = load();
  EXPECT_EQ(assignmentsOf(reloaded),
            (Assignments{{"Com.Example.Notes", "hidden"}, {"com.example.clock", "always_hidden"}}));
  EXPECT_EQ(reloaded.savedCategory("COM.EXAMPLE.NOTES"), ItemCategory::hidden);
  // A helper of the app finds the app's category.
  EXPECT_EQ(reloaded.savedCategory("com.example.clock.login"), ItemCategory::alwaysHidden);
  EXPECT_EQ(reloaded.savedCategory("com.example.other"), std::nullopt);
  EXPECT_EQ(reloaded.category("com.example.other"), CategoryStore::defaultCategory);
  EXPECT_TRUE(reloaded.isPinned("com.example.clock"));
  EXPECT_FALSE(reloaded.isPinned("com.example.notes"));
  EXPECT_EQ(defaults.getStringArray(kPins), std::vector<std::string>{"com.example.clock"});
}

TEST_F(CategoryStoreTest, AlwaysVisibleSurvivesALoadOnlyWhereTheUserConfirmedIt) {
  defaults.set(kCategories, DefaultsValue::fromStringMap({{"com.example.seated", "always_visible"},
                                                          {"com.example.intended", "always_visible"},
                                                          {"com.example.folded", "always_hidden"}}));
  MenuBarPlacementLedger(defaults, 15, [](std::string) {}).confirm("com.example.seated", ItemCategory::alwaysVisible);

  CategoryStore& loaded = load();
  EXPECT_EQ(assignmentsOf(loaded),
            (Assignments{{"com.example.seated", "always_visible"}, {"com.example.folded", "always_hidden"}}));
  EXPECT_EQ(loaded.category("com.example.intended"), ItemCategory::hidden);
  EXPECT_TRUE(logged("catalog categories migrated kept=2 dropped=1"));
  // The migration itself writes nothing; the next change stores the list as loaded.
  EXPECT_EQ(defaults.getStringDictionary(kCategories)->size(), 3u);
  loaded.setCategory("com.example.new", ItemCategory::hidden);
  EXPECT_EQ(defaults.getStringDictionary(kCategories),
            (Assignments{{"com.example.seated", "always_visible"},
                         {"com.example.folded", "always_hidden"},
                         {"com.example.new", "hidden"}}));
}

TEST_F(CategoryStoreTest, AStoredValueOfTheWrongTypeIsLoggedAndKeptUntilAChangeRewritesIt) {
  defaults.set(kCategories, DefaultsValue(42));
  defaults.set(kPins, DefaultsValue("com.example.clock"));
  CategoryStore& loaded = load();
  EXPECT_TRUE(logged("catalog load ignored key=" + kCategories + " reason=type"));
  EXPECT_TRUE(logged("catalog load ignored key=" + kPins + " reason=type"));
  EXPECT_TRUE(loaded.menuBarAssignments().empty());
  EXPECT_FALSE(loaded.isPinned("com.example.clock"));
  EXPECT_EQ(defaults.object(kCategories), DefaultsValue(42));
  EXPECT_EQ(defaults.object(kPins), DefaultsValue("com.example.clock"));

  // Readable entries of a list with unreadable ones are kept.
  defaults.set(kCategories, DefaultsValue(DefaultsValue::Dictionary{{"com.example.notes", DefaultsValue("hidden")},
                                                                    {"com.example.clock", DefaultsValue(7)}}));
  EXPECT_EQ(assignmentsOf(load()), (Assignments{{"com.example.notes", "hidden"}}));
}

TEST_F(CategoryStoreTest, ObserversHearEachRealChangeBeforeItIsAnnounced) {
  CategoryStore& categories = load();
  std::vector<std::string> heard;
  auto observation = categories.observeChanges([&] { heard.push_back("changed"); });
  auto announcement = center.addObserver(Notifications::itemCategoryDidChange, [&](const Notification& notification) {
    heard.push_back("posted " + notification.userInfo.at("bundleID") + " " +
                    (notification.userInfo.contains("category") ? notification.userInfo.at("category") : "none"));
  });

  categories.setCategory("com.example.notes", ItemCategory::alwaysHidden);
  categories.setCategory("COM.example.notes", ItemCategory::alwaysHidden);  // same app, same tier
  categories.setCategory("", ItemCategory::hidden);
  categories.removeCategory("com.example.NOTES");
  categories.removeCategory("com.example.notes");
  // A pin changes the rows but is no change of category.
  categories.setPinned("com.example.notes", true);
  categories.setPinned("COM.EXAMPLE.NOTES", true);
  EXPECT_EQ(heard, (std::vector<std::string>{"changed", "posted com.example.notes always_hidden", "changed",
                                             "posted com.example.NOTES none", "changed"}));
  EXPECT_TRUE(logged("category assign bundle=com.example.notes category=always_hidden"));
  EXPECT_TRUE(logged("category remove bundle=com.example.NOTES"));
}

}  // namespace
}  // namespace tarvolo
