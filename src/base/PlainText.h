#pragma once

// Release notes and other texts that may arrive as HTML, made plain for a text view: tags go,
// paragraphs, line breaks and list items become lines, character references are decoded.
// Plain text passes through with only its ends trimmed.

#include <string>
#include <string_view>

namespace tarvolo::text {

std::string plainFromMarkup(std::string_view markup);

}  // namespace tarvolo::text
