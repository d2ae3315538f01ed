#pragma once

// Fills a table text's placeholders: "%@" and "%d" take the arguments in turn, "%1$@" and
// "%2$d" by number (languages reorder them), "%%" is a percent sign.

#include <string>
#include <string_view>
#include <vector>

namespace tarvolo {

std::string formatText(std::string_view pattern, const std::vector<std::string>& arguments);

}  // namespace tarvolo
