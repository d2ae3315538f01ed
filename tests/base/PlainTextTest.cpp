#include <gtest/gtest.h>

#include "base/PlainText.h"

namespace tarvolo {
namespace {

TEST(PlainText, PlainTextPassesThroughTrimmed) {
  EXPECT_EQ(text::plainFromMarkup("  Faster shelf.\nFewer probes.  "), "Faster shelf.\nFewer probes.");
}

TEST(PlainText, ParagraphsAndListItemsBecomeLinesAndMarkupLineBreaksBecomeSpaces) {
  EXPECT_EQ(text::plainFromMarkup("<h2>Tarvolo 1.1</h2>\n<p>New:\n  faster</p><ul><li>One</li><li>Two</li></ul>"),
            "Tarvolo 1.1\n\nNew: faster\n\n• One\n• Two");
  EXPECT_EQ(text::plainFromMarkup("a<br>b<BR/>c"), "a\nb\nc");
}

TEST(PlainText, ReferencesAreDecodedAndBrokenOnesKept) {
  EXPECT_EQ(text::plainFromMarkup("Fish &amp; chips &lt;3 &#8212; &#x2026;"), "Fish & chips <3 — …");
  EXPECT_EQ(text::plainFromMarkup("AT&T &bogus; &#xD800;"), "AT&T &bogus; \xEF\xBF\xBD");
}

TEST(PlainText, ScriptsAndStylesAreNeverText) {
  EXPECT_EQ(text::plainFromMarkup("<style>p{color:red}</style><p>Hi</p><script>alert(1)</script>"), "Hi");
  // An unclosed tag ends the text rather than leaking its inside.
  EXPECT_EQ(text::plainFromMarkup("Hello <b"), "Hello");
}

}  // namespace
}  // namespace tarvolo
