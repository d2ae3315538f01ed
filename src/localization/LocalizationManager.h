#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "localization/AppLanguage.h"
#include "platform/Platform.h"

namespace tarvolo {

struct LocalizationManagerArgs {
  platform::DefaultsStore& defaults;
  // The system's preferred languages, most preferred first.
  std::function<std::vector<std::string>()> preferredLanguages;
  // Runs after every change of the effective texts or of the user's choice.
  std::function<void()> languageDidChange;
  std::function<void(std::string)> log;
};

// Owns the user's language choice and answers every text lookup. Main thread only.
class LocalizationManager {
 public:
  static constexpr std::string_view kLanguageDefaultsKey = "com.ostrand.tarvolo.language";

  explicit LocalizationManager(LocalizationManagerArgs args);

  // The key's text in the effective language; a key the table lacks yields the key itself.
  std::string tr(std::string_view key) const;

  std::string_view effectiveLanguageCode() const { return effectiveCode_; }

  AppLanguage currentLanguage() const { return currentLanguage_; }
  // Saves the choice; a different choice re-evaluates the texts and announces the change.
  void setCurrentLanguage(AppLanguage language);

  // The system's preferred languages changed; only matters while following the system.
  void systemLanguagesDidChange();

  // The picker's label for `language`.
  std::string displayName(AppLanguage language) const;

 private:
  std::string_view evaluateEffectiveCode() const;

  platform::DefaultsStore& defaults_;
  std::function<std::vector<std::string>()> preferredLanguages_;
  std::function<void()> languageDidChange_;
  std::function<void(std::string)> log_;
  AppLanguage currentLanguage_ = AppLanguage::system;
  std::string_view effectiveCode_ = "en";
  mutable std::set<std::string, std::less<>> reportedMissingKeys_;
};

}  // namespace tarvolo
