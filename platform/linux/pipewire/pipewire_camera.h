// SPDX-License-Identifier: MIT
// A camera that the session's PipeWire has.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/pipewire/module/shared_camera.h"
#include "platform/linux/pipewire/node_formats.h"
#include "platform/linux/pipewire/picture_stream.h"
#include "platform/linux/pipewire/pipewire_session.h"
#include "platform/linux/wake_event.h"

namespace tavelo {

/// Finds the node that reads a video node of the kernel, by its path, and streams from it.
class PipewireCamera final : public SharedCamera, private PipewireObserver {
public:
    /// @param node "/dev/video0"
    PipewireCamera(std::shared_ptr<PipewireSession> session, const std::string& node);
    ~PipewireCamera() override;
    PipewireCamera(const PipewireCamera&) = delete;
    PipewireCamera& operator=(const PipewireCamera&) = delete;

    int descriptor() const override { return wake_.descriptor(); }
    State look() override;
    std::string why() const override;
    std::uint64_t offer() const override { return offer_; }
    void start(const CaptureFormatRequest& request) override;
    void stop() override;
    bool take(Frame& frame) override;
    void giveBack() override;

private:
    void pipewireObjectCame(const PipewireObject& object) noexcept override;
    void pipewireObjectWent(const PipewireObject& object) noexcept override;
    void pipewireCame() noexcept override;
    void pipewireWent() noexcept override;
    void pipewireRefusalChanged() noexcept override { update(); }

    bool isOurs(const PipewireObject& object) const;
    void connect(const CaptureFormatRequest& request, const std::vector<OfferedMode>& modes);
    void checkLink(const PipewireObject& link);
    void endStream(const char* why);
    void update();

    const std::shared_ptr<PipewireSession> session_;
    const std::string node_;
    WakeEvent wake_;
    std::atomic<State> state_ = State::unknown;
    std::atomic<std::uint64_t> offer_ = 0;

    // With the session's lock held.
    std::vector<PipewireObject> nodes_; // the first is offered
    std::uint64_t offers_ = 0;
    bool started_ = false;
    std::optional<std::string> ended_; // why
    std::uint32_t link_ = PW_ID_ANY;
    std::unique_ptr<NodeFormats> formats_;
    // Made on PipeWire's thread before the state says so, and destroyed by the thread that streams, which
    // may therefore use it without the lock.
    std::unique_ptr<PipewirePictureStream> stream_;
};

} // namespace tavelo
