// SPDX-License-Identifier: MIT
// Where the service is on the session bus.  All of these are stable.
#pragma once

#include <QLatin1String>

namespace tavelo::bus_names {

/// Also the name of the desktop file.
inline constexpr QLatin1String service{"org.tavelo.ControlPanel"};
inline constexpr QLatin1String object{"/org/tavelo/ControlPanel"};
inline constexpr QLatin1String interface { "org.tavelo.ControlPanel1" };
/// Before the name of each error.
inline constexpr QLatin1String errorPrefix{"org.tavelo.ControlPanel1.Error."};

} // namespace tavelo::bus_names
