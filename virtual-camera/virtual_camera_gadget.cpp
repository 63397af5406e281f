// SPDX-License-Identifier: MIT
#include "virtual-camera/virtual_camera_gadget.h"

#include <utility>
#include <vector>

#include "platform/virtual/picture/virtual_picture.h"
#include "virtual-camera/frame_encoder.h"

namespace tavelo {
namespace {

/// Draws and encodes the frames of one stream.
class Studio {
public:
    Studio(std::shared_ptr<VirtualCameraFirmware> firmware, const StreamFormat& format)
        : firmware_(std::move(firmware)),
          format_(format),
          picture_(firmware_->model().number),
          encoder_(format),
          canvas_(rowBytes() * format.height) {}

    void make(std::uint64_t number, std::vector<std::uint8_t>& frame) {
        picture_.draw(number, firmware_->pictureSettings(), canvas_.data(), format_.width, format_.height,
                      rowBytes());
        if (!encoder_.encode(canvas_, frame)) frame.clear();
    }

private:
    std::size_t rowBytes() const { return std::size_t{4} * format_.width; }

    const std::shared_ptr<VirtualCameraFirmware> firmware_;
    const StreamFormat format_;
    VirtualPicture picture_;
    FrameEncoder encoder_;
    std::vector<std::uint8_t> canvas_;
};

} // namespace

VirtualCameraGadget::VirtualCameraGadget(std::shared_ptr<VirtualCameraFirmware> firmware)
    : firmware_(std::move(firmware)) {}

VirtualCameraGadget::~VirtualCameraGadget() = default;

std::span<const std::uint8_t> VirtualCameraGadget::deviceDescriptor() const {
    return firmware_->deviceDescriptor();
}

std::span<const std::uint8_t> VirtualCameraGadget::configurationDescriptor() const {
    return firmware_->configurationDescriptor();
}

UsbReply VirtualCameraGadget::control(const UsbSetup& setup, std::span<const std::uint8_t> out) {
    UsbReply reply = firmware_->control(setup, out);
    followFirmware();
    return reply;
}

std::optional<std::size_t> VirtualCameraGadget::in(std::uint8_t endpoint, std::span<std::uint8_t> packet) {
    if (endpoint != firmware_->model().streamingEndpoint()) return std::nullopt;
    const std::scoped_lock lock(streamMutex_);
    return stream_ ? stream_->packet(packet) : std::nullopt;
}

// The old stream may have to finish a frame; packets are not blocked meanwhile.
void VirtualCameraGadget::followFirmware() {
    const std::scoped_lock switching(switchMutex_);
    const std::optional<StreamFormat> wanted =
        firmware_->streaming() ? firmware_->committedFormat() : std::nullopt;
    if (wanted == running_) return;
    running_ = wanted;
    std::unique_ptr<UvcStream> next;
    {
        const std::scoped_lock lock(streamMutex_);
        next.swap(stream_);
    }
    next.reset();
    if (!wanted) return;
    next = makeStream(*wanted);
    const std::scoped_lock lock(streamMutex_);
    stream_.swap(next);
}

std::unique_ptr<UvcStream> VirtualCameraGadget::makeStream(const StreamFormat& format) const {
    const auto studio = std::make_shared<Studio>(firmware_, format);
    return std::make_unique<UvcStream>(
        format, firmware_->model().transport,
        [studio](std::uint64_t number, std::vector<std::uint8_t>& frame) { studio->make(number, frame); });
}

} // namespace tavelo
