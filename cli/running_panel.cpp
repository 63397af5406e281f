// SPDX-License-Identifier: MIT
#include "cli/running_panel.h"

namespace tavelo {

std::unique_ptr<PanelClient> runningPanel(const Session& session) {
    if (session.hasVirtualCameras()) return nullptr;
    auto panel = std::make_unique<PanelClient>(PanelClient::sessionBusIfAny());
    return panel->panelRuns() ? std::move(panel) : nullptr;
}

ExitStatus exitStatusOf(ServiceError::Kind kind) {
    switch (kind) {
        case ServiceError::Kind::noSuchCamera:
            return ExitStatus::noCamera;
        case ServiceError::Kind::busy:
            return ExitStatus::busy;
        case ServiceError::Kind::denied:
            return ExitStatus::denied;
        case ServiceError::Kind::invalid:
            return ExitStatus::usage;
        default:
            return ExitStatus::failed;
    }
}

} // namespace tavelo
