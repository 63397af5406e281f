// SPDX-License-Identifier: MIT
// Our shared camera, and programs that look at it: one of our own, and GStreamer's.
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/pipewire/library_picture_share.h"
#include "platform/linux/pipewire/private_pipewire.h"
#include "platform/linux/pipewire/process_facts.h"
#include "platform/linux/pipewire/shared_camera_viewer.h"
#include "support/wait_limit.h"

namespace tavelo::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

/// Its movie's picture has another value at each place, and is mirrored as it is asked for.
class PatternFrame final : public CameraFrame {
public:
    PatternFrame(std::size_t width, std::size_t height) : width_(width), height_(height) {}

    std::size_t width() const override { return width_; }
    std::size_t height() const override { return height_; }
    bool draw(const PixelBuffer&) const override { return false; }
    bool hasMoviePicture() const override { return true; }
    void drawForMovie(const MoviePlanes& to, Mirroring mirroring) const override {
        ++drawn;
        for (std::size_t y = 0; y < height_; ++y)
            for (std::size_t x = 0; x < width_; ++x) {
                to.luma.baseAddress[y * to.luma.bytesPerRow + x] = luma(x, y, mirroring.horizontal);
                to.chroma.baseAddress[y / 2 * to.chroma.bytesPerRow + x] =
                    chroma(x / 2, y / 2, x % 2, mirroring.horizontal);
            }
    }
    std::uint8_t luma(std::size_t x, std::size_t y, bool mirrored) const {
        return std::uint8_t((mirrored ? width_ - 1 - x : x) * 7 + y * 31 + 1);
    }
    std::uint8_t chroma(std::size_t pair, std::size_t row, std::size_t which, bool mirrored) const {
        return std::uint8_t((mirrored ? width_ / 2 - 1 - pair : pair) * 11 + row * 17 + which * 100);
    }
    /// In the layout of NV12, whose rows are not padded here.
    std::vector<std::uint8_t> nv12(bool mirrored) const {
        std::vector<std::uint8_t> bytes(width_ * height_ * 3 / 2);
        for (std::size_t y = 0; y < height_; ++y)
            for (std::size_t x = 0; x < width_; ++x) {
                bytes[y * width_ + x] = luma(x, y, mirrored);
                bytes[(height_ + y / 2) * width_ + x] = chroma(x / 2, y / 2, x % 2, mirrored);
            }
        return bytes;
    }

    mutable std::atomic<int> drawn = 0;

private:
    std::size_t width_;
    std::size_t height_;
};

class PictureShareTest : public ::testing::Test {
protected:
    void SetUp() override { pipewire_.start(); }

    void startSharing() { share_ = makePipewirePictureShare(PipewireSession::open(), "Test Camera"); }

    /// A frame of the camera, as the preview passes it on.
    void send() {
        now_ += 40ms;
        const MediaTime time = MediaTime::fromNanoseconds(now_);
        const std::size_t width = whole_ ? whole_->width() : frame_->width();
        const std::size_t height = whole_ ? whole_->height() : frame_->height();
        share_->noteFrame(width, height, time);
        wanted_ = share_->wanted();
        if (wanted_ == SharedPicture::none || !share_->hasRoom()) return;
        ++sent_;
        if (wanted_ == SharedPicture::cameraFrame && !whole_)
            share_->share({nullptr, time, nullptr, frame_, nullptr, {mirrored_, false}});
        else
            share_->share({whole_, time});
    }
    /// Sends frames until it holds.  The pauses are the camera's, faster than it says.
    template <typename Condition>
    [[nodiscard]] bool sendUntil(const Condition& condition) {
        const auto end = std::chrono::steady_clock::now() + waitLimit;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            send();
            std::this_thread::sleep_for(3ms);
        }
        return true;
    }
    bool cameraIsThere() { return nodes().find("\"tavelo-shared-picture\"") != std::string::npos; }
    std::string nodes() { return pipewire_.output("pw-dump 2>&1"); }
    /// Whether it is the camera's name in the daemon's own list, which browsers show.
    bool isListedAs(const std::string& name) {
        return pipewire_.output("pw-cli ls Node 2>&1").find("node.description = \"" + name + '"') !=
               std::string::npos;
    }
    std::string offered() {
        return pipewire_.output("pw-cli enum-params tavelo-shared-picture EnumFormat 2>&1");
    }
    [[nodiscard]] bool appear() {
        startSharing();
        return sendUntil([this] { return cameraIsThere(); });
    }

    /// Bytes that GStreamer's program gets.
    std::vector<std::uint8_t> seenByGStreamer(const std::string& format, std::size_t atLeast) {
        const auto file = pipewire_.folder() / ("seen." + format);
        SideProgram program = pipewire_.startProgram({"gst-launch-1.0", "-q", "pipewiresrc",
                                                      "target-object=tavelo-shared-picture", "num-buffers=5",
                                                      "!", "video/x-raw,format=" + format, "!", "filesink",
                                                      "buffer-mode=unbuffered", "location=" + file.string()});
        EXPECT_TRUE(sendUntil([&] { return !program.runs(); }));
        std::ifstream stream(file, std::ios::binary);
        std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(stream),
                                        std::istreambuf_iterator<char>()};
        EXPECT_GE(bytes.size(), atLeast);
        bytes.resize(atLeast);
        return bytes;
    }

    PrivatePipewire pipewire_;
    std::shared_ptr<PatternFrame> frame_ = std::make_shared<PatternFrame>(64, 48);
    std::shared_ptr<PixelBuffer> whole_; // sent instead of the frame
    bool mirrored_ = false;
    std::chrono::nanoseconds now_ = 1h;
    SharedPicture wanted_ = SharedPicture::none;
    int sent_ = 0;
    std::shared_ptr<PictureShare> share_;
};

TEST_F(PictureShareTest, IsACameraAmongThoseOfTheDesktop) {
    ASSERT_TRUE(appear());
    const std::string seen = nodes();
    EXPECT_THAT(seen, HasSubstr("\"media.class\": \"Video/Source\""));
    EXPECT_THAT(seen, HasSubstr("\"media.role\": \"Camera\""));
    EXPECT_THAT(seen, HasSubstr("\"node.description\": \"Tavelo: Test Camera\""));
    EXPECT_EQ(share_->trouble().code, ErrorCode::none);
}

TEST_F(PictureShareTest, TakesTheNameOfTheCameraThatIsShownNow) {
    ASSERT_TRUE(appear());
    share_->setCameraName("Another");
    EXPECT_TRUE(sendUntil([this] { return nodes().find("\"Tavelo: Another\"") != std::string::npos; }));
    EXPECT_TRUE(sendUntil([this] { return isListedAs("Tavelo: Another"); }));
    EXPECT_FALSE(isListedAs("Tavelo: Test Camera"));
}

TEST_F(PictureShareTest, AViewerKeepsItsPictureWhenTheNameChangesAndTheListFollowsOnceNobodyLooks) {
    ASSERT_TRUE(appear());
    {
        const SharedCameraViewer viewer;
        ASSERT_TRUE(sendUntil([&] { return viewer.pictures() > 0; }));
        share_->setCameraName("Another");
        ASSERT_TRUE(sendUntil([this] { return nodes().find("\"Tavelo: Another\"") != std::string::npos; }));
        const std::size_t seen = viewer.pictures();
        ASSERT_TRUE(sendUntil([&] { return viewer.pictures() > seen + 50; }));
        EXPECT_TRUE(isListedAs("Tavelo: Test Camera"));
    }
    EXPECT_TRUE(sendUntil([this] { return isListedAs("Tavelo: Another"); }));
    const SharedCameraViewer viewer;
    EXPECT_TRUE(sendUntil([&] { return viewer.pictures() > 0; }));
}

TEST_F(PictureShareTest, OffersTheCamerasSizeAndRate) {
    ASSERT_TRUE(appear());
    const std::string formats = offered();
    for (const char* part : {"NV12", "I420", "YUY2", "BGRx", "Rectangle 64x48", "Fraction 25/1"})
        EXPECT_THAT(formats, HasSubstr(part));
}

TEST_F(PictureShareTest, IsNotThereBeforeAPictureAndGoneAfterItEnds) {
    startSharing();
    EXPECT_FALSE(cameraIsThere());
    ASSERT_TRUE(sendUntil([this] { return cameraIsThere(); }));
    share_.reset();
    const auto end = std::chrono::steady_clock::now() + waitLimit;
    while (cameraIsThere() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(10ms);
    EXPECT_FALSE(cameraIsThere());
}

TEST_F(PictureShareTest, WhileNobodyLooksNothingIsWantedAndNothingIsDrawn) {
    ASSERT_TRUE(appear());
    for (int count = 0; count < 100; ++count)
        send();
    EXPECT_EQ(wanted_, SharedPicture::none);
    EXPECT_FALSE(share_->hasRoom());
    EXPECT_EQ(frame_->drawn, 0);
    {
        const SharedCameraViewer viewer;
        ASSERT_TRUE(sendUntil([&] { return viewer.pictures() > 2; }));
    }
    int frames = 0;
    ASSERT_TRUE(sendUntil([&] { return ++frames > 0 && wanted_ == SharedPicture::none; }));
    EXPECT_LT(frames, 1000) << "only once the daemon took the format back, which takes seconds";
    const int drawn = frame_->drawn;
    for (int count = 0; count < 100; ++count)
        send();
    EXPECT_EQ(frame_->drawn, drawn);
}

TEST_F(PictureShareTest, AViewerSeesEveryByteMirroredOrNot) {
    ASSERT_TRUE(appear());
    const SharedCameraViewer viewer;
    for (const bool mirrored : {false, true}) {
        mirrored_ = mirrored;
        ASSERT_TRUE(sendUntil([&] { return viewer.last().bytes == frame_->nv12(mirrored); }));
    }
    EXPECT_EQ(viewer.last().bytesPerRow, 64);
    EXPECT_EQ(wanted_, SharedPicture::cameraFrame);
    EXPECT_FALSE(viewer.last().marked);
    EXPECT_GT(viewer.last().time, std::chrono::nanoseconds(1h).count());
    EXPECT_LE(viewer.last().time, now_.count());
    EXPECT_EQ((viewer.last().time - std::chrono::nanoseconds(1h).count()) % 40'000'000, 0);
}

TEST_F(PictureShareTest, AViewerOfWholePicturesSeesEveryByte) {
    whole_ = PixelBuffer::create(PixelFormat::bgra32, 64, 48);
    for (std::size_t i = 0; i < whole_->bytesPerRow() * 48; ++i)
        whole_->baseAddress()[i] = std::uint8_t(i * 13);
    ASSERT_TRUE(appear());
    const SharedCameraViewer viewer({.format = SPA_VIDEO_FORMAT_BGRx});
    ASSERT_TRUE(sendUntil([&] { return viewer.pictures() > 0; }));
    EXPECT_EQ(wanted_, SharedPicture::whole);
    EXPECT_TRUE(std::ranges::equal(viewer.last().bytes,
                                   std::span(whole_->baseAddress(), whole_->bytesPerRow() * 48)));
}

TEST_F(PictureShareTest, GStreamerSeesEveryByteInEachFormat) {
    mirrored_ = true;
    ASSERT_TRUE(appear());
    const auto nv12 = frame_->nv12(true);
    EXPECT_EQ(seenByGStreamer("NV12", nv12.size()), nv12);

    const auto i420 = seenByGStreamer("I420", nv12.size());
    EXPECT_TRUE(std::equal(nv12.begin(), nv12.begin() + 64 * 48, i420.begin()));
    for (std::size_t pair = 0; pair < 32 * 24; ++pair) {
        ASSERT_EQ(i420[64 * 48 + pair], nv12[64 * 48 + pair * 2]);
        ASSERT_EQ(i420[64 * 48 + 32 * 24 + pair], nv12[64 * 48 + pair * 2 + 1]);
    }

    const auto yuy2 = seenByGStreamer("YUY2", 64 * 48 * 2);
    for (std::size_t y = 0; y < 48; ++y)
        for (std::size_t x = 0; x < 64; ++x) {
            ASSERT_EQ(yuy2[(y * 64 + x) * 2], nv12[y * 64 + x]);
            ASSERT_EQ(yuy2[(y * 64 + x) * 2 + 1], nv12[(48 + y / 2) * 64 + x]);
        }

    whole_ = PixelBuffer::create(PixelFormat::bgra32, 64, 48);
    for (std::size_t i = 0; i < whole_->bytesPerRow() * 48; ++i)
        whole_->baseAddress()[i] = std::uint8_t(i * 29);
    const auto bgrx = seenByGStreamer("BGRx", whole_->bytesPerRow() * 48);
    EXPECT_TRUE(std::ranges::equal(bgrx, std::span(whole_->baseAddress(), bgrx.size())));
}

TEST_F(PictureShareTest, TwoViewersSeeTheSame) {
    ASSERT_TRUE(appear());
    const SharedCameraViewer one;
    const SharedCameraViewer two;
    ASSERT_TRUE(sendUntil([&] { return one.pictures() > 10 && two.pictures() > 10; }));
    EXPECT_EQ(one.last().bytes, frame_->nv12(false));
    EXPECT_EQ(two.last().bytes, frame_->nv12(false));
}

TEST_F(PictureShareTest, AViewerThatKeepsItsPicturesMissesOthersAndHoldsNobodyUp) {
    ASSERT_TRUE(appear());
    SharedCameraViewer viewer({.holdsPictures = true});
    ASSERT_TRUE(sendUntil([&] { return viewer.pictures() > 0 && !share_->hasRoom(); }));
    const int before = sent_;
    const auto begin = std::chrono::steady_clock::now();
    for (int count = 0; count < 200; ++count)
        send();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s) << "sending waits";
    EXPECT_LE(sent_ - before, 1);
    const std::size_t seen = viewer.pictures();
    viewer.letGo();
    EXPECT_TRUE(sendUntil([&] { return viewer.pictures() > seen + 20; })) << "it is stuck";
}

TEST_F(PictureShareTest, GStreamerGetsPicturesAgainAndAgainThoughItIsSlow) {
    ASSERT_TRUE(appear());
    SideProgram program = pipewire_.startProgram(
        {"gst-launch-1.0", "-q", "pipewiresrc", "target-object=tavelo-shared-picture", "num-buffers=30", "!",
         "video/x-raw,format=NV12", "!", "identity", "sleep-time=30000", "!", "fakesink"});
    EXPECT_TRUE(sendUntil([&] { return !program.runs(); }));
    EXPECT_GE(sent_, 30);
}

TEST_F(PictureShareTest, ComesBackByItselfAfterTheDaemonWasKilled) {
    ASSERT_TRUE(appear());
    {
        const SharedCameraViewer viewer;
        ASSERT_TRUE(sendUntil([&] { return viewer.pictures() > 5; }));
        pipewire_.killDaemon();
        ASSERT_TRUE(sendUntil([this] { return share_->trouble().code == ErrorCode::gone; }));
        EXPECT_FALSE(share_->hasRoom());
        EXPECT_EQ(share_->wanted(), SharedPicture::none);
    }
    pipewire_.killManager();
    pipewire_.start();
    ASSERT_TRUE(sendUntil([this] { return cameraIsThere(); }));
    EXPECT_EQ(share_->trouble().code, ErrorCode::none);
    const SharedCameraViewer viewer;
    EXPECT_TRUE(sendUntil([&] { return viewer.pictures() > 5; }));
    EXPECT_EQ(viewer.last().bytes, frame_->nv12(false));
}

TEST_F(PictureShareTest, AViewerKeepsItsSizeWhenTheCamerasChanges) {
    ASSERT_TRUE(appear());
    {
        const SharedCameraViewer viewer;
        ASSERT_TRUE(sendUntil([&] { return viewer.pictures() > 0; }));
        // A white picture, twice as wide as it was.
        whole_ = PixelBuffer::create(PixelFormat::bgra32, 128, 48);
        std::fill_n(whole_->baseAddress(), whole_->bytesPerRow() * 48, std::uint8_t(255));
        ASSERT_TRUE(sendUntil([&] { return viewer.last().bytes.at(24 * 64 + 32) == 235; }));
        for (int count = 0; count < 20; ++count)
            send(); // its rate is known by now
        const auto seen = viewer.last();
        EXPECT_EQ(wanted_, SharedPicture::whole);
        EXPECT_THAT(offered(), HasSubstr("Rectangle 64x48"));
        EXPECT_EQ(seen.width, 64U);
        EXPECT_EQ(seen.height, 48U);
        EXPECT_EQ(seen.bytes.at(11 * 64 + 32), 16) << "above it is black";
        EXPECT_EQ(seen.bytes.at(12 * 64 + 32), 235);
        EXPECT_EQ(seen.bytes.at(35 * 64 + 32), 235);
        EXPECT_EQ(seen.bytes.at(36 * 64 + 32), 16);
        // For a picture that never comes; the next viewer has other buffers.
        ASSERT_TRUE(sendUntil([this] { return share_->hasRoom(); }));
    }
    // Once nobody looks, the camera has the new size.
    ASSERT_TRUE(sendUntil([this] { return offered().find("Rectangle 128x48") != std::string::npos; }));
    const SharedCameraViewer viewer;
    ASSERT_TRUE(sendUntil([&] { return viewer.pictures() > 0; }));
    EXPECT_EQ(viewer.last().width, 128U);
}

TEST_F(PictureShareTest, AHundredViewersOneAfterAnotherLeaveNothingBehind) {
    ASSERT_TRUE(appear());
    const auto look = [this] {
        const SharedCameraViewer viewer;
        EXPECT_TRUE(sendUntil([&] { return viewer.pictures() > 0; }));
    };
    const auto settle = [this] { EXPECT_TRUE(sendUntil([this] { return wanted_ == SharedPicture::none; })); };
    for (int count = 0; count < 3; ++count)
        look();
    settle();
    const std::size_t descriptors = openDescriptors();
    const std::size_t threads = runningThreads();
    for (int count = 0; count < 100 && !HasFailure(); ++count)
        look();
    settle();
    EXPECT_LE(openDescriptors(), descriptors + 2);
    EXPECT_EQ(runningThreads(), threads);
}

} // namespace
} // namespace tavelo::testing
