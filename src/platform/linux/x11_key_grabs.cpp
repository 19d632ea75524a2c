#include "platform/linux/x11_key_grabs.hpp"

// The header of a C library names a field like a C++ keyword.
#define explicit isExplicit
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>

#include "platform/linux/x11_call.hpp"

namespace vantorel {
namespace {

constexpr std::uint16_t allModifiers = 0xFF;
constexpr std::int32_t badAccess = 10;

}  // namespace

X11KeyGrabs::X11KeyGrabs(xcb_connection_t* connection, int screenNumber, Listener listener)
    : connection_(connection), listener_(std::move(listener)) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (int i = 0; i < screenNumber && screens.rem > 1; ++i) xcb_screen_next(&screens);
  root_ = screens.data->root;
  const auto* xkb = xcb_get_extension_data(connection, &xcb_xkb_id);
  if (xkb != nullptr && xkb->present != 0) {
    keyboardEvent_ = xkb->first_event;
    const auto used =
        xReply<xcb_xkb_use_extension_reply>(connection, xcb_xkb_use_extension(connection, 1, 0));
    if (used && used->supported != 0) {
      // A held key then sends presses only, not release and press at each repeat.
      constexpr std::uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
      xcb_discard_reply(connection, xcb_xkb_per_client_flags(connection, XCB_XKB_ID_USE_CORE_KBD,
                                                             flag, flag, 0, 0, 0)
                                        .sequence);
      // Who uses XKB gets no MappingNotify any more.
      constexpr std::uint16_t events =
          XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
      constexpr std::uint16_t parts =
          XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
      xcb_xkb_select_events(connection, XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts,
                            nullptr);
    }
  }
  readKeyboard();
}

void X11KeyGrabs::readKeyboard() {
  const xcb_setup_t* setup = xcb_get_setup(connection_);
  firstCode_ = setup->min_keycode;
  const auto askSymbols = xcb_get_keyboard_mapping(
      connection_, firstCode_, static_cast<std::uint8_t>(setup->max_keycode - firstCode_ + 1));
  const auto askModifiers = xcb_get_modifier_mapping(connection_);
  const auto mapping = xReply<xcb_get_keyboard_mapping_reply>(connection_, askSymbols);
  const auto modifiers = xReply<xcb_get_modifier_mapping_reply>(connection_, askModifiers);
  if (!mapping || !modifiers) return;
  symbolsEach_ = std::max<std::uint8_t>(mapping->keysyms_per_keycode, 1);
  const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
  symbols_.assign(symbols, symbols + xcb_get_keyboard_mapping_keysyms_length(mapping.get()));
  const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(modifiers.get());
  modifierCodes_.assign(codes, codes + xcb_get_modifier_mapping_keycodes_length(modifiers.get()));
  numLock_ = modifierOf({XKB_KEY_Num_Lock}, 0);
  scrollLock_ = modifierOf({XKB_KEY_Scroll_Lock}, 0);
  alt_ = modifierOf({XKB_KEY_Alt_L, XKB_KEY_Alt_R}, XCB_MOD_MASK_1);
  super_ = modifierOf({XKB_KEY_Super_L, XKB_KEY_Super_R}, XCB_MOD_MASK_4);
}

std::vector<xcb_keycode_t> X11KeyGrabs::codesOf(std::uint32_t keysym) const {
  // The first layout before the others: "A" under a Cyrillic layout is where the Latin one has it.
  for (std::size_t column = 0; column < symbolsEach_; ++column) {
    std::vector<xcb_keycode_t> codes;
    for (std::size_t at = column; at < symbols_.size(); at += symbolsEach_) {
      if (symbols_[at] == keysym) {
        codes.push_back(static_cast<xcb_keycode_t>(firstCode_ + at / symbolsEach_));
      }
    }
    if (!codes.empty()) return codes;
  }
  return {};
}

std::uint16_t X11KeyGrabs::modifierOf(std::initializer_list<std::uint32_t> keysyms,
                                      std::uint16_t otherwise) const {
  const std::size_t each = modifierCodes_.size() / 8;
  for (const std::uint32_t keysym : keysyms) {
    for (const xcb_keycode_t code : codesOf(keysym)) {
      const auto found = std::find(modifierCodes_.begin(), modifierCodes_.end(), code);
      if (found == modifierCodes_.end()) continue;
      return static_cast<std::uint16_t>(
          1U << static_cast<std::size_t>(found - modifierCodes_.begin()) / each);
    }
  }
  return otherwise;
}

std::vector<std::uint16_t> X11KeyGrabs::lockVariants() const {
  std::vector<std::uint16_t> variants{0};
  for (const std::uint16_t lock : {std::uint16_t{XCB_MOD_MASK_LOCK}, numLock_, scrollLock_}) {
    if (lock == 0 || (variants.back() & lock) != 0) continue;
    const std::size_t count = variants.size();
    for (std::size_t i = 0; i < count; ++i) variants.push_back(variants[i] | lock);
  }
  return variants;
}

X11KeyGrabs::Chords X11KeyGrabs::chordsOf(const HotKeySpec& spec) const {
  Chords chords;
  chords.codes = codesOf(spec.keyCode);
  const std::uint32_t wanted = spec.carbonModifiers;
  chords.modifiers =
      static_cast<std::uint16_t>(((wanted & HotKeySpec::control) != 0 ? XCB_MOD_MASK_CONTROL : 0) |
                                 ((wanted & HotKeySpec::shift) != 0 ? XCB_MOD_MASK_SHIFT : 0) |
                                 ((wanted & HotKeySpec::option) != 0 ? alt_ : 0) |
                                 ((wanted & HotKeySpec::command) != 0 ? super_ : 0));
  chords.locks = lockVariants();
  return chords;
}

Result<void, HotKeyError> X11KeyGrabs::take(const Chords& chords) {
  if (chords.codes.empty()) {
    return std::unexpected(HotKeyError{.why = HotKeyObstacle::noSuchKey});
  }
  std::vector<xcb_void_cookie_t> asked;
  for (const xcb_keycode_t code : chords.codes) {
    for (const std::uint16_t locks : chords.locks) {
      asked.push_back(xcb_grab_key_checked(connection_, 0, root_, chords.modifiers | locks, code,
                                           XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
  }
  std::int32_t status = 0;
  for (const auto& cookie : asked) {
    const XOwned<xcb_generic_error_t> error{xcb_request_check(connection_, cookie)};
    if (error) status = error->error_code;
  }
  if (status == 0) return {};
  giveBack(chords);
  return std::unexpected(
      HotKeyError{.why = status == badAccess ? HotKeyObstacle::heldElsewhere : HotKeyObstacle::none,
                  .status = status});
}

void X11KeyGrabs::giveBack(const Chords& chords) {
  for (const xcb_keycode_t code : chords.codes) {
    for (const std::uint16_t locks : chords.locks) {
      xcb_ungrab_key(connection_, code, root_, chords.modifiers | locks);
    }
  }
  xcb_flush(connection_);
}

Result<void, HotKeyError> X11KeyGrabs::grab(std::uint64_t id, const HotKeySpec& spec) {
  for (const auto& [other, grab] : grabs_) {
    if (grab.spec == spec) {
      return std::unexpected(HotKeyError{.what = HotKeyErrorCase::alreadyRegistered});
    }
  }
  Chords chords = chordsOf(spec);
  if (auto taken = take(chords); !taken) return taken;
  grabs_.emplace(id, Grab{spec, std::move(chords), {}});
  return {};
}

void X11KeyGrabs::ungrab(std::uint64_t id) {
  const auto found = grabs_.find(id);
  if (found == grabs_.end()) return;
  giveBack(found->second.chords);
  grabs_.erase(found);
}

void X11KeyGrabs::handle(const xcb_generic_event_t& event) {
  const std::uint8_t type = event.response_type & 0x7FU;
  if (type == XCB_KEY_PRESS) {
    const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
    const auto modifiers = key.state & allModifiers & ~(XCB_MOD_MASK_LOCK | numLock_ | scrollLock_);
    for (auto& [id, grab] : grabs_) {
      const auto& codes = grab.chords.codes;
      const bool isIt = std::find(codes.begin(), codes.end(), key.detail) != codes.end() &&
                        modifiers == grab.chords.modifiers;
      if (!isIt || grab.held) continue;
      grab.held = key.detail;
      listener_.pressed(id);
    }
  } else if (type == XCB_KEY_RELEASE) {
    const auto& key = reinterpret_cast<const xcb_key_release_event_t&>(event);
    for (auto& [id, grab] : grabs_) {
      if (grab.held != key.detail) continue;
      grab.held.reset();
      listener_.released(id);
    }
  } else if (type == XCB_MAPPING_NOTIFY || (keyboardEvent_ != 0 && type == keyboardEvent_)) {
    keyboardChanged_ = true;
  }
}

void X11KeyGrabs::eventsHandled() {
  if (!keyboardChanged_) return;
  keyboardChanged_ = false;
  const auto symbols = std::exchange(symbols_, {});
  const auto modifierCodes = std::exchange(modifierCodes_, {});
  readKeyboard();
  // Another keyboard being used counts as a change too: what stays the same is never let go. The
  // others all first, for two keys may have changed places.
  std::vector<std::pair<std::uint64_t, Grab*>> moved;
  for (auto& [id, grab] : grabs_) {
    if (chordsOf(grab.spec) == grab.chords) continue;
    giveBack(grab.chords);
    moved.emplace_back(id, &grab);
  }
  for (const auto& [id, grab] : moved) {
    grab->chords = chordsOf(grab->spec);
    const auto taken = take(grab->chords);
    if (!taken) grab->chords = {};
    listener_.stateChanged(id, taken);
  }
  if (symbols_ != symbols || modifierCodes_ != modifierCodes) listener_.keyboardChanged();
}

}  // namespace vantorel
