// SPDX-License-Identifier: MIT
// What happens to cameras, in words.
#pragma once

#include <string>
#include <vector>

#include "watch/monitor.h"

namespace tavelo {

/// The words for a control: pan and tilt are two for people.
std::string controlName(KTUVCControl control);

/// One line; for pan and tilt one for each half that has changed.
std::vector<std::string> monitorLines(const MonitorEvent& event);

} // namespace tavelo
