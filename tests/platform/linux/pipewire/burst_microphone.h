// SPDX-License-Identifier: MIT
// A microphone in PipeWire that hears a burst at the beginning of each second.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/linux/pipewire/pipewire_session.h"

namespace tavelo::testing {

/// Mono, 48000 frames a second.  A second begins where the monotonic clock has a whole one, so that something
/// else can flash at the same time.  Unplugged when it is destroyed.
class BurstMicrophone final : private PipewireObserver {
public:
    using Properties = std::map<std::string, std::string>;

    static constexpr double burst = 0.1; ///< seconds
    static constexpr double pitch = 1000;
    static constexpr double loudness = 0.5; ///< of full scale

    /// @param properties of its node, beside its name
    explicit BurstMicrophone(const std::string& name, const Properties& properties = {});
    ~BurstMicrophone() override;
    BurstMicrophone(const BurstMicrophone&) = delete;
    BurstMicrophone& operator=(const BurstMicrophone&) = delete;

private:
    static const pw_stream_events streamEvents;

    void pipewireWent() noexcept override;
    void process() noexcept;

    const std::shared_ptr<PipewireSession> session_;
    PipewirePtr<pw_stream> stream_;
    pw_stream* streaming_ = nullptr;
    PipewireListener listener_;
};

} // namespace tavelo::testing
