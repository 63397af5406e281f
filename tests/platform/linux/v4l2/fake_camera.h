// SPDX-License-Identifier: MIT
// A fake V4L2 driver controlled by the test, with a real descriptor to poll.
#pragma once

#include <linux/videodev2.h>

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/common/file_descriptor.h"
#include "platform/common/format_choice.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "test_pictures.h"

namespace tavelo {

/// One camera; all nodes opened from it share its state.  Thread-safe.
class FakeCamera final : public V4l2NodeOpener {
public:
    struct Counts {
        int opened = 0;
        int closed = 0;
        int streamOn = 0;
        int streamOff = 0;
        int mapped = 0; ///< now
        int mostMapped = 0;
        int buffers = 0; ///< allocated now
        int requests = 0;
    };

    FakeCamera();
    ~FakeCamera() override;

    /// Sets the enumerated modes; the default is one YUYV mode.
    void offer(std::vector<OfferedMode> modes);

    /// The next `times` requests of this kind fail; 0 stands for opening.
    void failNext(unsigned long request, int error, int times = 1);

    /// Fills the oldest queued buffer.  False if it is not streaming or no buffer is queued.
    bool deliver(const Bytes& bytes, std::uint32_t flags = 0);

    /// Sets the time stamp of later frames; the default is the monotonic clock.
    void stamp(timeval time);

    /// Wrong values returned by the driver; 0 means the correct value.
    struct Lies {
        std::uint32_t imageBytes = 0; ///< VIDIOC_S_FMT: sizeimage
        std::uint32_t bytesPerLine = 0;
        std::uint32_t width = 0;
        std::uint32_t bufferCount = 0; ///< VIDIOC_REQBUFS
        std::uint32_t bufferBytes = 0; ///< VIDIOC_QUERYBUF
        Fourcc onlyOf = 0;             ///< the affected format; 0: all
    };
    void lie(const Lies& lies);

    /// Unplugs the camera: the descriptor hangs up, and all requests return ENODEV.
    void vanish();

    /// The descriptor hangs up like on a queue error; requests return EIO until the node is opened again.
    void breakQueue();

    /// The descriptor hangs up, but no request says why: there is just no frame.
    void hangUp();

    // Each waits up to ten seconds for the count; false on timeout.
    bool waitForStreamOn(int count);
    bool waitForClosed(int count);
    bool waitForOpened(int count);

    Counts counts();
    /// The last format set.
    v4l2_pix_format format();
    /// The last interval set.
    v4l2_fract interval();

    std::unique_ptr<V4l2Node> open(const std::string& path, int& error) override;

private:
    friend class FakeNode;
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace tavelo
