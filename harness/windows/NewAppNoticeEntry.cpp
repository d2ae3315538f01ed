// The panel that tells of a newly started app whose icon may have landed out of sight, and its
// two buttons.

#include "harness/SimSession.h"
#include "harness/WindowEntry.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;

struct NoticeButton {
  bool arrange = true;  // false: Ignore
  std::string describe() const { return std::string("notice ") + (arrange ? "arrange" : "ignore"); }
  std::optional<std::string> perform(StepContext& context) const {
    const auto& window = context.desktop().userInterface().newAppNotice();
    if (!window.shown()) return std::string("no new-app notice is showing");
    auto button = arrange ? window.controls().arrange : window.controls().ignore;
    if (button) button();
    return std::nullopt;
  }
};

Action parseNotice(const StepInput& in) {
  std::string button = in.value.string();
  if (button != "arrange" && button != "ignore") {
    in.value.fail("unknown button " + inQuotes(button) + " (expected arrange or ignore)");
  }
  return makeAction(NoticeButton{.arrange = button == "arrange"});
}

class NewAppNoticeView final : public WindowView {
 public:
  explicit NewAppNoticeView(const sim::SimNewAppNoticeWindow& window) : shows_(window.showCount()) {
    if (const auto* state = window.showing()) state_ = *state;
  }

  void report(json& ui) const override {
    json notice = nullptr;
    if (state_) {
      notice = {{"bundleId", state_->bundleId},
                {"message", state_->message},
                {"arrange", state_->arrangeTitle},
                {"ignore", state_->ignoreTitle}};
    }
    ui["newAppNotice"] = std::move(notice);
    // Notices shown since start-up.
    ui["newAppNotices"] = shows_;
  }

  std::string headline() const override { return state_ ? " · new-app notice" : ""; }

  std::string render() const override {
    if (!state_) return {};
    return "  ▤ " + state_->message + "  [" + state_->arrangeTitle + "] [" + state_->ignoreTitle + "]\n";
  }

 private:
  int shows_ = 0;
  std::optional<platform::NewAppNoticeViewState> state_;
};

}  // namespace

const WindowEntry& newAppNoticeEntry() {
  static const WindowEntry entry{
      .name = "newAppNotice",
      .steps = {{"notice", {}, parseNotice}},
      .view = [](const sim::SimDesktop& desktop) -> std::shared_ptr<const WindowView> {
        return std::make_shared<NewAppNoticeView>(desktop.userInterface().newAppNotice());
      }};
  return entry;
}

}  // namespace tarvolo::scenario
