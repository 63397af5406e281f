// SPDX-License-Identifier: MIT
// Asks a node which picture formats it offers.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/linux/pipewire/pipewire_handles.h"
#include "platform/linux/pipewire/pipewire_session.h"

namespace tavelo {

/// One question.  Made and destroyed with the session's lock held, while the daemon is there.
class NodeFormats {
public:
    /// Called once on PipeWire's thread; must not destroy this object.
    using Answer = std::function<void(const std::vector<OfferedMode>& modes)>;

    NodeFormats(PipewireSession& session, std::uint32_t node, CaptureFormatRequest request, Answer answer);

private:
    static const pw_core_events coreEvents;
    static const pw_node_events nodeEvents;

    const CaptureFormatRequest request_;
    const Answer answer_;
    PipewirePtr<pw_proxy> node_;
    PipewireListener nodeListener_;
    PipewireListener coreListener_;
    int last_ = 0; // the sync after which nothing more comes
    std::vector<OfferedMode> modes_;
};

} // namespace tavelo
