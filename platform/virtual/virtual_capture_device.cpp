// SPDX-License-Identifier: MIT
#include "platform/virtual/virtual_capture_device.h"

#include <string>
#include <utility>
#include <vector>

#include "platform/common/format_choice.h"
#include "platform/common/location_id.h"
#include "platform/virtual/capture_input.h"

namespace tavelo {
namespace {

constexpr std::uint32_t unitsPerSecond = 10'000'000; // frame intervals are in 100 ns

std::vector<OfferedMode> offeredModes(const VirtualCameraModel& model) {
    std::vector<OfferedMode> modes;
    for (const StreamOffer& offer : model.offers) {
        OfferedMode mode;
        mode.format = offer.encoding == StreamEncoding::yuyv ? fourcc::yuyv : fourcc::mjpeg;
        mode.size = {offer.width, offer.height};
        for (const std::uint32_t interval : offer.frameIntervals)
            mode.intervals.push_back({{interval, unitsPerSecond}, {interval, unitsPerSecond}});
        modes.push_back(std::move(mode));
    }
    return modes;
}

class VirtualCaptureDevice final : public CaptureDevice,
                                   public std::enable_shared_from_this<VirtualCaptureDevice> {
public:
    VirtualCaptureDevice(std::shared_ptr<VirtualCameraFirmware> firmware, const CaptureFormatRequest& format)
        : firmware_(std::move(firmware)),
          format_(format),
          uniqueID_(captureIdentifier(firmware_->model().locationID, firmware_->model().vendorID,
                                      firmware_->model().productID)) {}

    const std::string& uniqueID() const override { return uniqueID_; }
    const std::string& localizedName() const override { return firmware_->model().product; }
    bool hasMediaType(MediaType type) const override { return type == MediaType::video; }
    std::vector<CaptureFormat> formats() const override {
        return captureFormats(offeredModes(firmware_->model()));
    }

    std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) override {
        if (!firmware_->present()) {
            error = {ErrorCode::gone, "The camera was unplugged"};
            return nullptr;
        }
        const std::vector<FormatChoice> choices = rankFormats(offeredModes(firmware_->model()), format_);
        if (choices.empty() || choices.front().interval.numerator == 0) {
            error = {ErrorCode::invalid, "The camera offers no picture"};
            return nullptr;
        }
        const FormatChoice& best = choices.front();
        const std::chrono::nanoseconds interval(std::int64_t{1'000'000'000} * best.interval.numerator /
                                                best.interval.denominator);
        error = {};
        return std::make_unique<VirtualCaptureInput>(
            shared_from_this(), firmware_, VirtualStream{best.size.width, best.size.height, interval});
    }

private:
    const std::shared_ptr<VirtualCameraFirmware> firmware_;
    const CaptureFormatRequest format_;
    const std::string uniqueID_;
};

} // namespace

std::shared_ptr<CaptureDevice> makeVirtualCaptureDevice(std::shared_ptr<VirtualCameraFirmware> firmware,
                                                        const CaptureFormatRequest& format) {
    return std::make_shared<VirtualCaptureDevice>(std::move(firmware), format);
}

} // namespace tavelo
