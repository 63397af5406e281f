// SPDX-License-Identifier: MIT
// A camera in PipeWire whose every frame the test makes.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/linux/pipewire/pipewire_session.h"
#include "platform/linux/pipewire/video_params.h"

namespace tavelo::testing {

/// Offers formats and sends frames to whoever is linked.  Thread-safe.
class TestPictureSource final : private PipewireObserver {
public:
    /// @param node what the source says it reads, such as "/dev/video7"
    TestPictureSource(const std::string& node, std::vector<FormatChoice> formats);
    ~TestPictureSource() override;

    /// Offers others in the middle of a stream.
    void offer(std::vector<FormatChoice> formats);

    struct Frame {
        std::span<const std::uint8_t> bytes;
        std::uint32_t offset = 0; ///< in the buffer
        std::int32_t stride = 0;
        std::int32_t chunkFlags = 0;
        std::uint32_t headerFlags = 0;
        std::int64_t time = -1; ///< none
    };
    /// False if no buffer is free, or nobody is linked.
    bool send(const Frame& frame);
    bool send(std::span<const std::uint8_t> bytes) { return send(Frame{.bytes = bytes}); }

    // False on timeout.
    [[nodiscard]] bool waitForStreaming(bool streaming = true);
    [[nodiscard]] bool waitForFormat(FrameSize size);
    /// Until it is in the daemon's list.
    [[nodiscard]] bool waitUntilListed();

    std::optional<FrameFormat> format();

private:
    static const pw_stream_events events;

    void pipewireCame() noexcept override;
    void pipewireWent() noexcept override;
    void formatChanged(const spa_pod* format);

    const std::string node_;
    std::vector<FormatChoice> formats_;
    std::shared_ptr<PipewireSession> session_;
    PipewirePtr<pw_stream> stream_;
    PipewireListener listener_;
    std::mutex mutex_; // guards the rest
    std::condition_variable changed_;
    bool streaming_ = false;
    bool listed_ = false;
    std::optional<FrameFormat> format_;
};

} // namespace tavelo::testing
