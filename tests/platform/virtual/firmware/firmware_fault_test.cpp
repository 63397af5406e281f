// SPDX-License-Identifier: MIT
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <gmock/gmock.h>

#include "firmware_client.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using enum UsbReplyKind;

class FaultTest : public ::testing::Test {
protected:
    VirtualCameraFirmware firmware{virtualCameraModel(1)};
    FirmwareClient client{firmware};
};

TEST_F(FaultTest, aStalledControlLeavesTheOthersAlone) {
    FirmwareFault fault;
    fault.control = control::brightness;
    fault.errorCode = uvc::errorNotReady;
    firmware.order(fault);
    EXPECT_EQ(client.get(UvcRequest::getCur, control::brightness).kind, stall);
    EXPECT_EQ(client.errorCode(), uvc::errorNotReady);
    EXPECT_EQ(client.set(control::brightness, 5).kind, stall);
    EXPECT_EQ(client.get(UvcRequest::getCur, control::contrast).kind, done);
    EXPECT_EQ(firmware.controlValue(control::brightness), 0);
}

TEST_F(FaultTest, aStallMayConcernWritesOnlyReadsOnlyOrOneRequest) {
    FirmwareFault fault;
    fault.control = control::brightness;
    fault.direction = FaultDirection::writes;
    firmware.order(fault);
    EXPECT_EQ(client.get(UvcRequest::getCur, control::brightness).kind, done);
    EXPECT_EQ(client.set(control::brightness, 5).kind, stall);

    firmware.clearFaults();
    fault.direction = FaultDirection::reads;
    firmware.order(fault);
    EXPECT_EQ(client.get(UvcRequest::getCur, control::brightness).kind, stall);
    EXPECT_EQ(client.set(control::brightness, 5).kind, done);

    firmware.clearFaults();
    fault.direction = FaultDirection::both;
    fault.request = UvcRequest::getDef;
    firmware.order(fault);
    EXPECT_EQ(client.get(UvcRequest::getDef, control::brightness).kind, stall);
    EXPECT_EQ(client.get(UvcRequest::getMin, control::brightness).kind, done);
}

TEST_F(FaultTest, clearingEndsAllFaults) {
    firmware.order({});
    EXPECT_EQ(client.get(UvcRequest::getCur, control::zoom).kind, stall);
    firmware.clearFaults();
    EXPECT_EQ(client.get(UvcRequest::getCur, control::zoom).kind, done);
}

TEST_F(FaultTest, aShortReplyIsCutOff) {
    FirmwareFault fault;
    fault.kind = FaultKind::shortReply;
    fault.length = 1;
    firmware.order(fault);
    EXPECT_EQ(client.get(UvcRequest::getCur, control::brightness).data.size(), 1U);
    EXPECT_EQ(client.get(UvcRequest::getInfo, control::brightness).data.size(), 1U);
    EXPECT_EQ(client.set(control::brightness, 5).kind, done) << "writes are not concerned";
    firmware.clearFaults();
    fault.length = 0;
    firmware.order(fault);
    EXPECT_EQ(client.get(UvcRequest::getCur, control::brightness).kind, done);
    EXPECT_TRUE(client.get(UvcRequest::getCur, control::brightness).data.empty());
}

TEST_F(FaultTest, silenceIsNoAnswer) {
    FirmwareFault fault;
    fault.kind = FaultKind::silence;
    fault.control = control::zoom;
    firmware.order(fault);
    EXPECT_EQ(client.get(UvcRequest::getCur, control::zoom).kind, silence);
    EXPECT_EQ(client.set(control::zoom, 200).kind, silence);
    EXPECT_EQ(firmware.controlValue(control::zoom), 100);
    EXPECT_EQ(client.get(UvcRequest::getCur, control::brightness).kind, done);
}

TEST_F(FaultTest, aDelayedAnswerIsRightAndLate) {
    FirmwareFault fault;
    fault.kind = FaultKind::delay;
    fault.wait = 20ms;
    firmware.order(fault);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(client.set(control::brightness, 7).kind, done);
    EXPECT_GE(std::chrono::steady_clock::now() - before, 20ms);
    EXPECT_EQ(firmware.controlValue(control::brightness), 7);
}

// One thread reads a control with an endless delay while the test acts.
class DelayTest : public FaultTest {
protected:
    DelayTest() {
        FirmwareFault fault;
        fault.kind = FaultKind::delay;
        fault.control = control::zoom;
        fault.wait = 1h;
        firmware.order(fault);
        asker = std::thread([this] { kind = client.get(UvcRequest::getCur, control::zoom).kind; });
    }
    void TearDown() override {
        if (asker.joinable()) asker.join();
    }

    std::thread asker;
    std::atomic<UsbReplyKind> kind = stall;
};

TEST_F(DelayTest, otherRequestsPassADelayedOne) {
    EXPECT_EQ(client.get(UvcRequest::getCur, control::brightness).kind, done);
    firmware.clearFaults();
    asker.join();
    EXPECT_EQ(kind, done);
}

TEST_F(DelayTest, vanishingEndsADelay) {
    firmware.vanish();
    asker.join();
    EXPECT_EQ(kind, silence);
}

TEST_F(FaultTest, aVanishedCameraIsSilentForGood) {
    firmware.vanish();
    EXPECT_FALSE(firmware.present());
    EXPECT_FALSE(firmware.streaming());
    EXPECT_EQ(client.get(UvcRequest::getCur, control::brightness).kind, silence);
    EXPECT_EQ(firmware.control({0x80, uvc::getDescriptor, 0x0100, 0, 18}, {}).kind, silence);
    firmware.clearFaults();
    EXPECT_EQ(client.get(UvcRequest::getCur, control::brightness).kind, silence);
}

class Watcher : public FirmwareObserver {
public:
    void requestAnswered(const RequestRecord& record) override { records.push_back(record); }
    void vanished() override { ++vanishings; }

    std::vector<RequestRecord> records;
    int vanishings = 0;
};

TEST_F(FaultTest, observersSeeEveryTransferAndTheEnd) {
    Watcher watcher;
    firmware.addObserver(&watcher);
    client.set(control::brightness, 3);
    client.set(control::brightness, 300);
    client.get(UvcRequest::getCur, control::brightness);
    firmware.vanish();
    firmware.vanish();
    firmware.removeObserver(&watcher);
    client.get(UvcRequest::getCur, control::brightness);

    ASSERT_EQ(watcher.records.size(), 3U);
    EXPECT_EQ(watcher.records[0].data, (std::vector<std::uint8_t>{3, 0}));
    EXPECT_EQ(watcher.records[0].outcome, done);
    EXPECT_EQ(watcher.records[1].outcome, stall);
    EXPECT_EQ(watcher.records[1].errorCode, uvc::errorOutOfRange);
    EXPECT_EQ(watcher.records[2].setup.bRequest, codeOf(UvcRequest::getCur));
    EXPECT_EQ(watcher.records[2].data, (std::vector<std::uint8_t>{3, 0}));
    EXPECT_EQ(watcher.vanishings, 1);
}

TEST_F(FaultTest, theLogKeepsTheLatestTransfers) {
    client.set(control::brightness, 1);
    for (std::size_t i = 0; i < VirtualCameraFirmware::rememberedRequests; ++i)
        client.get(UvcRequest::getInfo, control::brightness);
    const auto log = firmware.requestLog();
    ASSERT_EQ(log.size(), VirtualCameraFirmware::rememberedRequests);
    EXPECT_EQ(log.front().setup.bRequest, codeOf(UvcRequest::getInfo)) << "the oldest was dropped";
    firmware.clearRequestLog();
    EXPECT_TRUE(firmware.requestLog().empty());
}

TEST_F(FaultTest, manyThreadsMayAskAtOnce) {
    std::array<std::thread, 4> threads;
    std::atomic<int> refused = 0;
    for (int t = 0; t < 4; ++t) {
        threads.at(static_cast<std::size_t>(t)) = std::thread([&, t] {
            FirmwareClient host{firmware};
            for (int i = 0; i < 200; ++i) {
                if (host.set(control::brightness, i % 64 - t).kind != done) ++refused;
                host.get(UvcRequest::getCur, control::contrast);
                firmware.setControlValue(control::contrast, i % 64);
                firmware.pictureSettings();
                if (i % 50 == 0) firmware.clearFaults();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(refused, 0);
}

} // namespace
} // namespace tavelo
