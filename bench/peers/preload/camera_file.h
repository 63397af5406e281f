// SPDX-License-Identifier: MIT
// The pretend camera's node: V4L2 requests are answered here, frames come from the camera's process.
#pragma once

#include <linux/videodev2.h>

#include <array>
#include <cstdint>
#include <mutex>
#include <vector>

#include "bench/peers/link/camera_link.h"
#include "bench/peers/preload/camera_controls.h"
#include "bench/peers/preload/device_file.h"
#include "bench/peers/preload/frame_log.h"
#include "platform/common/file_descriptor.h"

namespace tavelo::bench {

class CameraFile final : public DeviceFile {
public:
    /// @param link to the camera, from which the greeting was read
    CameraFile(FileDescriptor link, const Greeting& greeting, FrameLog& log);

    int control(int file, unsigned long request, void* argument) override;
    void* map(void* where, std::size_t length, int protection, int flags, int file, off_t offset) override;
    ssize_t read(int file, void* buffer, std::size_t length) override;

private:
    // All return an errno, or 0.
    int answer(unsigned long request, void* argument);
    int setFormat(v4l2_format& format);
    int describeRate(v4l2_streamparm& parameters) const;
    int requestBuffers(v4l2_requestbuffers& request);
    int describeBuffer(v4l2_buffer& buffer);
    int exportBuffer(v4l2_exportbuffer& wanted) const;
    int queue(v4l2_buffer& buffer);
    int take(int file, v4l2_buffer& buffer);
    int start();
    int stop(int file);

    int ask(const Request& request, Answer& answer, FileDescriptor* memory = nullptr);
    void fill(v4l2_buffer& buffer, std::uint32_t index) const;
    const CameraMode& mode() const { return modes_[mode_]; }

    std::mutex mutex_; // guards everything below
    const FileDescriptor link_;
    const std::vector<CameraMode> modes_;
    std::uint32_t mode_ = 0;
    CameraControls controls_;
    std::uint32_t buffers_ = 0;
    std::uint32_t bufferBytes_ = 0;
    std::vector<FileDescriptor> memory_; // of each buffer
    std::array<bool, mostBuffers> queued_{};
    bool streaming_ = false;
    FrameLog& log_;
};

} // namespace tavelo::bench
