// The notices Tarvolo posts (a collapse that could not hide everything, say): the kinds still
// showing.

#include "harness/SimSession.h"
#include "harness/WindowEntry.h"

namespace tarvolo::scenario {

namespace {

using json = nlohmann::ordered_json;

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
  static const WindowEntry entry{.name = "notices", .steps = {}, .view = [](const sim::SimDesktop& desktop) {
                                   return std::shared_ptr<const WindowView>(
                                       std::make_shared<NoticesView>(desktop.userInterface().notices()));
                                 }};
  return entry;
}

}  // namespace tarvolo::scenario
