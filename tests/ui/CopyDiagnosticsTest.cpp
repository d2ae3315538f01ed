#include <gtest/gtest.h>

#include <map>
#include <string>

#include "app/AppEnvironment.h"
#include "app/Diagnostics.h"
#include "support/SimFixture.h"
#include "ui/PreferencesController.h"

namespace tarvolo::testing {
namespace {

class CopyDiagnosticsTest : public SimAppTest {
 protected:
  std::map<std::string, DefaultsValue> stored() {
    std::map<std::string, DefaultsValue> values;
    for (const auto& key : desktop().defaults().keys()) values.emplace(key, *desktop().defaults().object(key));
    return values;
  }
  AppEnvironment& environment() { return *session().delegate()->environment(); }
  sim::SimPreferencesWindow& window() { return desktop().userInterface().preferences(); }
};

TEST_F(CopyDiagnosticsTest, TheAboutButtonCopiesWhatDiagnosePrintsAndChangesNothingElse) {
  boot();
  launch();
  run(3);
  environment().preferences()->open(std::string("about"));
  run(0.5);
  ASSERT_TRUE(window().lastState().has_value());
  EXPECT_EQ(window().lastState()->about.copyDiagnosticsTitle, environment().tr("about_copy_diagnostics"));
  EXPECT_FALSE(window().lastState()->about.diagnosticsCopiedNote.has_value());

  const std::string expected = Diagnostics::text(environment());
  const auto storedBefore = stored();
  const double separatorBefore = controller().ownItems().separatorLength();
  const auto stateBefore = controller().state();
  const auto copies = desktop().application().copies();
  auto copy = window().controls().copyDiagnostics;
  ASSERT_TRUE(copy);
  copy();

  EXPECT_EQ(desktop().application().copies(), copies + 1);
  EXPECT_EQ(desktop().application().pasteboard(), expected);
  EXPECT_NE(expected.find("macOS: "), std::string::npos);
  EXPECT_EQ(window().lastState()->about.diagnosticsCopiedNote, environment().tr("about_diagnostics_copied"));
  EXPECT_EQ(stored(), storedBefore);
  EXPECT_EQ(controller().ownItems().separatorLength(), separatorBefore);
  EXPECT_EQ(controller().state(), stateBefore);

  // The note is for the copy just made: a window opened later starts without it.
  window().closeByUser();
  environment().preferences()->open(std::string("about"));
  run(0.5);
  EXPECT_FALSE(window().lastState()->about.diagnosticsCopiedNote.has_value());
}

}  // namespace
}  // namespace tarvolo::testing
