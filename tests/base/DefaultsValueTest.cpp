#include <gtest/gtest.h>

#include "base/DefaultsValue.h"

namespace tarvolo {
namespace {

TEST(DefaultsValue, NumbersAndBooleansConvertButOtherTypesAreAbsent) {
  EXPECT_EQ(DefaultsValue(3).asDouble(), 3.0);
  EXPECT_EQ(DefaultsValue(2.9).asInteger(), 2);
  EXPECT_EQ(DefaultsValue(true).asDouble(), 1.0);
  EXPECT_EQ(DefaultsValue(0).asBool(), false);
  EXPECT_FALSE(DefaultsValue("12").asDouble().has_value());
  EXPECT_FALSE(DefaultsValue(12.0).asString());
}

// `defaults write DOMAIN KEY YES` stores a string, which the platform's Boolean lookup still reads.
TEST(DefaultsValue, StringsReadAsBooleansTheWayThePlatformReadsThem) {
  for (const char* yes : {"YES", "yes", "Y", "true", "T", "1", "42", " 7", "+1", "-0001", "Yellow"}) {
    EXPECT_EQ(DefaultsValue(yes).asBool(), true) << yes;
  }
  for (const char* no : {"NO", "no", "false", "0", "", "  ", "0.5", "abc", "-", "on"}) {
    EXPECT_EQ(DefaultsValue(no).asBool(), false) << no;
  }
  EXPECT_FALSE(DefaultsValue(DefaultsValue::Array{}).asBool().has_value());
}

TEST(DefaultsValue, StringCollectionsKeepOnlyStrings) {
  DefaultsValue mixed(DefaultsValue::Array{DefaultsValue("a"), DefaultsValue(1), DefaultsValue("b")});
  EXPECT_EQ(mixed.asStringArray(), (std::vector<std::string>{"a", "b"}));
  DefaultsValue dict(DefaultsValue::Dictionary{{"x", DefaultsValue("hidden")}, {"y", DefaultsValue(2)}});
  EXPECT_EQ(dict.asStringDictionary(), (std::map<std::string, std::string>{{"x", "hidden"}}));
  EXPECT_FALSE(DefaultsValue("x").asStringArray().has_value());
}

}  // namespace
}  // namespace tarvolo
