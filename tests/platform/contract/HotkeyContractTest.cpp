#include <cstdint>
#include <optional>

#include "platform/contract/PlatformContract.h"

namespace tarvolo::contract {
namespace {

// F18 and F19 with every chord modifier: no app or system shortcut a test Mac is likely to hold.
constexpr std::uint16_t kF18 = 79, kF19 = 80;
constexpr std::uint32_t kFirstId = 9101, kSecondId = 9102;

platform::KeyChord chord(std::uint16_t keyCode, std::uint32_t extraBits = 0) {
  platform::ModifierFlags modifiers;
  for (auto modifier : {platform::Modifier::command, platform::Modifier::option, platform::Modifier::control,
                        platform::Modifier::shift}) {
    modifiers = modifiers.with(modifier);
  }
  modifiers.raw |= extraBits;
  return {keyCode, modifiers};
}

class HotkeyContract : public PlatformContractTest {
 protected:
  void TearDown() override {
    platform().hotkeys().unregisterHotkey(kFirstId);
    platform().hotkeys().unregisterHotkey(kSecondId);
    PlatformContractTest::TearDown();
  }
  std::optional<platform::HotkeyFailure> hold(std::uint32_t id, platform::KeyChord held) {
    return platform().hotkeys().registerHotkey(id, held, [](std::uint32_t) {});
  }
};

// The chord is the system's to hand out once: a second id is refused with the "taken" status the
// hot-key manager turns into its conflict text, and gets it once the first lets go.
TEST_F(HotkeyContract, AChordIsHeldByOneIdAtATime) {
  ASSERT_EQ(hold(kFirstId, chord(kF19)), std::nullopt);
  auto refused = hold(kSecondId, chord(kF19));
  ASSERT_TRUE(refused.has_value());
  EXPECT_EQ(refused->stage, platform::HotkeyFailureStage::registration);
  EXPECT_EQ(refused->status, -9878);

  // Registering under a held id replaces its chord, which frees the old one.
  ASSERT_EQ(hold(kFirstId, chord(kF18)), std::nullopt);
  EXPECT_EQ(hold(kSecondId, chord(kF19)), std::nullopt);

  platform().hotkeys().unregisterHotkey(kFirstId);
  platform().hotkeys().unregisterHotkey(kFirstId);  // holding nothing: nothing happens
  EXPECT_EQ(hold(kSecondId, chord(kF18)), std::nullopt);
}

// Caps Lock and the other bits outside the chord's mask do not make a different chord.
TEST_F(HotkeyContract, OnlyTheChordModifiersCount) {
  constexpr std::uint32_t kCapsLock = 1u << 16;
  ASSERT_EQ(hold(kFirstId, chord(kF19, kCapsLock)), std::nullopt);
  auto refused = hold(kSecondId, chord(kF19));
  ASSERT_TRUE(refused.has_value());
  EXPECT_EQ(refused->stage, platform::HotkeyFailureStage::registration);
}

}  // namespace
}  // namespace tarvolo::contract
