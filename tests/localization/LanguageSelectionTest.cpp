#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "localization/AppLanguage.h"
#include "localization/LocalizationManager.h"
#include "platform/Platform.h"

namespace tarvolo {
namespace {

class MemoryDefaults : public platform::DefaultsStore {
 public:
  std::optional<DefaultsValue> object(const std::string& key) const override {
    auto it = values_.find(key);
    if (it == values_.end()) return std::nullopt;
    return it->second;
  }
  void set(const std::string& key, DefaultsValue value) override { values_[key] = std::move(value); }
  void remove(const std::string& key) override { values_.erase(key); }
  std::vector<std::string> keys() const override {
    std::vector<std::string> result;
    for (const auto& [key, value] : values_) result.push_back(key);
    return result;
  }

 private:
  std::map<std::string, DefaultsValue> values_;
};

std::string_view systemCode(std::vector<std::string> preferred) {
  return effectiveLanguageCode(AppLanguage::system, preferred);
}

TEST(EffectiveLanguage, TaiwanHongKongAndMacauGetTraditionalChineseWhateverTheTagSays) {
  EXPECT_EQ(systemCode({"zh-Hant-TW"}), "zh-Hant");
  EXPECT_EQ(systemCode({"zh-TW"}), "zh-Hant");
  EXPECT_EQ(systemCode({"zh-HK"}), "zh-Hant");
  EXPECT_EQ(systemCode({"zh-MO"}), "zh-Hant");
  EXPECT_EQ(systemCode({"zh-Hant"}), "zh-Hant");
  EXPECT_EQ(systemCode({"yue-Hant-HK"}), "zh-Hant");  // any traditional script tag
}

TEST(EffectiveLanguage, OtherChineseTagsGetSimplifiedChinese) {
  EXPECT_EQ(systemCode({"zh-Hans-CN"}), "zh");
  EXPECT_EQ(systemCode({"zh"}), "zh");
  EXPECT_EQ(systemCode({"zh-SG"}), "zh");
  EXPECT_EQ(systemCode({"zh-Hans-HK"}), "zh");
}

TEST(EffectiveLanguage, RegionalVariantsMapToTheirLanguageAndOthersToEnglish) {
  EXPECT_EQ(systemCode({"pt-BR"}), "pt");
  EXPECT_EQ(systemCode({"es-419"}), "es");
  EXPECT_EQ(systemCode({"ja-JP"}), "ja");
  EXPECT_EQ(systemCode({"ko-KR"}), "ko");
  EXPECT_EQ(systemCode({"de-CH"}), "de");
  EXPECT_EQ(systemCode({"fr-CA"}), "fr");
  EXPECT_EQ(systemCode({"en-GB"}), "en");
  EXPECT_EQ(systemCode({"it"}), "en");
  EXPECT_EQ(systemCode({}), "en");
  EXPECT_EQ(systemCode({""}), "en");
}

TEST(EffectiveLanguage, OnlyTheFirstPreferenceCountsAndCaseDoesNot) {
  EXPECT_EQ(systemCode({"it", "de"}), "en");
  EXPECT_EQ(systemCode({"ZH-tw", "en"}), "zh-Hant");
  EXPECT_EQ(systemCode({"FR"}), "fr");
}

TEST(AppLanguageRaw, RoundTripsInPickerOrderAndRejectsEverythingElse) {
  std::vector<std::string_view> raws;
  for (AppLanguage language : kAllAppLanguages) {
    raws.push_back(rawValue(language));
    EXPECT_EQ(appLanguageFromRaw(rawValue(language)), language);
  }
  EXPECT_EQ(raws, (std::vector<std::string_view>{"system", "en", "zh", "zh-Hant", "ja", "ko", "de", "fr", "es", "pt"}));
  for (std::string_view stray : {"", "zh-hant", "ZH", "zh-Hans", "pt-BR", "it", "System"}) {
    EXPECT_FALSE(appLanguageFromRaw(stray).has_value()) << stray;
  }
}

class LocalizationManagerTest : public ::testing::Test {
 protected:
  std::unique_ptr<LocalizationManager> make() {
    return std::make_unique<LocalizationManager>(LocalizationManagerArgs{
        .defaults = defaults,
        .preferredLanguages = [this] { return preferred; },
        .languageDidChange = [this] { ++changes; },
        .log = [this](std::string line) { logs.push_back(std::move(line)); },
    });
  }
  void store(DefaultsValue value) { defaults.set(std::string(LocalizationManager::kLanguageDefaultsKey), value); }
  std::optional<std::string> stored() const {
    return defaults.getString(std::string(LocalizationManager::kLanguageDefaultsKey));
  }

  MemoryDefaults defaults;
  std::vector<std::string> preferred = {"en-US"};
  int changes = 0;
  std::vector<std::string> logs;
};

TEST_F(LocalizationManagerTest, AbsentUnknownOrMistypedStoredChoiceFollowsTheSystem) {
  preferred = {"ko-KR"};
  EXPECT_EQ(make()->currentLanguage(), AppLanguage::system);
  store("klingon");
  EXPECT_EQ(make()->currentLanguage(), AppLanguage::system);
  store(3);
  auto manager = make();
  EXPECT_EQ(manager->currentLanguage(), AppLanguage::system);
  EXPECT_EQ(manager->effectiveLanguageCode(), "ko");
  EXPECT_EQ(manager->tr("menu_quit"), "Tarvolo 종료");
}

TEST_F(LocalizationManagerTest, StoredChoiceWinsOverTheSystem) {
  store("de");
  preferred = {"ja-JP"};
  auto manager = make();
  EXPECT_EQ(manager->currentLanguage(), AppLanguage::de);
  EXPECT_EQ(manager->tr("menu_quit"), "Tarvolo beenden");
}

TEST_F(LocalizationManagerTest, SwitchingSavesRelabelsAtOnceAndAnnouncesOnlyRealChanges) {
  auto manager = make();
  manager->setCurrentLanguage(AppLanguage::zhHant);
  EXPECT_EQ(stored(), "zh-Hant");
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(manager->tr("menu_preferences"), "設定⋯");

  manager->setCurrentLanguage(AppLanguage::zhHant);
  EXPECT_EQ(changes, 1);

  // Choosing "system" on an English system leaves the texts alone but is still a new choice.
  manager->setCurrentLanguage(AppLanguage::system);
  EXPECT_EQ(stored(), "system");
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(manager->tr("menu_preferences"), "Settings…");
  EXPECT_EQ(make()->currentLanguage(), AppLanguage::system);
}

TEST_F(LocalizationManagerTest, SystemLanguageChangesMatterOnlyWhileFollowingTheSystem) {
  auto manager = make();
  preferred = {"en-GB"};
  manager->systemLanguagesDidChange();
  EXPECT_EQ(changes, 0);  // same table code

  preferred = {"zh-Hans-CN"};
  manager->systemLanguagesDidChange();
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(manager->tr("menu_quit"), "退出 Tarvolo");

  manager->setCurrentLanguage(AppLanguage::fr);
  preferred = {"es-ES"};
  manager->systemLanguagesDidChange();
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(manager->effectiveLanguageCode(), "fr");
}

TEST_F(LocalizationManagerTest, MissingKeyShowsItselfAndIsLoggedOncePerKey) {
  auto manager = make();
  EXPECT_EQ(manager->tr("menu_teleport"), "menu_teleport");
  EXPECT_EQ(manager->tr("menu_teleport"), "menu_teleport");
  EXPECT_EQ(manager->tr("menu_levitate"), "menu_levitate");
  manager->setCurrentLanguage(AppLanguage::ja);
  EXPECT_EQ(manager->tr("menu_teleport"), "menu_teleport");

  int missingLines = 0;
  for (const std::string& line : logs) missingLines += line.find("missing key=") != std::string::npos;
  EXPECT_EQ(missingLines, 2);
}

TEST_F(LocalizationManagerTest, PickerNamesFollowTheEffectiveLanguageOnlyForSystem) {
  preferred = {"ja"};
  auto manager = make();
  EXPECT_EQ(manager->displayName(AppLanguage::system), "システムの言語");
  EXPECT_EQ(manager->displayName(AppLanguage::en), "English");
  EXPECT_EQ(manager->displayName(AppLanguage::zhHant), "繁體中文");
  manager->setCurrentLanguage(AppLanguage::de);
  EXPECT_EQ(manager->displayName(AppLanguage::system), "Systemsprache");
  EXPECT_EQ(manager->displayName(AppLanguage::ja), "日本語");
}

}  // namespace
}  // namespace tarvolo
