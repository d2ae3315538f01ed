#include "localization/AppLanguage.h"

#include <algorithm>
#include <initializer_list>

#include "base/Text.h"

namespace tarvolo {

std::string_view rawValue(AppLanguage language) {
  switch (language) {
    case AppLanguage::system: return "system";
    case AppLanguage::en: return "en";
    case AppLanguage::zh: return "zh";
    case AppLanguage::zhHant: return "zh-Hant";
    case AppLanguage::ja: return "ja";
    case AppLanguage::ko: return "ko";
    case AppLanguage::de: return "de";
    case AppLanguage::fr: return "fr";
    case AppLanguage::es: return "es";
    case AppLanguage::pt: return "pt";
  }
  return "system";
}

std::optional<AppLanguage> appLanguageFromRaw(std::string_view raw) {
  for (AppLanguage language : kAllAppLanguages) {
    if (rawValue(language) == raw) return language;
  }
  return std::nullopt;
}

std::optional<std::string_view> nativeLanguageName(AppLanguage language) {
  switch (language) {
    case AppLanguage::system: return std::nullopt;
    case AppLanguage::en: return "English";
    case AppLanguage::zh: return "简体中文";
    case AppLanguage::zhHant: return "繁體中文";
    case AppLanguage::ja: return "日本語";
    case AppLanguage::ko: return "한국어";
    case AppLanguage::de: return "Deutsch";
    case AppLanguage::fr: return "Français";
    case AppLanguage::es: return "Español";
    case AppLanguage::pt: return "Português";
  }
  return std::nullopt;
}

namespace {

bool beginsWithAny(std::string_view text, std::initializer_list<std::string_view> prefixes) {
  return std::any_of(prefixes.begin(), prefixes.end(),
                     [text](std::string_view prefix) { return text.starts_with(prefix); });
}

}  // namespace

std::string_view systemLanguageCode(const std::vector<std::string>& preferredLanguages) {
  if (preferredLanguages.empty()) return "en";
  const std::string tag = text::lowercased(preferredLanguages.front());
  if (beginsWithAny(tag, {"zh-hant", "zh-tw", "zh-hk", "zh-mo"}) || tag.find("-hant") != std::string::npos) {
    return "zh-Hant";
  }
  if (tag.starts_with("zh")) return "zh";
  for (std::string_view code : {"ja", "ko", "de", "fr", "es", "pt"}) {
    if (tag.starts_with(code)) return code;
  }
  return "en";
}

std::string_view effectiveLanguageCode(AppLanguage language, const std::vector<std::string>& preferredLanguages) {
  if (language == AppLanguage::system) return systemLanguageCode(preferredLanguages);
  return rawValue(language);
}

}  // namespace tarvolo
