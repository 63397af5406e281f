// SPDX-License-Identifier: MIT
#include "watch/monitor.h"

#include <utility>

namespace tavelo {
namespace {

MonitorEvent eventOf(MonitorEvent::Kind kind, const WatchedCamera& camera) {
    return {kind, camera.device().uniqueID(), camera.device().localizedName()};
}

} // namespace

Monitor::Monitor(const WatchedCamerasParts& parts, MonitorOptions options)
    : mainQueue_(parts.mainQueue),
      options_(std::move(options)),
      cameras_(parts, events()) {}

WatchedCamerasEvents Monitor::events() {
    WatchedCamerasEvents events;
    events.came = [this](const WatchedCamera& camera, Arrival arrival) {
        if (arrival == Arrival::came) tell(eventOf(MonitorEvent::Kind::came, camera));
    };
    events.went = [this](const WatchedCamera& camera) { tell(eventOf(MonitorEvent::Kind::went, camera)); };
    events.changed = [this](WatchedCamera& camera, KTUVCControl control, std::int64_t before) {
        MonitorEvent event = eventOf(MonitorEvent::Kind::changed, camera);
        event.control = control;
        event.before = before;
        event.value = camera.manager().record(control)->val();
        tell(event);
    };
    return events;
}

void Monitor::tell(const MonitorEvent& event) {
    for (const std::string& line : options_.linesOf(event)) {
        if (options_.count && printed_ >= *options_.count) return;
        options_.print(line);
        ++printed_;
        if (!options_.count || printed_ < *options_.count || !options_.finished) continue;
        mainQueue_.post([this, alive = std::weak_ptr<const bool>(alive_)] {
            if (!alive.expired()) options_.finished();
        });
    }
}

} // namespace tavelo
