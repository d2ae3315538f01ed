#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <string_view>
#include <vector>

#include "base/Text.h"

namespace tarvolo::text {
namespace {

TEST(Text, TrimmingRemovesUnicodeWhiteSpaceAtEitherEndOnly) {
  EXPECT_EQ(trimmed(" \t\n com.example.App \r"), "com.example.App");
  // No-break, ideographic and narrow no-break spaces, a line separator: pasted names carry them.
  EXPECT_EQ(trimmed("\u00A0\u3000Notes\u202F\u2028"), "Notes");
  EXPECT_EQ(trimmed("Caf\u00E9\u00A0"), "Caf\u00E9");
  EXPECT_EQ(trimmed(" two words "), "two words");
  EXPECT_EQ(trimmed(" \u00A0 "), "");
  EXPECT_EQ(trimmed("\u200Bzero-width\u200B"), "\u200Bzero-width\u200B");  // not white space
}

TEST(Text, WordsSplitOnEveryUnicodeWhiteSpace) {
  using Words = std::vector<std::string_view>;
  EXPECT_EQ(words("\u5FAE\u3000\u4FE1"), (Words{"\u5FAE", "\u4FE1"}));
  EXPECT_EQ(words(" a\u00A0b\u2003c\t\u202Fd "), (Words{"a", "b", "c", "d"}));
  EXPECT_EQ(words("one"), (Words{"one"}));
  EXPECT_TRUE(words("").empty());
  EXPECT_TRUE(words(" \u3000\u2028").empty());
  EXPECT_EQ(words("a\u200Bb"), (Words{"a\u200Bb"}));  // zero-width space is not white space
  // Malformed bytes belong to the word they sit in; a truncated sequence is not a space.
  EXPECT_EQ(words("x\xFF y\xE3\x80"), (Words{"x\xFF", "y\xE3\x80"}));
}

TEST(Text, LowerCasingCoversTheScriptsNamesUseAndLeavesTheRestAlone) {
  EXPECT_EQ(lowercased("COM.Example.APP"), "com.example.app");
  EXPECT_EQ(lowercased("\u00C4\u00D6\u00DC \u00C9\u00C8 \u00D7"), "\u00E4\u00F6\u00FC \u00E9\u00E8 \u00D7");
  EXPECT_EQ(lowercased("\u0141\u00D3D\u0179 \u0130 \u0178"), "\u0142\u00F3d\u017A i \u00FF");
  EXPECT_EQ(lowercased("\u0391\u0398\u0397\u039D\u0391 \u0386"), "\u03B1\u03B8\u03B7\u03BD\u03B1 \u03AC");
  EXPECT_EQ(lowercased("\u041C\u041E\u0421\u041A\u0412\u0410 \u0401"), "\u043C\u043E\u0441\u043A\u0432\u0430 \u0451");
  EXPECT_EQ(lowercased("\uFF21\uFF22"), "\uFF41\uFF42");
  EXPECT_EQ(lowercased("\u65E5\u672C 123 \u00DF"), "\u65E5\u672C 123 \u00DF");
  EXPECT_TRUE(equalsIgnoringCase("Com.Example.\u00C4pp", "cOM.eXAMPLE.\u00E4PP"));
  EXPECT_FALSE(equalsIgnoringCase("com.example", "com.example.app"));
}

TEST(Text, FoldingIgnoresCaseAccentsAndSurroundingSpace) {
  EXPECT_EQ(folded("\u00C4rger "), "arger");
  EXPECT_EQ(folded("Caf\u00E9"), "cafe");
  EXPECT_EQ(folded("Cafe\u0301"), "cafe");  // decomposed: the mark is dropped
  EXPECT_EQ(folded("Stra\u00DFe"), "strasse");
  EXPECT_EQ(folded("\t\u00C9COLE\u00A0"), "ecole");
  EXPECT_EQ(folded("\u039F\u0394\u039F\u03A3"), folded("\u03BF\u03B4\u03BF\u03C2"));  // final sigma
  EXPECT_EQ(folded("\u0401\u043B\u043A\u0430"), "\u0435\u043B\u043A\u0430");
  EXPECT_EQ(folded("\u5FAE\u4FE1"), "\u5FAE\u4FE1");
}

// Letters with accents from every block fold, upper case too, whatever locale the process runs in.
TEST(Text, FoldingCoversEveryAccentedLetterInEveryProcessLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  int locales = 0;
  for (const char* name : {"C", "C.UTF-8", "POSIX", "tr_TR.UTF-8", "de_DE.UTF-8"}) {
    if (!std::setlocale(LC_ALL, name)) continue;
    ++locales;
    SCOPED_TRACE(name);
    EXPECT_EQ(folded("Ti\u1EBFng Vi\u1EC7t"), "tieng viet");
    EXPECT_EQ(folded("TI\u1EBENG VI\u1EC6T"), "tieng viet");
    EXPECT_EQ(folded("Tie\u0302\u0301ng"), "tieng");  // decomposed
    EXPECT_EQ(folded("\u01D7\u1E0D\u0390\u0419"), "u\u0064\u03B9\u0438");
    EXPECT_EQ(folded("\u0130stanbul"), "istanbul");
    EXPECT_EQ(folded("\u212Bngstr\u00F6m"), "angstrom");
    // A spacing vowel sign spells a sound, not an accent: it stays.
    EXPECT_EQ(folded("\u0939\u093F"), "\u0939\u093F");
  }
  std::setlocale(LC_ALL, before.c_str());
  EXPECT_GE(locales, 2);
}

TEST(Text, DecodingStepsOverOneScalarAndAMalformedByteAlone) {
  const std::string text = "a\u20AC\U0001F600\xE2\x82";
  std::size_t offset = 0;
  EXPECT_EQ(decodeScalar(text, offset), U'a');
  EXPECT_EQ(decodeScalar(text, offset), U'\u20AC');
  EXPECT_EQ(offset, 4u);
  EXPECT_EQ(decodeScalar(text, offset), U'\U0001F600');
  EXPECT_EQ(decodeScalar(text, offset), U'\uFFFD');  // truncated sequence
  EXPECT_EQ(offset, text.size() - 1);
  std::string out;
  for (char32_t c : {U'a', U'\u00E9', U'\u20AC', U'\U0001F600'}) appendScalar(out, c);
  EXPECT_EQ(out, "a\u00E9\u20AC\U0001F600");
}

}  // namespace
}  // namespace tarvolo::text
