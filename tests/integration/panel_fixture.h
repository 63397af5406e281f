// SPDX-License-Identifier: MIT
// The whole panel in a window, with in-process virtual cameras.
#pragma once

#include <gmock/gmock.h>

#include <QTest>
#include <QThreadPool>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "app/kt_window.h"
#include "app/kt_window_controller.h"
#include "app/resources/resource_bundle.h"
#include "panel/view_controller.h"
#include "platform/virtual/backend.h"
#include "process/qt_main_queue.h"
#include "profiles/camera_settings.h"
#include "support/memory_preferences_store.h"
#include "video/kt_display_view.h"
#include "widgets/kt_camera_button.h"
#include "widgets/kt_check_button.h"
#include "widgets/kt_profile_button.h"
#include "widgets/kt_slider.h"
#include "widgets/kt_switch.h"
#include "widgets/kt_text.h"

namespace tavelo {

/// The panel does not exist until a test calls start(), so cameras and faults can be set up first.
class PanelTest : public testing::Test {
protected:
    /// Puts something between the panel and its cameras' controls.
    using WrapUsb = std::unique_ptr<UsbPlatform> (*)(std::unique_ptr<UsbPlatform> cameras);

    explicit PanelTest(WrapUsb wrap = nullptr) : backend_(makeBackend(mainQueue_, wrap)) {}
    ~PanelTest() override {
        QThreadPool::globalInstance()->waitForDone();
        panel_.reset();
    }

    /// @param cameras plugged in before the panel starts
    void start(int cameras) {
        for (int number = 1; number <= cameras; ++number)
            plug(number);
        load();
        panel_->putInto(window_);
        windowController_.windowDidLoad();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window_));
    }

    /// The panel without its window, before the event loop ran.
    void load() {
        panel_ = std::make_unique<ViewController>(
            PanelOptions{manager_, capture(), preferences(), bundle_, RendererChoice::cpu,
                         [this](std::chrono::milliseconds time) { pause(time); }, bindsFirstCameraLater_});
        QObject::connect(panel_.get(), &ViewController::closeRequested, &windowController_,
                         &KTWindowController::close);
        QObject::connect(panel_.get(), &ViewController::miniaturizeRequested, &windowController_,
                         &KTWindowController::miniaturize);
        panel_->viewDidLoad();
    }

    std::shared_ptr<VirtualCameraFirmware> plug(int number) {
        return backend_.bus->plug(virtualCameraModel(number));
    }

    /// The panel's preferences.
    virtual PreferencesStore& preferences() { return store_; }

    virtual CapturePlatform& capture() { return *backend_.capture; }

    /// Does nothing: virtual cameras need no time to settle.
    virtual void pause(std::chrono::milliseconds /*time*/) {}

    ViewController& panel() { return *panel_; }
    PanelView& view() { return *panel_->view(); }
    std::shared_ptr<VirtualCameraFirmware> camera(int number) { return backend_.bus->camera(number); }

    /// Runs the event loop until the condition holds.
    template <typename Condition>
    [[nodiscard]] static bool waitFor(Condition condition) {
        constexpr int patience = 20'000; // ms; sanitizers are slow
        return QTest::qWaitFor(condition, patience);
    }

    /// The point of the slider's track at `share` (0 to 1) of the knob's range.
    static QPoint pointOf(const KTSlider* slider, double share) {
        const double height = slider->height();
        const double x = height / 2 + share * (slider->width() - height);
        return {qRound(x), slider->height() / 2};
    }

    static void press(KTSlider* slider, double share) {
        QTest::mousePress(slider, Qt::LeftButton, {}, pointOf(slider, share));
    }
    static void move(KTSlider* slider, double share) { QTest::mouseMove(slider, pointOf(slider, share)); }
    static void release(KTSlider* slider, double share) {
        QTest::mouseRelease(slider, Qt::LeftButton, {}, pointOf(slider, share));
    }

    /// The writes that the camera received, in order.
    static std::vector<RequestRecord> writes(const VirtualCameraFirmware& camera) {
        constexpr std::uint8_t setCur = 0x01;
        std::vector<RequestRecord> result = camera.requestLog();
        std::erase_if(result, [](const RequestRecord& request) {
            return request.setup.bRequest != setCur || request.setup.bmRequestType != 0x21;
        });
        return result;
    }

    static VirtualBackend makeBackend(MainQueue& mainQueue, WrapUsb wrap) {
        VirtualBackend backend = makeVirtualBackend(0, {}, mainQueue);
        if (wrap != nullptr) backend.usb = wrap(std::move(backend.usb));
        return backend;
    }

    bool bindsFirstCameraLater_ = false; // as the program does; set it before start()

    void passTime(std::chrono::milliseconds time) { now_ = now_.load() + time; }

    static void click(QWidget* widget) { QTest::mouseClick(widget, Qt::LeftButton); }

    /// Clicks a button that pushes settings to camera 1 and waits until the camera and the widgets have them.
    void push(QWidget* button) {
        const std::ptrdiff_t before = powerLineWrites();
        click(button);
        // A push writes the power line frequency last.
        ASSERT_TRUE(waitFor([&] { return powerLineWrites() > before; }));
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
    }

    std::ptrdiff_t powerLineWrites() {
        const std::uint16_t unit = static_cast<std::uint16_t>(camera(1)->model().unitID << 8);
        return std::ranges::count_if(camera(1)->requestLog(), [unit](const RequestRecord& request) {
            return request.setup.bRequest == 0x01 && request.setup.wValue == 0x0500 &&
                   request.setup.wIndex == unit;
        });
    }

    /// Puts settings into one of the stored profiles.
    void storeProfile(std::size_t position, const PreferencesDictionary& profile) {
        auto object = *store_.objectForKey(*panel().cameraSettingKey());
        std::get<PreferencesArray>(object.value).at(position) = {profile};
        store_.setObject(object, *panel().cameraSettingKey());
    }

    /// The profile at this position of the camera's stored record.
    PreferencesDictionary storedProfile(std::size_t position) {
        const auto object = store_.objectForKey(*panel_->cameraSettingKey());
        const auto& record = std::get<PreferencesArray>(object->value);
        return std::get<PreferencesDictionary>(record.at(position).value);
    }

    QtMainQueue mainQueue_;
    VirtualBackend backend_;
    MemoryPreferencesStore store_{mainQueue_};
    ResourceBundle bundle_;
    /// Advances only when a test changes it.
    std::atomic<std::chrono::steady_clock::time_point> now_ = std::chrono::steady_clock::now();
    KTUVCManager manager_{{backend_.usb.get(), nullptr, [this] { return now_.load(); }}};
    KTWindow window_{QRect(0, 0, 1111, 660), WindowStyle::borderless, true, true};
    KTWindowController windowController_{window_};
    std::unique_ptr<ViewController> panel_;
};

} // namespace tavelo
