// SPDX-License-Identifier: MIT
// A V4L2 driver that does what a test tells it, with a real descriptor to poll.
#pragma once

#include <linux/videodev2.h>

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/linux/file_descriptor.h"
#include "platform/linux/v4l2/v4l2_node.h"
#include "test_pictures.h"

namespace tavelo {

/// One camera; every node opened from it shares its state.  Thread-safe.
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

    /// What it enumerates; one YUYV mode unless set.
    void offer(std::vector<OfferedMode> modes);

    /// The next `times` requests of this kind fail; 0 stands for opening.
    void failNext(unsigned long request, int error, int times = 1);

    /// Fills the buffer that waits longest.  False where it does not stream or has no buffer left.
    bool deliver(const Bytes& bytes, std::uint32_t flags = 0);

    /// The stamp of frames to come; the monotonic clock's time unless set.
    void stamp(timeval time);

    /// What the driver answers in place of what is right; 0: the truth.
    struct Lies {
        std::uint32_t imageBytes = 0; ///< VIDIOC_S_FMT: sizeimage
        std::uint32_t bytesPerLine = 0;
        std::uint32_t width = 0;
        std::uint32_t bufferCount = 0; ///< VIDIOC_REQBUFS
        std::uint32_t bufferBytes = 0; ///< VIDIOC_QUERYBUF
        Fourcc onlyOf = 0;             ///< the format that is lied about; 0: each
    };
    void lie(const Lies& lies);

    /// Unplugged: the descriptor hangs up, and all requests give ENODEV.
    void vanish();

    /// The descriptor hangs up as on a queue's error; requests give EIO until the node is opened again.
    void breakQueue();

    // Each waits until so many were reached, ten seconds at most; false then.
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
