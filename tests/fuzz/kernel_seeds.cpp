// SPDX-License-Identifier: MIT
// What the kernel says of an ordinary camera.
#include <linux/videodev2.h>

#include "platform/linux/kernel/kernel_control_table.h"
#include "platform/virtual/firmware/virtual_camera_descriptors.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "seed_files.h"

namespace tavelo::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr std::uint8_t success = 0xFF;
constexpr std::uint8_t invalid = 0; // EINVAL: no more of them

template <typename Structure>
void appendReply(Bytes& input, const Structure& structure) {
    input.push_back(success);
    input.push_back(static_cast<std::uint8_t>(sizeof structure));
    appendStructure(input, structure);
}

void appendRange(Bytes& input) {
    input.insert(input.end(), {success, 0});
    for (const std::uint32_t number : {0U, 100U, 1U, 50U})
        appendNumber(input, number);
    appendNumber(input, 0, 2);
}

// Each control read in each way, and written.
void writeControls(const fs::path& file) {
    Bytes input{0};
    for (std::size_t i = 0; i < kernelControls().size(); ++i) {
        const std::size_t halves = kernelControls()[i].secondId != 0 ? 2 : 1;
        for (const unsigned request : {1U, 2U, 3U, 5U, 6U}) {
            input.insert(input.end(), {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(request)});
            for (std::size_t half = 0; half < halves; ++half)
                appendRange(input);
        }
        input.insert(input.end(), {static_cast<std::uint8_t>(i), 4, 8, 50, 0, 0, 0, 50, 0, 0, 0, 0});
        for (std::size_t half = 0; half < halves; ++half)
            appendRange(input);
        input.push_back(success);
        appendNumber(input, 50);
    }
    writeSeed(file, input);
}

// One format of one size at one rate, two buffers and two frames.
void writeStream(const fs::path& file) {
    constexpr std::uint32_t width = 32;
    constexpr std::uint32_t height = 16;
    constexpr std::uint32_t bytes = width * height * 2;
    Bytes input{3, 0};
    v4l2_fmtdesc format{};
    format.pixelformat = V4L2_PIX_FMT_YUYV;
    appendReply(input, format);
    v4l2_frmsizeenum size{};
    size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
    size.discrete = {width, height};
    appendReply(input, size);
    input.push_back(invalid);
    v4l2_frmivalenum interval{};
    interval.type = V4L2_FRMIVAL_TYPE_DISCRETE;
    interval.discrete = {1, 30};
    appendReply(input, interval);
    input.insert(input.end(), {invalid, invalid});
    v4l2_pix_format set{};
    set.width = width;
    set.height = height;
    set.pixelformat = V4L2_PIX_FMT_YUYV;
    set.bytesperline = width * 2;
    set.sizeimage = bytes;
    appendReply(input, set);
    appendReply(input, v4l2_streamparm{});
    v4l2_requestbuffers buffers{};
    buffers.count = 2;
    appendReply(input, buffers);
    for (std::uint32_t index = 0; index < buffers.count; ++index) {
        v4l2_buffer buffer{};
        buffer.index = index;
        buffer.length = bytes;
        appendReply(input, buffer);
        input.insert(input.end(), {4, 1, 2, 3, 4}); // what is in it
        input.push_back(success);                   // queued
    }
    input.push_back(success); // it streams
    for (std::uint32_t index = 0; index < buffers.count; ++index) {
        v4l2_buffer frame{};
        frame.index = index;
        frame.bytesused = bytes;
        frame.flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
        appendReply(input, frame);
        input.push_back(success); // given back
    }
    writeSeed(file, input);
}

void writeAttributes(const fs::path& file, const std::string& name) {
    const VirtualCameraModel model = virtualCameraModel(1);
    Bytes input;
    for (const std::string& text :
         {name, std::string("1bcf\n"), std::string("2b90\n"), std::string("5\n"), std::string("Camera\n"),
          std::string("480\n"), std::string("1\n"), std::string("Camera: Camera\n")})
        appendText(input, text);
    const Bytes device = makeDeviceDescriptor(model);
    const Bytes configuration = makeConfigurationDescriptor(model);
    input.insert(input.end(), device.begin(), device.end());
    input.insert(input.end(), configuration.begin(), configuration.end());
    writeSeed(file, input);
}

} // namespace

void writeKernelSeeds(const fs::path& folder) {
    writeControls(folder / "drivers/controls");
    writeStream(folder / "drivers/stream");
    writeSeed(folder / "drivers/inspector",
              {1, 1, 1, 8, 0x81, success, 3, 0, 0, 0, 3, 1, 2, 0x81, success, 1, 2});
    writeSeed(folder / "drivers/events", {2, success, 4, 3, 0, 0, 0, success, 4, 1, 0, 0, 0});
    writeAttributes(folder / "attributes/port", "1-2");
    writeAttributes(folder / "attributes/hub", "1-4.2");
}

} // namespace tavelo::fuzz
