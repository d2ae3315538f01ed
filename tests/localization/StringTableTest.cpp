#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "localization/StringTable.h"

namespace tarvolo {
namespace {

// Every key the interface looks up. A key that is misspelt here or in the table shows up as both
// missing and unexpected.
const std::vector<std::string_view> kInterfaceKeys = {
    "iconbar.system", "iconbar.input", "iconbar.passwords", "iconbar.spotlight", "iconbar.vpn", "iconbar.all",
    "iconbar.expand", "iconbar.close_tip", "iconbar.open_tip", "iconbar.title", "iconbar.recover_tip",
    "iconbar.pending", "iconbar.not_found", "iconbar.discover_timeout", "iconbar.discover", "iconbar.discover_tip",
    "iconbar.organize", "iconbar.organize_tip", "iconbar.search", "iconbar.description", "iconbar.open",
    "iconbar.retry", "iconbar.permission", "iconbar.permission_note", "iconbar.empty", "iconbar.no_results",
    "iconbar.action_failed",
    "update.title", "update.checking", "update.available", "update.download", "update.downloading",
    "update.preparing", "update.ready", "update.install", "update.installing", "update.current", "update.failed",
    "update.complete", "update.notes", "update.cancel", "update.close",
    "update.you_have", "update.version_line", "update.megabytes", "update.progress", "update.skipped", "update.skip", "update.later", "update.install_update", "update.installed_version", "update.error.feed", "update.error.download", "update.error.interrupted", "update.error.signature", "update.error.install", "update.automatic", "update.automatic_desc", "update.check_now", "update.network_desc",
    "review_message", "review_later", "review_never",
    "app_shortcut_title", "app_shortcut_record", "app_shortcut_clear", "app_shortcut_conflict_deep",
    "app_shortcut_conflict_app", "app_shortcut_taken", "hotkey_conflict_app_shortcut",
    "display_rules_section", "display_hide_icons", "display_hide_icons_desc", "display_delay_title",
    "display_delay_general",
    "items_move_for_me", "toast_move_for_me_moving", "toast_move_for_me_done", "toast_move_for_me_hand",
    "toast_move_for_me_failed",
    "preferences_window_title",
    "tab_general", "tab_items", "tab_hotkeys", "tab_about",
    "discovery_new_app_title", "discovery_banner_msg", "discovery_fold_action", "discovery_fold_help",
    "discovery_keep_action", "discovery_banner_msg_physical", "discovery_list_footer",
    "new_app_folded_notice", "new_app_maybe_hidden", "new_app_show_arrange", "new_app_ignore",
    "new_app_notice_change", "new_app_notice_focused", "new_app_notices_title", "new_app_notices_desc",
    "section_appearance_language", "section_basic_behavior",
    "launch_at_login", "launch_at_login_desc", "launch_at_login_unsupported", "launch_at_login_approval",
    "launch_at_login_settings",
    "auto_collapse_delay", "auto_collapse_seconds", "auto_collapse_delay_subtitle",
    "recommended_tag",
    "language_setting", "language_setting_subtitle", "language_follow_system",
    "guide_panel_title", "guide_collapse", "guide_expand", "guide_step_1", "guide_step_2",
    "placement_out_of_slot", "placement_fix_help", "placement_anchor_action", "placement_confirm",
    "placement_other_pinned_left", "placement_cancel", "placement_detected", "placement_guide_progress", "reveal_on_hover", "reveal_on_hover_desc",
    "about_feature_network_desc", "placement_guide_visible_title",
    "placement_guide_visible_body", "placement_guide_folded_title", "placement_guide_folded_body",
    "placement_guide_hidden_title", "placement_guide_hidden_body", "placement_guide_anchor_title",
    "placement_guide_anchor_body", "placement_guide_tour_title", "placement_guide_tour_body",
    "placement_relaunch_notice", "placement_relaunch_action", "placement_cancel_hint", "placement_confirm_hint",
    "ax_separator_fold", "ax_separator_hidden",
    "order_repair_action", "order_repair_done", "order_repair_busy", "order_repair_auto", "order_repair_manual", "order_repair_drag_back",
    "collapse_menus_made_room", "collapse_menus_made_room_all", "collapse_folding_unavailable",
    "folding_ineffective_banner", "folding_ineffective_badge",
    "toast_visible_needs_slot", "toast_item_category_set", "toast_item_pinned", "toast_item_unpinned",
    "filter_all", "filter_autohide", "filter_visible", "filter_hidden",
    "refresh_button", "refresh_action",
    "search_placeholder", "search_no_results", "search_clear",
    "no_apps_in_category", "item_pinned", "pin_app", "unpin_app",
    "tier_visible_short", "tier_autohide_short", "tier_hidden_short", "tier_intent_ax", "tier_intent_help",
    "tier_intent_explain",
    "hotkeys_title", "hotkeys_tip",
    "hotkey_expand_all", "hotkey_expand_all_combo", "hotkey_click_arrow", "hotkey_expand_all_desc",
    "hotkey_conflict_warning", "hotkey_conflict_fallback", "hotkey_tip_fullscreen_desc", "hotkey_tip_fullscreen_title", "hotkey_tips_section",
    "hotkey_in_use", "hotkey_change", "hotkey_press",
    "official_website", "support_guide", "privacy_policy",
    "coach_next_hint", "coach_dismiss_hint", "coach_step_1_title", "coach_step_1_body", "coach_step_2_title",
    "coach_step_2_body", "coach_step_3_title", "coach_step_3_body", "coach_step_4_title", "coach_step_4_body",
    "coach_next", "coach_done", "coach_dismiss",
    "open_preferences_help",
    "context_pin", "context_unpin", "context_move_visible", "context_move_hidden", "context_move_always_hidden",
    "menu_collapse_hidden", "menu_expand_hidden", "menu_collapse_deep", "menu_expand_deep",
    "menu_reset_separators", "menu_refresh_apps", "menu_repair_order", "menu_check_updates", "menu_preferences", "menu_quit",
    "menu_rate_tarvolo", "menu_header_title", "menu_show_all", "menu_collapse", "menu_arrange",
    "menu_hide_in_settings",
    "about_feature_privacy_desc", "about_feature_privacy_title", "about_support_docs_desc",
    "about_support_docs_title", "about_support_section", "about_plain_section", "about_sentence_pinned",
    "about_sentence_stats", "about_sentence_arrange", "about_version_label", "about_sentence_click",
    "category_always_hidden", "category_always_visible", "category_hidden", "category_short_always_hidden",
    "category_short_hidden", "category_short_visible",
    "general_header_subtitle",
    "items_header_subtitle", "items_help_body", "items_help_ax",
    "empty_folded_tab", "empty_pinned_tab", "empty_hidden_tab", "empty_list_next",
    "set_pinned_action", "pinned_segment_help", "overflow_vs_system", "gap_crossed_notice",
    "zones_widths", "zones_new_app_note", "zones_settings_button", "zones_settings_warning",
    "zones_illustration_ax",
    "revealed_overflow_note", "fold_peek_note",
    "tooltip_separator_always_hidden", "tooltip_separator_normal", "tooltip_status_collapsed",
    "tooltip_status_deep_expanded", "tooltip_status_normal_expanded", "tooltip_right_click_menu",
    "status_item_ax",
    "anchor_misplaced", "anchor_repair_action",
    "catalog_other_running_show", "catalog_other_running_hide", "catalog_other_running_note",
    "catalog_unconfirmed_hint",
    "app_language",
    "notice_menu_bar_not_allowed", "notice_open_menu_bar_settings", "notice_other_hiding_tool",
    "about_copy_diagnostics", "about_diagnostics_copied",
};

// Texts that may equal the English one, each for a reason.
const std::set<std::pair<std::string_view, std::string_view>> kSameAsEnglish = {
    // The product's name is never translated.
    {"menu_header_title", "zh"}, {"menu_header_title", "zh-Hant"}, {"menu_header_title", "ja"},
    {"menu_header_title", "ko"}, {"menu_header_title", "de"}, {"menu_header_title", "fr"},
    {"menu_header_title", "es"}, {"menu_header_title", "pt"},
    // An acronym every language writes the same way.
    {"iconbar.vpn", "zh"}, {"iconbar.vpn", "zh-Hant"}, {"iconbar.vpn", "ja"}, {"iconbar.vpn", "ko"},
    {"iconbar.vpn", "de"}, {"iconbar.vpn", "fr"}, {"iconbar.vpn", "es"}, {"iconbar.vpn", "pt"},
    // The system keeps this feature's Latin name in every language except simplified Chinese.
    {"iconbar.spotlight", "zh-Hant"}, {"iconbar.spotlight", "ja"}, {"iconbar.spotlight", "ko"},
    {"iconbar.spotlight", "de"}, {"iconbar.spotlight", "fr"}, {"iconbar.spotlight", "es"},
    {"iconbar.spotlight", "pt"},
    // Words these languages share with English.
    {"category_short_visible", "fr"}, {"category_short_visible", "es"},
    {"tier_visible_short", "fr"}, {"tier_visible_short", "es"},
    {"tab_general", "es"},
    {"about_version_label", "de"}, {"about_version_label", "fr"},
    {"official_website", "de"},
    {"about_support_section", "de"},
    // The symbol of the unit is written alike.
    {"update.megabytes", "zh"}, {"update.megabytes", "zh-Hant"}, {"update.megabytes", "ja"},
    {"update.megabytes", "de"}, {"update.megabytes", "es"}, {"update.megabytes", "pt"},
};

std::vector<std::string> placeholders(std::string_view text) {
  static const std::regex pattern(R"(%(\d+\$)?[@dsfu]|%%|\{[A-Za-z_]+\})");
  std::vector<std::string> found;
  const std::string subject(text);
  for (auto it = std::sregex_iterator(subject.begin(), subject.end(), pattern); it != std::sregex_iterator(); ++it) {
    found.push_back(it->str());
  }
  std::sort(found.begin(), found.end());
  return found;
}

TEST(StringTable, HoldsExactlyTheInterfaceKeysOnce) {
  std::set<std::string_view> expected(kInterfaceKeys.begin(), kInterfaceKeys.end());
  ASSERT_EQ(expected.size(), kInterfaceKeys.size()) << "the key list itself repeats a key";

  std::multiset<std::string_view> inTable;
  for (const StringTable::Entry& entry : StringTable::entries()) inTable.insert(entry.key);

  for (std::string_view key : expected) EXPECT_EQ(inTable.count(key), 1u) << key;
  for (std::string_view key : inTable) EXPECT_TRUE(expected.contains(key)) << "unexpected key " << key;
}

TEST(StringTable, EveryKeyHasNineTextsWithTheEnglishPlaceholders) {
  for (std::string_view key : kInterfaceKeys) {
    const StringTable::Entry* entry = StringTable::find(key);
    ASSERT_NE(entry, nullptr) << key;
    const std::vector<std::string> english = placeholders(entry->texts.en);
    for (std::string_view code : StringTable::kLanguageCodes) {
      std::string_view text = entry->texts.in(code);
      EXPECT_FALSE(text.empty()) << key << " has no " << code << " text";
      EXPECT_EQ(placeholders(text), english) << key << " in " << code << ": " << text;
    }
  }
}

TEST(StringTable, TranslationsDifferFromEnglishUnlessTheWordIsShared) {
  for (const StringTable::Entry& entry : StringTable::entries()) {
    for (std::string_view code : StringTable::kLanguageCodes) {
      if (code == "en") continue;
      bool same = entry.texts.in(code) == entry.texts.en;
      EXPECT_EQ(same, kSameAsEnglish.contains({entry.key, code}))
          << entry.key << " in " << code << (same ? " is left in English" : " is listed as shared but differs");
    }
  }
}

TEST(StringTable, TextsQuotedElsewhereStayWordForWord) {
  const std::map<std::string_view, std::string_view> quoted = {
      {"iconbar.not_found", "No menu bar icon was found for this app."},
      {"iconbar.action_failed", "This menu could not be opened."},
      {"iconbar.discover_timeout", "Identification timed out. Icons were collapsed. Try again."},
      {"new_app_maybe_hidden", "The menu bar icon for “%@” may be in the hidden zone."},
      {"new_app_show_arrange", "Show all and arrange"},
      {"order_repair_done", "Tarvolo’s icons are back in order."},
  };
  for (const auto& [key, english] : quoted) EXPECT_EQ(StringTable::text(key, "en"), english) << key;
}

// Catches texts typed with typewriter punctuation, or a traditional Chinese text left in
// simplified characters (and the reverse).
TEST(StringTable, TypographyFitsEachScript) {
  const std::vector<std::string_view> simplifiedOnly = {"图", "标", "显", "隐", "栏", "单", "设", "择", "键", "开",
                                                        "关", "后", "时", "为", "这", "个", "区", "动", "启", "现",
                                                        "项", "认", "请", "检", "载", "软", "网", "权", "录", "过",
                                                        "结", "选", "说", "试", "让", "将", "从", "数", "据", "务"};
  const std::vector<std::string_view> traditionalOnly = {"圖", "標", "顯", "隱", "欄", "單", "設", "擇", "鍵", "開",
                                                         "關", "後", "時", "為", "這", "個", "區", "動", "啟", "現",
                                                         "項", "認", "請", "檢", "載", "軟", "網", "權", "錄", "過",
                                                         "結", "選", "說", "試", "讓", "將", "從", "數", "據", "務"};
  auto containsAny = [](std::string_view text, const std::vector<std::string_view>& characters) {
    return std::any_of(characters.begin(), characters.end(),
                       [text](std::string_view c) { return text.find(c) != std::string_view::npos; });
  };
  for (const StringTable::Entry& entry : StringTable::entries()) {
    for (std::string_view code : StringTable::kLanguageCodes) {
      std::string_view text = entry.texts.in(code);
      EXPECT_EQ(text.find('\''), std::string_view::npos) << entry.key << " in " << code << ": use ’";
      EXPECT_EQ(text.find("..."), std::string_view::npos) << entry.key << " in " << code << ": use …";
      EXPECT_NE(text.back(), ' ') << entry.key << " in " << code;
    }
    EXPECT_FALSE(containsAny(entry.texts.zhHant, simplifiedOnly)) << entry.key << ": " << entry.texts.zhHant;
    EXPECT_FALSE(containsAny(entry.texts.zh, traditionalOnly)) << entry.key << ": " << entry.texts.zh;
  }
}

TEST(StringTable, LookupFallsBackToEnglishAndKnowsNoStrayKeys) {
  EXPECT_EQ(StringTable::text("menu_quit", "ja"), "Tarvoloを終了");
  EXPECT_EQ(StringTable::text("menu_quit", "it"), "Quit Tarvolo");
  EXPECT_FALSE(StringTable::text("menu_quit_now", "en").has_value());
  EXPECT_EQ(StringTable::find("MENU_QUIT"), nullptr);
}

TEST(StringTable, OneLanguageListsEveryKeyInTableOrder) {
  const std::vector<StringTable::KeyedText> german = StringTable::textsIn("de");
  const std::span<const StringTable::Entry> all = StringTable::entries();
  ASSERT_EQ(german.size(), all.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(german[i].key, all[i].key);
    EXPECT_EQ(german[i].text, all[i].texts.de);
  }
  const std::vector<StringTable::KeyedText> unknown = StringTable::textsIn("it");
  ASSERT_EQ(unknown.size(), all.size());
  EXPECT_EQ(unknown.front().text, all.front().texts.en);
}

}  // namespace
}  // namespace tarvolo
