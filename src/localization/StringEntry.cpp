#include "localization/StringEntry.h"

namespace tarvolo::StringTable {

std::string_view Texts::in(std::string_view code) const {
  if (code == "en") return en;
  if (code == "zh") return zh;
  if (code == "zh-Hant") return zhHant;
  if (code == "ja") return ja;
  if (code == "ko") return ko;
  if (code == "de") return de;
  if (code == "fr") return fr;
  if (code == "es") return es;
  if (code == "pt") return pt;
  return {};
}

}  // namespace tarvolo::StringTable
