#pragma once

// The table's groups, one source file each, joined by StringTable.cpp.

#include <span>

#include "localization/StringEntry.h"

namespace tarvolo::StringTable {

std::span<const Entry> statusBarEntries();
std::span<const Entry> iconShelfEntries();
std::span<const Entry> placementEntries();
std::span<const Entry> settingsEntries();
std::span<const Entry> shortcutAndDisplayEntries();
std::span<const Entry> systemReportEntries();

}  // namespace tarvolo::StringTable
