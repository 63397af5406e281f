// SPDX-License-Identifier: MIT
#include "platform/linux/usb/usb_camera_claims.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "fake_usb_camera.h"
#include "platform/linux/wake_event.h"
#include "support/recorded_diagnostics.h"

namespace tavelo::test {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

using Holder = FakeUsbCamera::Holder;

const UsbCameraAddress address{{1, 5}, 0, {1}};

class CameraClaims : public ::testing::Test {
protected:
    std::shared_ptr<UsbHandle> acquire() { return claims->acquire(address, error); }

    std::shared_ptr<void> startWatch(const UsbAddress& device, std::uint8_t controlInterface) {
        camera->note("watch " + device.path() + " " + std::to_string(controlInterface));
        return {nullptr, [camera = camera](void*) { camera->note("watch ends"); }};
    }

    /// Destroys the claims, which waits until every camera is returned to its driver.
    void waitForReturns() { claims.reset(); }

    testing::RecordedDiagnostics diagnostics;
    std::shared_ptr<FakeUsbCamera> camera = std::make_shared<FakeUsbCamera>();
    std::unique_ptr<UsbCameraClaims> claims = std::make_unique<UsbCameraClaims>(camera, nullptr, diagnostics);
    Error error;
};

TEST_F(CameraClaims, TheFirstHolderTakesThePicturesBeforeTheControls) {
    const auto claim = acquire();
    ASSERT_TRUE(claim) << error.text;
    EXPECT_EQ(error.code, ErrorCode::none);
    EXPECT_EQ(camera->openedAddress(), address.device);
    EXPECT_THAT(camera->calls(), ElementsAre("open", "detach 1", "claim 1", "detach 0", "claim 0"));
    EXPECT_EQ(camera->holder(0), Holder::us);
    EXPECT_EQ(camera->holder(1), Holder::us);
}

TEST_F(CameraClaims, FurtherHoldersShareWhatTheFirstOneTook) {
    const auto first = acquire();
    const std::size_t before = camera->calls().size();
    const auto second = acquire();
    ASSERT_TRUE(second);
    EXPECT_EQ(first, second);
    EXPECT_THAT(camera->calls(), SizeIs(before));
}

TEST_F(CameraClaims, TheLastHolderGivesTheCameraBackOnceEverythingIsReleased) {
    auto first = acquire();
    auto second = acquire();
    first.reset();
    EXPECT_EQ(camera->holder(0), Holder::us);
    const std::size_t before = camera->calls().size();
    second.reset();
    waitForReturns();
    auto calls = camera->calls();
    calls.erase(calls.begin(), calls.begin() + std::ptrdiff_t(before));
    EXPECT_THAT(calls, ElementsAre("release 1", "release 0", "attach 0", "close"));
    EXPECT_EQ(camera->holder(0), Holder::driver);
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(CameraClaims, ACameraWithoutADriverIsTakenToo) {
    camera->setHolder(0, Holder::nobody);
    camera->setHolder(1, Holder::nobody);
    EXPECT_TRUE(acquire());
}

TEST_F(CameraClaims, AClaimMayOutliveTheClaims) {
    auto claim = acquire();
    claims.reset();
    EXPECT_EQ(claim->claimInterface(0).code, ErrorCode::busy);
    claim.reset();
    EXPECT_EQ(camera->holder(0), Holder::driver);
}

TEST_F(CameraClaims, TwoCamerasAreTwoHandles) {
    const auto first = acquire();
    camera->setHolder(0, Holder::driver);
    camera->setHolder(1, Holder::driver);
    const auto second = claims->acquire({{1, 6}, 0, {1}}, error);
    ASSERT_TRUE(second) << error.text;
    EXPECT_NE(first, second);
    EXPECT_EQ(camera->openedAddress(), (UsbAddress{1, 6}));
}

TEST_F(CameraClaims, TheWatchBeginsBeforeTheDriverLetsGoAndEndsAfterItIsBack) {
    claims = std::make_unique<UsbCameraClaims>(
        camera, [this](const auto& device, auto interface) { return startWatch(device, interface); },
        diagnostics);
    acquire().reset();
    waitForReturns();
    EXPECT_THAT(camera->calls(),
                ElementsAre("open", "watch /dev/bus/usb/001/005 0", "detach 1", "claim 1", "detach 0",
                            "claim 0", "release 1", "release 0", "attach 0", "watch ends", "close"));
}

TEST_F(CameraClaims, ACameraThatCannotBeWatchedIsTakenWithAWarning) {
    claims = std::make_unique<UsbCameraClaims>(
        camera, [](const auto&, auto) { return nullptr; }, diagnostics);
    EXPECT_TRUE(acquire());
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("crash")));
}

TEST_F(CameraClaims, ADriverThatDoesNotComeBackIsReported) {
    auto claim = acquire();
    camera->fail("attach 0", ErrorCode::failed);
    claim.reset();
    waitForReturns();
    EXPECT_THAT(diagnostics.lines(), ElementsAre(HasSubstr("driver")));
}

TEST_F(CameraClaims, NothingIsSaidOfACameraThatWasUnpluggedMeanwhile) {
    auto claim = acquire();
    for (const char* call : {"release 0", "release 1", "attach 0"})
        camera->fail(call, ErrorCode::gone);
    claim.reset();
    waitForReturns();
    EXPECT_THAT(diagnostics.lines(), IsEmpty());
}

TEST_F(CameraClaims, AfterAFailureTheNextTryBeginsAnew) {
    camera->fail("claim 0", ErrorCode::busy, 1);
    EXPECT_FALSE(acquire());
    EXPECT_TRUE(acquire()) << error.text;
    EXPECT_EQ(error.code, ErrorCode::none);
}

TEST_F(CameraClaims, ACameraWhoseDriverLetGoInVainGetsItBack) {
    camera->fail("claim 0", ErrorCode::busy, 1);
    EXPECT_FALSE(claims->acquire({{1, 5}, 0, {}}, error));
    waitForReturns();
    EXPECT_EQ(camera->holder(0), Holder::driver);
}

constexpr std::chrono::seconds longEnough(60);

// A driver that is slow to attach to the camera.
class SlowDriver : public CameraClaims {
protected:
    SlowDriver() {
        camera->before("attach 0", [this] {
            attaching = std::this_thread::get_id();
            entered.set();
            allowed.waitFor(longEnough);
        });
    }
    ~SlowDriver() override {
        allowed.set();
        waitForReturns(); // the driver uses what follows
    }

    std::atomic<std::thread::id> attaching;
    WakeEvent entered;
    WakeEvent allowed;
};

TEST_F(SlowDriver, ReleasingDoesNotWaitForIt) {
    acquire().reset(); // returns while the driver is still attaching
    ASSERT_TRUE(entered.waitFor(longEnough));
    EXPECT_NE(attaching.load(), std::this_thread::get_id());
    EXPECT_EQ(camera->holder(0), Holder::nobody);
}

TEST_F(SlowDriver, AFailedClaimDoesNotWaitForItEither) {
    camera->fail("claim 0", ErrorCode::busy, 1);
    EXPECT_FALSE(acquire());
    ASSERT_TRUE(entered.waitFor(longEnough));
    EXPECT_NE(attaching.load(), std::this_thread::get_id());
}

TEST_F(SlowDriver, ClaimsACameraOnceItsReturnIsFinished) {
    for (const bool failed : {false, true}) {
        if (failed) camera->fail("claim 0", ErrorCode::busy, 1);
        EXPECT_NE(acquire() != nullptr, failed);
        ASSERT_TRUE(entered.waitFor(longEnough));
        entered.clear();
        const std::size_t before = camera->calls().size();
        std::thread taker([&] { EXPECT_TRUE(acquire()); });
        allowed.set();
        taker.join();
        auto calls = camera->calls();
        calls.erase(calls.begin(), calls.begin() + std::ptrdiff_t(before));
        calls.resize(6);
        EXPECT_THAT(calls, ElementsAre("attach 0", "close", "open", "detach 1", "claim 1", "detach 0"));
        waitForReturns();
        entered.clear();
        allowed.clear();
        claims = std::make_unique<UsbCameraClaims>(camera, nullptr, diagnostics);
    }
}

TEST_F(SlowDriver, AClaimKeepsACameraThatWaitsForItsReturn) {
    const UsbCameraAddress other{{1, 6}, 2, {3}};
    acquire().reset();
    ASSERT_TRUE(entered.waitFor(longEnough)); // the other one waits behind it
    claims->acquire(other, error).reset();
    const std::size_t before = camera->calls().size();
    const auto again = claims->acquire(other, error);
    EXPECT_TRUE(again);
    EXPECT_THAT(camera->calls(), SizeIs(before));
    allowed.set();
    waitForReturns();
    EXPECT_EQ(camera->holder(2), Holder::us);
}

TEST_F(SlowDriver, TheClaimsEndOnceEveryCameraIsBack) {
    acquire().reset();
    ASSERT_TRUE(entered.waitFor(longEnough));
    std::thread end([this] { claims.reset(); });
    allowed.set();
    end.join();
    EXPECT_EQ(camera->holder(0), Holder::driver);
    EXPECT_EQ(camera->calls().back(), "close");
}

TEST_F(SlowDriver, APartThatOutlivesTheClaimsIsBackBeforeItsEnd) {
    auto claim = acquire();
    claims.reset();
    allowed.set();
    claim.reset();
    EXPECT_EQ(camera->holder(0), Holder::driver);
}

struct TakingFault {
    const char* call;
    ErrorCode error;
    ErrorCode expected;
};

class FailingToTake : public CameraClaims, public ::testing::WithParamInterface<TakingFault> {};

TEST_P(FailingToTake, SaysWhyAndLeavesTheCameraToItsDriver) {
    camera->fail(GetParam().call, GetParam().error);
    EXPECT_FALSE(acquire());
    waitForReturns();
    EXPECT_EQ(error.code, GetParam().expected);
    EXPECT_THAT(error.text, HasSubstr(address.device.path()));
    EXPECT_EQ(camera->holder(0), Holder::driver);
    EXPECT_NE(camera->holder(1), Holder::us);
}

INSTANTIATE_TEST_SUITE_P(Faults, FailingToTake,
                         ::testing::Values(TakingFault{"open", ErrorCode::gone, ErrorCode::gone},
                                           TakingFault{"open", ErrorCode::denied, ErrorCode::denied},
                                           TakingFault{"open", ErrorCode::busy, ErrorCode::busy},
                                           TakingFault{"open", ErrorCode::failed, ErrorCode::failed},
                                           TakingFault{"detach 1", ErrorCode::denied, ErrorCode::denied},
                                           TakingFault{"detach 1", ErrorCode::gone, ErrorCode::gone},
                                           TakingFault{"claim 1", ErrorCode::busy, ErrorCode::busy},
                                           TakingFault{"claim 1", ErrorCode::invalid, ErrorCode::gone},
                                           TakingFault{"detach 0", ErrorCode::timeout, ErrorCode::timeout},
                                           TakingFault{"claim 0", ErrorCode::busy, ErrorCode::busy},
                                           TakingFault{"claim 0", ErrorCode::gone, ErrorCode::gone}));

TEST_F(CameraClaims, ACameraOfAnotherProgramIsBusyAndStaysItsOwn) {
    camera->setHolder(0, Holder::otherProgram);
    camera->setHolder(1, Holder::otherProgram);
    EXPECT_FALSE(acquire());
    waitForReturns();
    EXPECT_EQ(error.code, ErrorCode::busy);
    EXPECT_EQ(camera->holder(0), Holder::otherProgram);
    EXPECT_THAT(camera->calls(), Each(Not(HasSubstr("attach 0"))));
}

TEST_F(CameraClaims, TakingAndGivingBackByManyThreadsNeverOverlap) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int round = 0; round < 200; ++round) {
                Error reason;
                EXPECT_TRUE(claims->acquire(address, reason)) << reason.text;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    waitForReturns();
    EXPECT_EQ(camera->mostOpenAtOnce(), 1);
    EXPECT_EQ(camera->holder(0), Holder::driver);
}

} // namespace
} // namespace tavelo::test
