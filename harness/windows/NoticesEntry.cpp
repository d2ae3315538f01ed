// The notices Tarvolo posts (a collapse that could not hide everything, say): the kinds still
// showing.

#include <algorithm>

#include "harness/SimSession.h"
#include "harness/WindowEntry.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;

// Presses the button of the notice of that kind still showing; the notice goes away, as the
// panel closes with its button.
struct PressNotice {
  std::string kind;
  std::string describe() const { return "press the button of notice " + kind; }
  std::optional<std::string> perform(StepContext& context) const {
    auto& ui = context.desktop().userInterface();
    const auto& notices = ui.notices();
    auto showing = std::find_if(notices.rbegin(), notices.rend(), [&](const sim::SimNoticeRecord& notice) {
      return !notice.dismissed && notice.request.kind == kind;
    });
    if (showing == notices.rend()) return "no notice " + kind + " is showing";
    if (!showing->request.onAction) return "notice " + kind + " has no button";
    auto action = showing->request.onAction;
    ui.dismissNotice(kind);
    action();
    return std::nullopt;
  }
};

class NoticesView final : public WindowView {
 public:
  explicit NoticesView(const std::vector<sim::SimNoticeRecord>& notices) {
    for (const auto& notice : notices) {
      if (!notice.dismissed) showing_.push_back(notice.request.kind);
    }
  }

  void report(json& ui) const override { ui["notices"] = showing_; }

  std::string headline() const override {
    std::string text;
    for (const auto& kind : showing_) text += " · notice " + kind;
    return text;
  }

 private:
  std::vector<std::string> showing_;
};

}  // namespace

const WindowEntry& noticesEntry() {
  static const WindowEntry entry{.name = "notices",
                                 .steps = {{"pressNotice", {},
                                            [](const StepInput& in) {
                                              return makeAction(PressNotice{.kind = in.value.nonEmptyString()});
                                            }}},
                                 .view = [](const sim::SimDesktop& desktop) {
                                   return std::shared_ptr<const WindowView>(
                                       std::make_shared<NoticesView>(desktop.userInterface().notices()));
                                 }};
  return entry;
}

}  // namespace tarvolo::scenario
