// SPDX-License-Identifier: MIT
// Finds the microphones that PipeWire has.
#pragma once

#include <chrono>
#include <cstdint>
#include <future>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/pipewire/pipewire_session.h"
#include "platform/sound_source.h"

namespace tavelo {

/// Asks for all that is known of each node that sound comes from, and of each sound card.  Used once.
class MicrophoneSearch final : private PipewireObserver {
public:
    struct Found {
        Microphone microphone;
        std::uint32_t id = 0;     ///< of its node
        std::uint64_t serial = 0; ///< likewise
    };

    explicit MicrophoneSearch(std::shared_ptr<PipewireSession> session);
    ~MicrophoneSearch() override;
    MicrophoneSearch(const MicrophoneSearch&) = delete;
    MicrophoneSearch& operator=(const MicrophoneSearch&) = delete;

    /// Waits for the daemon's answers.
    /// @return nothing if they did not come in time, or the daemon is away
    std::optional<std::vector<Found>> find(std::chrono::milliseconds patience);

private:
    struct Object;

    void pipewireObjectCame(const PipewireObject& object) noexcept override;
    void pipewireCame() noexcept override;
    void pipewireWent() noexcept override;
    void finish(bool complete);
    std::vector<Found> found() const;

    const std::shared_ptr<PipewireSession> session_;

    // With the session's lock held.
    std::list<Object> objects_;
    PipewireListener core_;
    int lastAnswer_ = 0; // of the sync that was asked after everything else
    bool isFinished_ = false;
    std::promise<bool> complete_;
};

} // namespace tavelo
