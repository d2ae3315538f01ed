#pragma once

// The one place text is lower-cased, trimmed and folded, so that a bundle identifier or a name
// compares the same whatever path it took. UTF-8 in and out; independent of the user's locale.

#include <string>
#include <string_view>
#include <vector>

namespace tarvolo::text {

// Lower case for ASCII and the Latin, Greek, Cyrillic and full-width letters that names use.
std::string lowercased(std::string_view text);

// Without the white space and line breaks at either end (Unicode's, not only ASCII's).
std::string_view trimmed(std::string_view text);

// The runs of `text` between white space, by the same Unicode set `trimmed` removes (an input
// method's ideographic space U+3000 separates words as U+0020 does). Malformed bytes stay inside
// their word.
std::vector<std::string_view> words(std::string_view text);

// The comparison form for searching: trimmed, lower-cased, accents removed and the few letters
// whose case folding differs from their lower case folded ("ß" to "ss", "ς" to "σ"), so that
// "Ärger " folds to "arger".
std::string folded(std::string_view text);

bool equalsIgnoringCase(std::string_view a, std::string_view b);

// One Unicode scalar decoded from `text` at `offset`, which moves past it. A malformed byte
// decodes as U+FFFD and moves one byte on.
char32_t decodeScalar(std::string_view text, std::size_t& offset);
void appendScalar(std::string& out, char32_t scalar);

}  // namespace tarvolo::text
