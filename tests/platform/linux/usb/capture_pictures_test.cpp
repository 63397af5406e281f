// SPDX-License-Identifier: MIT
// Whole pictures of the virtual camera, through real headers and packets.
#include <gmock/gmock.h>

#include <tuple>

#include "fake_usb_camera.h"
#include "platform/linux/usb/capture_input.h"
#include "platform/uvc/uvc_protocol.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "platform/virtual/picture/virtual_picture.h"
#include "support/recorded_diagnostics.h"
#include "support/recorded_frames.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using test::FakeUsbCamera;

struct Corner {
    const char* name;
    bool right;
    bool bottom;
    bool blue;
    bool green;
    bool red;
};
constexpr Corner corners[] = {{"top left", false, false, false, false, true},
                              {"top right", true, false, false, true, false},
                              {"bottom left", false, true, true, false, false},
                              {"bottom right", true, true, false, true, true}};

void expectCorners(PixelBuffer& picture) {
    const auto lock = picture.lock();
    const std::size_t side = VirtualPicture::patchSide(picture.height());
    for (const Corner& corner : corners) {
        const std::size_t x = corner.right ? picture.width() - side / 2 : side / 2;
        const std::size_t y = corner.bottom ? picture.height() - side / 2 : side / 2;
        const std::uint8_t* pixel = picture.baseAddress() + y * picture.bytesPerRow() + 4 * x;
        EXPECT_EQ(pixel[0] > 100, corner.blue) << corner.name << " blue " << int(pixel[0]);
        EXPECT_EQ(pixel[1] > 100, corner.green) << corner.name << " green " << int(pixel[1]);
        EXPECT_EQ(pixel[2] > 100, corner.red) << corner.name << " red " << int(pixel[2]);
    }
}

class EachStream : public ::testing::TestWithParam<std::tuple<StreamTransport, const char*>> {
protected:
    EachStream() {
        VirtualCameraModel model = virtualCameraModel(1);
        model.transport = std::get<0>(GetParam());
        camera = std::make_unique<FakeUsbCamera>(model, FakeUsbCamera::Frames::ofItsPicture);
        const CaptureFormatRequest request{CaptureFormatRequest::Size{320, 240}, {}, std::get<1>(GetParam())};
        input = std::make_unique<UsbCaptureInput>(
            nullptr,
            UsbStreamSource{[this](Error& error) { return camera->open({}, error); },
                            model.streamingInterface(), camera->configurationDescriptor()},
            CaptureInputOptions{.diagnostics = diagnostics, .whoHolds = {}, .request = request});
    }

    std::unique_ptr<FakeUsbCamera> camera;
    testing::RecordedDiagnostics diagnostics;
    testing::RecordedFrames frames;
    std::unique_ptr<UsbCaptureInput> input;
};

TEST_P(EachStream, ShowsWhatTheCameraSees) {
    input->start(frames);
    for (std::size_t count = 1; count <= 5; ++count) {
        ASSERT_TRUE(frames.waitForFrames(count));
        const SampleBuffer sample = frames.last();
        ASSERT_EQ(sample.imageBuffer->width(), 320U);
        ASSERT_EQ(sample.imageBuffer->height(), 240U);
        expectCorners(*sample.imageBuffer);
    }
    input->stop();
    EXPECT_TRUE(std::ranges::is_sorted(frames.times(), std::less_equal<>()));
    EXPECT_THAT(diagnostics.lines(), ::testing::IsEmpty());
    EXPECT_FALSE(camera->firmware().streaming());
}

TEST_P(EachStream, MayBeStoppedAndStartedTenTimes) {
    for (std::size_t run = 1; run <= 10; ++run) {
        const std::size_t before = frames.count();
        input->start(frames);
        ASSERT_TRUE(frames.waitForFrames(before + 1)) << "run " << run;
        expectCorners(*frames.last().imageBuffer);
        input->stop();
    }
    EXPECT_EQ(camera->counts().transfers, 0);
    EXPECT_THAT(diagnostics.lines(), ::testing::IsEmpty());
}

TEST_P(EachStream, EndsQuietlyWhenItIsPulledOut) {
    input->start(frames);
    ASSERT_TRUE(frames.waitForFrames(2));
    camera->vanish();
    ASSERT_TRUE(camera->waitFor([](const auto& counts) { return counts.closed == 1; }));
    input->stop();
    EXPECT_EQ(camera->counts().transfers, 0);
    EXPECT_THAT(diagnostics.lines(), ::testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Stream, EachStream,
    ::testing::Combine(::testing::Values(StreamTransport::isochronous, StreamTransport::bulk),
                       ::testing::Values("YUYV", "MJPG")),
    [](const auto& each) {
        return std::string(std::get<0>(each.param) == StreamTransport::bulk ? "Bulk" : "Isochronous") +
               std::get<1>(each.param);
    });

} // namespace
} // namespace tavelo
