#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

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

// Anything can be written into the store by hand; converting an out-of-range double is undefined.
TEST(DefaultsValue, NumbersOutsideTheIntegerRangeOrNotFiniteAreAbsent) {
  constexpr double twoTo63 = 9223372036854775808.0;
  for (double hostile : {1e300, -1e300, twoTo63, -twoTo63 * 2, std::numeric_limits<double>::infinity(),
                         -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_FALSE(DefaultsValue(hostile).asInteger().has_value()) << hostile;
  }
  // Both ends of the range still convert.
  EXPECT_EQ(DefaultsValue(-twoTo63).asInteger(), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(DefaultsValue(std::nextafter(twoTo63, 0.0)).asInteger(), std::int64_t{9223372036854774784});
  EXPECT_EQ(DefaultsValue(-1e18).asInteger(), std::int64_t{-1000000000000000000});
  EXPECT_FALSE(DefaultsValue(std::numeric_limits<double>::quiet_NaN()).asDouble().has_value());
  EXPECT_FALSE(DefaultsValue(std::numeric_limits<double>::infinity()).asDouble().has_value());
  EXPECT_EQ(DefaultsValue(1e300).asDouble(), 1e300);
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
