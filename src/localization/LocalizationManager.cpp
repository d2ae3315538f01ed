#include "localization/LocalizationManager.h"

#include <utility>

#include "base/Log.h"
#include "localization/StringTable.h"

namespace tarvolo {

namespace {

AppLanguage storedLanguage(const platform::DefaultsStore& defaults) {
  std::optional<std::string> raw = defaults.getString(std::string(LocalizationManager::kLanguageDefaultsKey));
  if (!raw) return AppLanguage::system;
  return appLanguageFromRaw(*raw).value_or(AppLanguage::system);
}

}  // namespace

LocalizationManager::LocalizationManager(LocalizationManagerArgs args)
    : defaults_(args.defaults),
      preferredLanguages_(std::move(args.preferredLanguages)),
      languageDidChange_(std::move(args.languageDidChange)),
      log_(std::move(args.log)),
      currentLanguage_(storedLanguage(defaults_)) {
  effectiveCode_ = evaluateEffectiveCode();
}

std::string_view LocalizationManager::evaluateEffectiveCode() const {
  if (currentLanguage_ != AppLanguage::system) return rawValue(currentLanguage_);
  return systemLanguageCode(preferredLanguages_ ? preferredLanguages_() : std::vector<std::string>{});
}

std::string LocalizationManager::tr(std::string_view key) const {
  if (std::optional<std::string_view> text = StringTable::text(key, effectiveCode_)) return std::string(*text);
  if (reportedMissingKeys_.insert(std::string(key)).second && log_) {
    log_(LogLine("localization missing").add("key", key));
  }
  return std::string(key);
}

void LocalizationManager::setCurrentLanguage(AppLanguage language) {
  if (language == currentLanguage_) return;
  currentLanguage_ = language;
  defaults_.set(std::string(kLanguageDefaultsKey), std::string(rawValue(language)));
  effectiveCode_ = evaluateEffectiveCode();
  if (log_) {
    log_(LogLine("language changed").add("current", rawValue(language)).add("effective", effectiveCode_));
  }
  if (languageDidChange_) languageDidChange_();
}

void LocalizationManager::systemLanguagesDidChange() {
  if (currentLanguage_ != AppLanguage::system) return;
  std::string_view code = evaluateEffectiveCode();
  if (code == effectiveCode_) return;
  effectiveCode_ = code;
  if (log_) log_(LogLine("language followed system").add("effective", code));
  if (languageDidChange_) languageDidChange_();
}

std::string LocalizationManager::displayName(AppLanguage language) const {
  if (std::optional<std::string_view> name = nativeLanguageName(language)) return std::string(*name);
  return tr("language_follow_system");
}

}  // namespace tarvolo
