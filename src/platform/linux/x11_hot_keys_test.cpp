#include "platform/linux/x11_hot_keys.hpp"

#include <gtest/gtest.h>
#include <signal.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"
#include "platform/testing/desktop/test_loop.hpp"

namespace vantorel {
namespace {

using std::chrono::milliseconds;

struct HotKeysTest : testing::Test {
  TestDesktop desktop{{.screen = PixelSize{320, 200}, .windowManager = true}};
  TestClient keyboard{desktop.display()};
  TestLoop loop;
  std::shared_ptr<TaskRunner> main{&loop, [](TaskRunner*) {}};
  X11HotKeys keys{desktop.display(), main};

  struct Counted {
    int fired = 0;
    int released = 0;
    std::unique_ptr<HotKeyRegistration> registration;
    std::vector<HotKeys::State> states{};
  };

  void bind(Counted& counted, const HotKeySpec& spec) {
    counted.states.clear();
    counted.registration = keys.registerKey(
        spec, [&] { ++counted.fired; }, [&] { ++counted.released; },
        [&](const HotKeys::State& now) { counted.states.push_back(now); });
    ASSERT_TRUE(loop.runUntil([&] { return !counted.states.empty(); }));
    ASSERT_TRUE(counted.states[0]) << "status " << counted.states[0].error().status;
  }

  HotKeyError refusal(const HotKeySpec& spec) {
    std::optional<HotKeys::State> state;
    const auto registration =
        keys.registerKey(spec, nullptr, nullptr, [&](const HotKeys::State& now) { state = now; });
    EXPECT_TRUE(loop.runUntil([&] { return state.has_value(); }));
    EXPECT_FALSE(*state);
    return *state ? HotKeyError{} : state->error();
  }

  /// Presses and releases a chord, and behind it a key that is always ours: when that has come, so
  /// has whatever comes of the chord.
  void type(std::initializer_list<std::uint32_t> chord) {
    if (!mark.registration) bind(mark, {XKB_KEY_F12, 0});
    for (const std::uint32_t key : chord) keyboard.key(key, true);
    for (const std::uint32_t key : chord) keyboard.key(key, false);
    const int before = mark.released;
    keyboard.key(XKB_KEY_F12, true);
    keyboard.key(XKB_KEY_F12, false);
    EXPECT_TRUE(loop.runUntil([&] { return mark.released > before; }));
  }

  Counted mark;
};

TEST_F(HotKeysTest, FireOnceAPressWhateverTheLockKeysSay) {
  Counted shot;
  bind(shot, {XKB_KEY_a, HotKeySpec::control | HotKeySpec::option});
  Counted escape;
  bind(escape, {XKB_KEY_Escape, 0});
  EXPECT_EQ(refusal({XKB_KEY_Escape, 0}).what, HotKeyErrorCase::alreadyRegistered);

  type({XKB_KEY_Control_L, XKB_KEY_Alt_L, XKB_KEY_a});
  EXPECT_EQ(shot.fired, 1);
  EXPECT_EQ(shot.released, 1);
  type({XKB_KEY_Control_L, XKB_KEY_a});
  type({XKB_KEY_Control_L, XKB_KEY_Alt_L, XKB_KEY_Shift_L, XKB_KEY_a});
  EXPECT_EQ(shot.fired, 1) << "other modifiers are another key";
  type({XKB_KEY_Caps_Lock});
  type({XKB_KEY_Num_Lock});
  type({XKB_KEY_Control_L, XKB_KEY_Alt_L, XKB_KEY_a});
  EXPECT_EQ(shot.fired, 2);

  // Held for longer than the keyboard waits before it repeats.
  keyboard.key(XKB_KEY_Escape, true);
  loop.runFor(milliseconds(900));
  EXPECT_EQ(escape.fired, 1);
  EXPECT_EQ(escape.released, 0);
  keyboard.key(XKB_KEY_Escape, false);
  EXPECT_TRUE(loop.runUntil([&] { return escape.released == 1; }));

  // Given back, the key is free for others and for us.
  escape.registration.reset();
  type({XKB_KEY_Escape});
  EXPECT_EQ(escape.fired, 1);
  bind(escape, {XKB_KEY_Escape, 0});
  type({XKB_KEY_Escape});
  EXPECT_EQ(escape.fired, 2);
}

TEST_F(HotKeysTest, ATakenKeyIsRefusedAndTheOthersWork) {
  Counted before;
  bind(before, {XKB_KEY_F9, HotKeySpec::command});
  // The window manager itself takes a screen shot with this key.
  EXPECT_EQ(refusal({XKB_KEY_Print, 0}).why, HotKeyObstacle::heldElsewhere);
  EXPECT_EQ(refusal({0x1008FFFE, 0}).why, HotKeyObstacle::noSuchKey);
  Counted after;
  bind(after, {XKB_KEY_F10, 0});
  type({XKB_KEY_Super_L, XKB_KEY_F9});
  type({XKB_KEY_F10});
  EXPECT_EQ(before.fired, 1);
  EXPECT_EQ(after.fired, 1);
}

TEST_F(HotKeysTest, KeysFollowTheLayout) {
  Counted z;
  bind(z, {XKB_KEY_z, HotKeySpec::control});
  Counted y;
  bind(y, {XKB_KEY_y, HotKeySpec::control});
  type({XKB_KEY_Control_L, XKB_KEY_z});
  ASSERT_EQ(z.fired, 1);
  int keyboards = 0;
  keys.onKeyboardChange = [&] { ++keyboards; };
  desktop.run({"setxkbmap", "de"});  // where Y and Z have changed places
  EXPECT_TRUE(loop.runUntil([&] { return keyboards > 0; })) << "refused keys are tried then";
  loop.runFor(milliseconds(200));
  type({XKB_KEY_Control_L, XKB_KEY_y});
  EXPECT_EQ(z.fired, 1);
  EXPECT_EQ(y.fired, 1);
  type({XKB_KEY_Control_L, XKB_KEY_z});
  EXPECT_EQ(z.fired, 2);
  ASSERT_EQ(z.states.size(), 2U) << "whether it moved well is not said";
  EXPECT_TRUE(z.states[1]);
}

TEST_F(HotKeysTest, AnActionMayGiveItsOwnKeyUp) {
  std::unique_ptr<HotKeyRegistration> registration;
  int fired = 0;
  registration = keys.registerKey(
      {XKB_KEY_F8, 0},
      [&] {
        ++fired;
        registration.reset();
      },
      nullptr, nullptr);
  type({XKB_KEY_F8});
  type({XKB_KEY_F8});
  EXPECT_EQ(fired, 1);
}

TEST_F(HotKeysTest, NobodyWaitsForAStoppedServer) {
  Counted early;
  bind(early, {XKB_KEY_F7, 0});
  desktop.server().signal(SIGSTOP);
  const auto start = std::chrono::steady_clock::now();
  bool isKnown = false;
  const auto late = keys.registerKey({XKB_KEY_F8, 0}, nullptr, nullptr,
                                     [&](const HotKeys::State&) { isKnown = true; });
  early.registration.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(500));
  desktop.server().signal(SIGCONT);
  EXPECT_TRUE(loop.runUntil([&] { return isKnown; }));
}

}  // namespace
}  // namespace vantorel
