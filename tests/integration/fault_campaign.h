// SPDX-License-Identifier: MIT
// A panel with two cameras, of which the first one fails in many ways, and what must hold after each.
#pragma once

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <thread>

#include "integration/panel_fixture.h"
#include "support/intercepted_usb.h"
#include "support/resource_counts.h"

namespace tavelo {

/// Each test counts its rounds, and says at its end how many there were.
class FaultCampaign : public PanelTest {
protected:
    static constexpr std::size_t roundsToWarmUp = 10;
    static constexpr std::chrono::milliseconds longestAnswer{100};

    FaultCampaign() : PanelTest(&intercept) {
        testing::ResourceCounts::tellSizesApart();
        // The pool's threads would come and go meanwhile.
        QThreadPool::globalInstance()->setExpiryTimeout(-1);
    }
    ~FaultCampaign() override {
        std::cout << rounds_ << " faults tried, " << usb().allRequests() << " requests\n";
        if (last_)
            std::cout << "after " << roundsToWarmUp << ": " << resources_ << "\nat the end: " << *last_
                      << '\n';
    }

    static std::unique_ptr<UsbPlatform> intercept(std::unique_ptr<UsbPlatform> cameras) {
        return std::make_unique<testing::InterceptedUsb>(std::move(cameras));
    }
    testing::InterceptedUsb& usb() { return static_cast<testing::InterceptedUsb&>(*backend_.usb); }

    /// Both cameras are known, and the second one is shown.
    void startWithBoth() {
        start(2);
        startPoolThreads();
        for (const int number : {2, 1, 2}) {
            ASSERT_TRUE(show(number));
            click(view().profile1Button());
            QThreadPool::globalInstance()->waitForDone();
            QCoreApplication::processEvents();
        }
        rememberRecords();
        ASSERT_EQ(records_.size(), 2U);
    }

    /// These must stay.
    void rememberRecords() { records_ = recordsOf(); }

    std::shared_ptr<CaptureDevice> deviceOf(int number) {
        const std::string place = locationText(camera(number)->model().locationID);
        for (const auto& device : panel().devicesArray())
            if (device->uniqueID().starts_with(place)) return device;
        return nullptr;
    }

    /// Clicks the camera's tab.  False if it has none.
    bool show(int number) {
        const auto device = camera(number) ? deviceOf(number) : nullptr;
        if (!device) return false;
        const auto devices = panel().devicesArray();
        const auto position = std::ranges::find(devices, device) - devices.begin();
        if (position > 1) return false;
        click(position == 0 ? view().camera1Button() : view().camera2Button());
        return panel().displayView()->captureDevice() == device;
    }

    void drag(KTSlider* slider) {
        press(slider, 0);
        for (const double share : {0.2, 0.4, 0.6, 0.8})
            move(slider, share);
        release(slider, 1);
    }

    /// What a user does with a camera: a drag, a profile, the defaults.
    void use() {
        drag(view().brightnessSlider());
        for (QWidget* button : {static_cast<QWidget*>(view().profile1Button()),
                                static_cast<QWidget*>(view().restoreProfileButton())}) {
            click(button);
            QThreadPool::globalInstance()->waitForDone();
            QCoreApplication::processEvents();
        }
    }

    /// The camera that failed is well again or gone, and shown or not; the rest must not have suffered.
    /// @param other the camera that did not fail
    void expectNoHarm(int other = 2) {
        ++rounds_;
        QThreadPool::globalInstance()->waitForDone();
        checkAnswer(answerTime());
        expectCameraWorks(other);
        EXPECT_EQ(recordsOf(), records_);
        for (const int number : {1, 2})
            if (camera(number)) camera(number)->clearRequestLog();
        expectNoGrowth();
    }

    virtual void checkAnswer(std::chrono::milliseconds time) { EXPECT_LT(time, longestAnswer); }

    void expectCameraWorks(int number) {
        passTime(2 * ReopeningPolicy::quietTime);
        ASSERT_TRUE(show(number)) << number;
        ASSERT_TRUE(waitFor([this] { return view().contrastSlider()->isEnabled(); }));
        for (const double share : {0.0, 1.0}) {
            press(view().contrastSlider(), share);
            release(view().contrastSlider(), share);
            EXPECT_EQ(camera(number)->controlValue(control::contrast),
                      share > 0 ? view().contrastSlider()->maxValue() : view().contrastSlider()->minValue());
        }
    }

    /// How long the window needs for a task that comes now.
    static std::chrono::milliseconds answerTime() {
        bool answered = false;
        QElapsedTimer timer;
        timer.start();
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [&answered] { answered = true; }, Qt::QueuedConnection);
        EXPECT_TRUE(waitFor([&answered] { return answered; }));
        return std::chrono::milliseconds(timer.elapsed());
    }

    /// Compares with the first rounds; after them only now and then, since it may take its time.
    void expectNoGrowth() {
        testing::ResourceCounts now = testing::ResourceCounts::now();
        if (rounds_ <= roundsToWarmUp) {
            // Threads start and end with streams and pushes, and pictures are under way.
            resources_ = {std::max(resources_.threads, now.threads),
                          std::max(resources_.descriptors, now.descriptors), now.small,
                          std::max(resources_.large, now.large)};
            return;
        }
        if (rounds_ % roundsToWarmUp != 0) return;
        constexpr std::size_t caches = 128U << 10U; // bytes; they fill up, ever more slowly
        constexpr std::size_t mostARound = 512;
        constexpr std::size_t pictures = 32U << 20U; // some are under way, now more, now fewer
        const std::size_t mostSmall = resources_.small + caches + (rounds_ - roundsToWarmUp) * mostARound;
        const bool same = waitFor([&] {
            now = testing::ResourceCounts::now();
            return now.threads <= resources_.threads && now.descriptors <= resources_.descriptors &&
                   now.small <= mostSmall && now.large <= resources_.large + pictures;
        });
        EXPECT_TRUE(same) << "before: " << resources_ << "; now: " << now;
        last_ = now;
    }

    using Records = std::map<std::string, PreferencesValue>;
    Records recordsOf() {
        Records records;
        for (const std::string& key : store_.keys())
            records[key] = *store_.objectForKey(key);
        // Which profile was selected last is no setting.
        for (auto& [key, record] : records)
            if (auto* array = std::get_if<PreferencesArray>(&record.value)) array->resize(4);
        return records;
    }

    std::size_t rounds_ = 0;

private:
    static std::string locationText(std::uint32_t location) {
        constexpr std::size_t size = sizeof "0x00000000";
        std::array<char, size> text{};
        std::snprintf(text.data(), text.size(), "0x%08x", location);
        return text.data();
    }

    static void startPoolThreads() {
        QThreadPool& pool = *QThreadPool::globalInstance();
        std::atomic<int> waiting = pool.maxThreadCount();
        for (int i = pool.maxThreadCount(); i > 0; --i)
            pool.start([&waiting] {
                --waiting;
                while (waiting > 0)
                    std::this_thread::yield();
            });
        pool.waitForDone();
    }

    testing::ResourceCounts resources_;
    std::optional<testing::ResourceCounts> last_;
    Records records_;
};

} // namespace tavelo
