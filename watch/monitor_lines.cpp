// SPDX-License-Identifier: MIT
#include "watch/monitor_lines.h"

#include "commands/control_names.h"

namespace tavelo {

std::string controlName(KTUVCControl control) {
    std::string name;
    for (const NamedControl& each : namedControls())
        if (each.control == control) name += (name.empty() ? "" : " and ") + std::string(each.name);
    return name;
}

std::vector<std::string> monitorLines(const MonitorEvent& event) {
    const std::string camera = event.name + " (" + event.camera + "): ";
    if (event.kind == MonitorEvent::Kind::came) return {camera + "came"};
    if (event.kind == MonitorEvent::Kind::went) return {camera + "went"};
    std::vector<std::string> lines;
    for (const NamedControl& each : namedControls()) {
        if (each.control != event.control) continue;
        const std::int64_t value = shareOf(each, event.value);
        if (value == shareOf(each, event.before)) continue;
        lines.push_back(camera + std::string(each.name) + " changed to " + valueText(each, value));
    }
    return lines;
}

} // namespace tavelo
