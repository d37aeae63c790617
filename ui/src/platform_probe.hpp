// Which Qt platform the library may start its own QApplication on. Qt aborts
// the whole process when its platform cannot start, so the library asks first.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pkiui {

// The platform to pass to our QApplication ("xcb", "wayland", "offscreen" or
// "minimal", with any ":options" QT_QPA_PLATFORM gave), or nothing when none is
// installed and answering.
//
// QT_QPA_PLATFORM, when set, is a ';'-separated list tried in order; only those
// four platforms are honoured (the others take over a console, a framebuffer
// or a network port, which a library must not do). Unset, a Wayland
// compositor named by WAYLAND_DISPLAY is tried first, then the X server named
// by DISPLAY.
std::optional<std::string> reachablePlatform();

// Whether a person sees the windows of a platform reachablePlatform gave:
// false for "offscreen" and "minimal".
bool showsWindows(std::string_view platform);

} // namespace pkiui
