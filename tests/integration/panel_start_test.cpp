// SPDX-License-Identifier: MIT
// The order in which the panel starts, which decides when the first picture comes.
#include <QApplication>

#include "panel_fixture.h"

namespace tavelo {
namespace {

/// When cameras are opened: the number of sliders that exist then.
using Openings = std::vector<std::ptrdiff_t>;

class WatchedCamera final : public CaptureDevice {
public:
    WatchedCamera(std::shared_ptr<CaptureDevice> camera, Openings& openings)
        : camera_(std::move(camera)),
          openings_(openings) {}

    const std::string& uniqueID() const override { return camera_->uniqueID(); }
    const std::string& localizedName() const override { return camera_->localizedName(); }
    bool hasMediaType(MediaType type) const override { return camera_->hasMediaType(type); }
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) override {
        openings_.push_back(std::ranges::count_if(QApplication::allWidgets(), [](QWidget* widget) {
            return qobject_cast<KTSlider*>(widget) != nullptr;
        }));
        return camera_->makeInput(error);
    }

private:
    const std::shared_ptr<CaptureDevice> camera_;
    Openings& openings_;
};

class WatchedCapture final : public CapturePlatform {
public:
    WatchedCapture(CapturePlatform& platform, Openings& openings)
        : platform_(platform),
          openings_(openings) {}

    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType type) override {
        if (cameras_.empty())
            for (const auto& camera : platform_.devicesWithMediaType(type))
                cameras_.push_back(std::make_shared<WatchedCamera>(camera, openings_));
        return cameras_;
    }
    std::unique_ptr<CaptureSession> makeSession() override { return platform_.makeSession(); }
    void addObserver(CaptureDeviceObserver* /*observer*/) override {}
    void removeObserver(CaptureDeviceObserver* /*observer*/) override {}

private:
    CapturePlatform& platform_;
    Openings& openings_;
    std::vector<std::shared_ptr<CaptureDevice>> cameras_;
};

class PanelStart : public PanelTest {
protected:
    ~PanelStart() override {
        QThreadPool::globalInstance()->waitForDone();
        panel_.reset();
    }
    CapturePlatform& capture() override { return capture_; }
    /// The panel finds them all when it starts.
    void startWith(int cameras) {
        for (int number = 1; number <= cameras; ++number)
            plug(number);
        ASSERT_TRUE(waitFor([&] {
            return PanelTest::capture().devicesWithMediaType(MediaType::video).size() == std::size_t(cameras);
        }));
        start(0);
    }

    Openings openings_;

private:
    WatchedCapture capture_{PanelTest::capture(), openings_};
};

TEST_F(PanelStart, CameraIsOpenedOnceAndBeforeTheWidgetsAreMade) {
    startWith(2);
    EXPECT_EQ(openings_, Openings{0});
    EXPECT_TRUE(waitFor([this] { return panel().displayView()->mtkView()->drawnFrames() > 2; }));
}

TEST_F(PanelStart, SameCameraIsOpenedAgainWhenItIsChosenAgain) {
    startWith(1);
    panel().switchCameraWithIndex(0);
    EXPECT_EQ(openings_.size(), 2U);
}

TEST_F(PanelStart, WithoutACameraNothingIsOpened) {
    start(0);
    EXPECT_TRUE(openings_.empty());
    EXPECT_EQ(panel().displayView()->captureDevice(), nullptr);
}

} // namespace
} // namespace tavelo
