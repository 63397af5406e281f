// SPDX-License-Identifier: MIT
#include "app/panel_recording.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <QTest>
#include <optional>

#include "fake_asset_writer.h"
#include "support/camera_that_falls_silent.h"
#include "video/kt_display_view.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

class PanelRecordingTest : public ::testing::Test {
protected:
    void record(int pictures, std::chrono::milliseconds patience) {
        camera_ = std::make_shared<testing::CameraThatFallsSilent>(pictures);
        platform_ = std::make_unique<testing::PlatformOfOneCamera>(camera_);
        view_ = KTDisplayView::create(QRect(0, 0, 64, 48), *platform_, RendererChoice::cpu);
        ASSERT_NE(view_, nullptr);
        view_->showDevice(camera_);
        const auto started = [this](const std::optional<ServiceError>& error) { began_ = error; };
        recording_ = std::make_unique<PanelRecording>(
            *view_, std::make_shared<testing::FakeAssetWriterPlatform>(script_), nullptr,
            PanelRecording::Request{camera_, 1, "movie.mp4", {}, {}, started, patience});
        QSignalSpy ended(recording_.get(), &PanelRecording::ended);
        ASSERT_TRUE(ended.wait(60'000)); // ms; sanitizers are slow
        outcome_ = ended.front();
    }

    testing::WriterScript script_;
    std::shared_ptr<testing::CameraThatFallsSilent> camera_;
    std::unique_ptr<testing::PlatformOfOneCamera> platform_;
    std::unique_ptr<KTDisplayView> view_;
    std::unique_ptr<PanelRecording> recording_;
    std::optional<std::optional<ServiceError>> began_;
    QList<QVariant> outcome_; // begun, success, reason, whether the file system is the reason
};

TEST_F(PanelRecordingTest, ACameraThatFallsSilentEndsTheMovieOnceThePatienceIsOver) {
    constexpr int pictures = 100;
    record(pictures, 2s); // the pictures come for longer
    EXPECT_EQ(camera_->delivered(), pictures) << "it was cut short while they still came";
    ASSERT_TRUE(began_.has_value());
    EXPECT_FALSE(began_->has_value());
    EXPECT_EQ(outcome_.value(0), true);
    EXPECT_EQ(outcome_.value(1), false);
    EXPECT_EQ(outcome_.value(2).value<std::string>(), "cut short: the camera fell silent");
    EXPECT_EQ(outcome_.value(3), false);
}

TEST_F(PanelRecordingTest, ACameraWithoutAPictureFailsToBeginOnceThePatienceIsOver) {
    record(0, 200ms);
    ASSERT_TRUE(began_.has_value() && began_->has_value());
    EXPECT_EQ((*began_)->text, "the camera delivers no picture");
    EXPECT_EQ(outcome_.value(0), false);
    EXPECT_EQ(script_.take().size(), 0U) << "no movie is begun";
}

} // namespace
} // namespace tavelo
