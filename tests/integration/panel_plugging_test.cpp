// SPDX-License-Identifier: MIT
// Cameras are pulled out and plugged in again a great many times, at moments drawn by lot.
#include <QImage>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "integration/fault_campaign.h"
#include "support/temporary_folder.h"

namespace tavelo {
namespace {

using std::chrono::milliseconds;

/// One camera is pulled out at a time, the other one is left.
class PanelPlugging : public FaultCampaign {
protected:
    struct Moment {
        const char* name;
        /// Leaves the camera pulled out.
        void (PanelPlugging::*pullOut)();
    };

    static int cyclesWanted() {
        constexpr int inEveryRun = 100;
        const char* wanted = std::getenv("TAVELO_PLUG_CYCLES");
        return wanted != nullptr ? std::max(1, std::atoi(wanted)) : inEveryRun;
    }

    /// 0 to `count` - 1.
    int oneOf(int count) { return std::uniform_int_distribution(0, count - 1)(random_); }
    int left() const { return 3 - pulled_; }
    int shown() const { return isShown_ ? pulled_ : left(); }

    /// Lets the panel notice now what happened, or later.
    void maybeRunEvents() {
        if (oneOf(2) == 0) QCoreApplication::processEvents();
    }

    // The cable

    void pullOut() {
        EXPECT_TRUE(backend_.bus->unplug(pulled_));
        isOut_ = true;
    }

    /// What was plugged is handled.
    void letThePanelKnow(const char* what) { answers_[what].push_back(answerTime()); }

    void checkAnswer(milliseconds time) override { answers_["all is done"].push_back(time); }

    /// A single answer may be late, for the virtual cameras draw on the same processors.
    void expectAnswersInTime() {
        for (auto& [what, times] : answers_) {
            std::ranges::sort(times);
            const milliseconds usual = times[times.size() / 2];
            std::cout << "answer after " << what << ": usually " << usual.count() << " ms, at most "
                      << times.back().count() << " ms, " << times.size() << " times\n";
            EXPECT_LT(usual, longestAnswer) << what;
        }
    }

    /// Pulls the camera out at a request from now on: before it reaches a camera, or on another thread while
    /// it does.
    void pullOutAtRequest(std::size_t number) {
        isOut_ = false;
        const bool meanwhile = oneOf(2) == 0;
        usb().setHooks({.before = [this, number, meanwhile](const UsbControlRequest&, std::size_t asked) {
            if (asked != number) return;
            if (meanwhile)
                hand_ = std::jthread([this] { pullOut(); });
            else
                pullOut();
        }});
    }

    /// If there were too few requests, it is pulled out now.
    void pullOutAtTheLatestNow() {
        EXPECT_TRUE(waitFor([] { return QThreadPool::globalInstance()->activeThreadCount() == 0; }));
        usb().setHooks({});
        if (hand_.joinable()) hand_.join();
        if (!isOut_) pullOut();
    }

    /// Its contact may be bad: it comes, goes, and comes again.
    void plugIn(int number) {
        for (int bounces = oneOf(4); bounces > 2; --bounces) {
            plug(number);
            maybeRunEvents();
            backend_.bus->unplug(number);
            maybeRunEvents();
        }
        plug(number);
        letThePanelKnow("plugging in");
    }

    // The moments

    void atRest() {
        show(shown());
        pullOut();
    }

    /// Of the camera's own binding, or the other one's.
    void inABinding() {
        show(3 - shown());
        pullOutAtRequest(1 + static_cast<std::size_t>(oneOf(requestsOfABinding_)));
        show(shown());
        pullOutAtTheLatestNow();
    }

    void whileItsStreamStarts() {
        show(left());
        show(pulled_);
        pullOut();
    }

    void inADrag() {
        constexpr int steps = 8;
        show(shown());
        const auto before = brightnessOf(left());
        KTSlider* slider = view().brightnessSlider();
        const int at = oneOf(steps);
        press(slider, 0);
        for (int step = 0; step < steps; ++step) {
            if (step == at) pullOut();
            maybeRunEvents();
            move(slider, static_cast<double>(step) / steps);
        }
        release(slider, 1);
        if (isShown_) {
            EXPECT_EQ(brightnessOf(left()), before) << "the other camera followed the drag";
        }
    }

    void inAPush() {
        show(shown());
        pullOutAtRequest(1 + static_cast<std::size_t>(oneOf(10)));
        click(oneOf(2) == 0 ? static_cast<QWidget*>(view().profile2Button()) : view().restoreProfileButton());
        pullOutAtTheLatestNow();
    }

    /// What was shown is written all the same.
    void inAStill() {
        show(shown());
        KTMTKView* picture = panel().displayView()->mtkView();
        const std::uint64_t before = picture->drawnFrames();
        ASSERT_TRUE(waitFor([&] { return picture->drawnFrames() > before; }));
        const std::string file = (folder_.path() / "still.png").string();
        std::filesystem::remove(file);
        const auto ends = std::make_shared<std::atomic<int>>(0);
        const bool pulledBefore = oneOf(2) == 0;
        if (pulledBefore) pullOut();
        picture->screenShotWithFilePathCompletionHandler(file, [ends](bool success, const Error& error) {
            EXPECT_TRUE(success) << error.text;
            ++*ends;
        });
        if (!pulledBefore) pullOut();
        ASSERT_TRUE(waitFor([&ends] { return *ends > 0; }));
        EXPECT_EQ(QImage(QString::fromStdString(file)).size(), QSize(1280, 720));
        EXPECT_EQ(*ends, 1);
    }

    /// The other one goes first, so that none is left; and it comes back first.
    void asTheLast() {
        show(shown());
        EXPECT_TRUE(backend_.bus->unplug(left()));
        maybeRunEvents();
        pullOut();
        letThePanelKnow("pulling out both");
        EXPECT_TRUE(panel().devicesArray().empty());
        EXPECT_FALSE(view().brightnessSlider()->isEnabled());
        EXPECT_FALSE(view().camera1Button()->isEnabled());
        plugIn(left());
    }

    static constexpr std::array moments{
        Moment{"pulling out at rest", &PanelPlugging::atRest},
        Moment{"pulling out in a binding", &PanelPlugging::inABinding},
        Moment{"pulling out while its stream starts", &PanelPlugging::whileItsStreamStarts},
        Moment{"pulling out in a drag", &PanelPlugging::inADrag},
        Moment{"pulling out in a push", &PanelPlugging::inAPush},
        Moment{"pulling out in a still", &PanelPlugging::inAStill},
        Moment{"pulling out as the last", &PanelPlugging::asTheLast},
    };

    // A cycle

    void startAndCountRequests() {
        startWithBoth();
        ASSERT_TRUE(show(1));
        usb().setHooks({});
        ASSERT_TRUE(show(2));
        requestsOfABinding_ = static_cast<int>(usb().requests());
        ASSERT_GT(requestsOfABinding_, 0);
    }

    void cycle() {
        pulled_ = 1 + oneOf(2);
        isShown_ = oneOf(2) == 0;
        const Moment& moment = moments.at(static_cast<std::size_t>(oneOf(static_cast<int>(moments.size()))));
        SCOPED_TRACE(std::string(moment.name) + ", camera " + std::to_string(pulled_) +
                     (isShown_ ? ", which is shown" : ""));
        (this->*moment.pullOut)();
        letThePanelKnow(moment.name);
        ASSERT_EQ(panel().devicesArray().size(), 1U);
        EXPECT_EQ(panel().shownCamera(), deviceOf(left()));
        expectNoHarm(left());
        plugIn(pulled_);
        ASSERT_EQ(panel().devicesArray().size(), 2U);
        EXPECT_EQ(panel().shownCamera(), deviceOf(left())) << "the arrival changed the camera";
        EXPECT_TRUE(view().camera1Button()->selected());
        EXPECT_FALSE(view().camera2Button()->selected());
        expectCameraWorks(pulled_);
    }

    std::optional<std::int64_t> brightnessOf(int number) {
        return camera(number)->controlValue(control::brightness);
    }

    int pulled_ = 1;
    bool isShown_ = false; // the camera that is pulled out
    int requestsOfABinding_ = 0;
    std::atomic<bool> isOut_ = false;
    std::map<std::string, std::vector<milliseconds>> answers_;
    std::mt19937 random_{static_cast<std::uint32_t>(GTEST_FLAG_GET(random_seed))};
    testing::TemporaryFolder folder_;
    std::jthread hand_; // pulls a camera out; ends before the rest
};

TEST_F(PanelPlugging, AtAnyMomentHarmsNeitherPanelNorProfilesNorTheOtherCamera) {
    const int cycles = cyclesWanted();
    startAndCountRequests();
    for (int number = 1; number <= cycles && !HasFatalFailure(); ++number) {
        SCOPED_TRACE("cycle " + std::to_string(number));
        cycle();
    }
    EXPECT_EQ(rounds_, static_cast<std::size_t>(cycles));
    expectAnswersInTime();
}

} // namespace
} // namespace tavelo
