// SPDX-License-Identifier: MIT
// A small program that looks at a shared camera, in this process but over a connection of its own.
#pragma once

#include <pipewire/pipewire.h>
#include <spa/param/video/raw.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/pipewire/pipewire_session.h"

namespace tavelo::testing {

class SharedCameraViewer final : public PipewireObserver {
public:
    struct Options {
        std::string target = "tavelo-shared-picture"; ///< the node's name
        spa_video_format format = SPA_VIDEO_FORMAT_NV12;
        bool holdsPictures = false; ///< it never gives a buffer back
    };
    struct Picture {
        std::vector<std::uint8_t> bytes;
        std::int64_t time = 0; ///< nanoseconds
        bool marked = false;   ///< damaged, discontinuous ...
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        int bytesPerRow = 0;
    };

    SharedCameraViewer() : SharedCameraViewer(Options()) {}
    explicit SharedCameraViewer(const Options& options);
    ~SharedCameraViewer() override;
    SharedCameraViewer(const SharedCameraViewer&) = delete;
    SharedCameraViewer& operator=(const SharedCameraViewer&) = delete;

    /// Whether it has a format and waits for pictures.
    bool isReady() const;
    std::size_t pictures() const;
    Picture last() const;
    /// Gives back all that it holds, and holds nothing any more.
    void letGo();

    void pipewireWent() noexcept override;

private:
    void stateDidChange(pw_stream_state state);
    void formatDidChange(const spa_pod* format);
    void process();

    static const pw_stream_events events;

    const Options options_;
    std::shared_ptr<PipewireSession> session_;
    PipewirePtr<pw_stream> stream_;
    PipewireListener listener_;
    std::vector<pw_buffer*> held_; // with the session's lock held

    mutable std::mutex mutex_; // guards the members below
    bool ready_ = false;
    bool holds_ = false;
    std::size_t count_ = 0;
    Picture last_;
};

} // namespace tavelo::testing
