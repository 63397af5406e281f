// SPDX-License-Identifier: MIT
// The panel of this session, for verbs that need a camera which it holds.
#pragma once

#include <memory>

#include "cli/session.h"
#include "service/panel_client.h"

namespace tavelo {

/// Null if none runs, or if this process has cameras of its own.
std::unique_ptr<PanelClient> runningPanel(const Session& session);

ExitStatus exitStatusOf(ServiceError::Kind kind);

} // namespace tavelo
