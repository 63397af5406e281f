// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/transfer_scheduler.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <map>

#include "fake_gadget.h"
#include "platform/virtual/usbip/usbip_server.h"
#include "usbip_client.h"

namespace tavelo::usbip {
namespace {

using test::Bytes;
using test::FakeGadget;
using test::UsbipClient;
using testing::ElementsAre;

constexpr std::uint8_t isochronous = 1;
constexpr std::uint8_t bulk = 2;
constexpr std::uint8_t interrupt = 3;
constexpr std::int32_t stalled = -32;
constexpr std::int32_t invalid = -22;
constexpr std::int32_t unlinked = -104;

// Transfers seen by a client through a server and a real connection.
class TransferSchedulerTest : public testing::Test {
protected:
    void SetUp() override {
        Error error;
        server_ = UsbipServer::listen(0, error);
        ASSERT_TRUE(server_) << error.text;
        attachTo(gadget_);
    }

    void attachTo(const std::shared_ptr<FakeGadget>& gadget) {
        server_->plug("1-1", gadget);
        client_ = std::make_unique<UsbipClient>(server_->port());
        ASSERT_EQ(client_->import("1-1"), 0U);
    }

    // Lets time pass with an isochronous transfer of this many microframes.
    void letTimePass(std::uint32_t microframes) {
        client_->submitIso(isochronous, std::vector<std::uint32_t>(microframes, 64));
        ASSERT_TRUE(client_->reply());
    }

    std::shared_ptr<FakeGadget> gadget_ = std::make_shared<FakeGadget>();
    std::unique_ptr<UsbipServer> server_;
    std::unique_ptr<UsbipClient> client_;
};

TEST_F(TransferSchedulerTest, IsochronousDataComesWithoutGapsAndWithTheLengthOfEachPacket) {
    gadget_->queue(isochronous, {1, 2, 3});
    gadget_->queue(isochronous, {});
    gadget_->queue(isochronous, {4});
    client_->submitIso(isochronous, {64, 64, 64, 64});
    const auto reply = client_->reply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 0);
    EXPECT_EQ(reply->actualLength, 4U);
    EXPECT_THAT(reply->data, ElementsAre(1, 2, 3, 4));
    ASSERT_EQ(reply->packets.size(), 4U);
    std::vector<std::uint32_t> lengths;
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(reply->packets[i].offset, 64 * i);
        EXPECT_EQ(reply->packets[i].length, 64U);
        EXPECT_EQ(reply->packets[i].status, 0);
        lengths.push_back(reply->packets[i].actualLength);
    }
    EXPECT_THAT(lengths, ElementsAre(3, 0, 1, 0));
}

TEST_F(TransferSchedulerTest, IsochronousTransfersTakeTheTimeOfTheirPackets) {
    constexpr int transfers = 10;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < transfers; ++i)
        client_->submitIso(isochronous, std::vector<std::uint32_t>(80, 64)); // 10 ms each
    for (int i = 0; i < transfers; ++i)
        ASSERT_TRUE(client_->reply());
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100));
}

TEST_F(TransferSchedulerTest, FrameNumbersGrowWithTheTimeOfThePackets) {
    constexpr int transfers = 5;
    for (int i = 0; i < transfers; ++i)
        client_->submitIso(isochronous, std::vector<std::uint32_t>(32, 64)); // 4 frames each
    std::uint32_t previous = client_->reply()->startFrame;
    for (int i = 1; i < transfers; ++i) {
        const std::uint32_t next = client_->reply()->startFrame;
        EXPECT_GE((next - previous) & 0x7FFU, 4U);
        EXPECT_LT((next - previous) & 0x7FFU, 0x400U);
        previous = next;
    }
}

TEST_F(TransferSchedulerTest, ASlowControlTransferDoesNotHoldUpTheStream) {
    std::promise<void> mayEnd;
    const auto gadget = std::make_shared<FakeGadget>();
    gadget->onControl = [&](const UsbSetup&, std::span<const std::uint8_t>) {
        mayEnd.get_future().wait();
        return UsbReply{};
    };
    attachTo(gadget);
    const std::uint32_t slow = client_->submitControl({0xA1, 0x81, 1, 0, 0, 5, 2, 0});
    const std::uint32_t quick = client_->submitIso(isochronous, {64, 64});
    EXPECT_EQ(client_->reply()->sequence, quick);
    mayEnd.set_value();
    EXPECT_EQ(client_->reply()->sequence, slow);
}

TEST_F(TransferSchedulerTest, ABulkTransferEndsWithAShortPacket) {
    gadget_->queue(bulk, Bytes(512, 1));
    gadget_->queue(bulk, Bytes(100, 2));
    gadget_->queue(bulk, Bytes(512, 3));
    client_->submitIn(bulk, 4096);
    const auto reply = client_->reply();
    ASSERT_EQ(reply->data.size(), 612U);
    EXPECT_EQ(reply->data[511], 1);
    EXPECT_EQ(reply->data[512], 2);
}

TEST_F(TransferSchedulerTest, ABulkTransferEndsWhenItIsFull) {
    for (const std::uint8_t each : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{3}})
        gadget_->queue(bulk, Bytes(512, each));
    client_->submitIn(bulk, 1024);
    client_->submitIn(bulk, 512);
    EXPECT_EQ(client_->reply()->data.size(), 1024U);
    EXPECT_THAT(client_->reply()->data, testing::Each(3));
}

TEST_F(TransferSchedulerTest, ABulkTransferEndsWithAnEmptyPacket) {
    gadget_->queue(bulk, Bytes(512));
    gadget_->queue(bulk, {});
    client_->submitIn(bulk, 4096);
    EXPECT_EQ(client_->reply()->data.size(), 512U);
}

TEST_F(TransferSchedulerTest, ABulkTransferWaitsForTheRestOfItsData) {
    gadget_->queue(bulk, Bytes(512, 1));
    const std::uint32_t sequence = client_->submitIn(bulk, 4096);
    letTimePass(80);
    gadget_->queue(bulk, {2});
    const auto reply = client_->reply();
    EXPECT_EQ(reply->sequence, sequence);
    EXPECT_EQ(reply->data.size(), 513U);
}

TEST_F(TransferSchedulerTest, ADeviceWithNothingToSendIsNotAskedAllTheTime) {
    const auto begin = std::chrono::steady_clock::now();
    client_->submitIn(bulk, 4096);
    client_->submitIn(interrupt, 16);
    letTimePass(800); // 100 ms
    const int bulkAsked = gadget_->asked(bulk);
    const int interruptAsked = gadget_->asked(interrupt);
    const auto passed = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(passed, std::chrono::milliseconds(100));
    EXPECT_LE(bulkAsked, passed / std::chrono::milliseconds(4) + 10);
    EXPECT_LE(interruptAsked, passed / std::chrono::milliseconds(2) + 10);
}

TEST_F(TransferSchedulerTest, AnInterruptTransferEndsWithItsFirstPacket) {
    gadget_->queue(interrupt, Bytes(16, 5));
    gadget_->queue(interrupt, Bytes(16, 6));
    client_->submitIn(interrupt, 64);
    EXPECT_EQ(client_->reply()->data, Bytes(16, 5));
}

TEST_F(TransferSchedulerTest, DataOfATransferTakenBackIsNotMixedIntoTheNext) {
    gadget_->queue(bulk, Bytes(512, 1));
    const std::uint32_t first = client_->submitIn(bulk, 4096);
    letTimePass(80);
    client_->unlink(first);
    EXPECT_EQ(client_->reply()->status, unlinked);
    client_->submitIn(bulk, 4096);
    gadget_->queue(bulk, {7});
    EXPECT_THAT(client_->reply()->data, ElementsAre(7));
}

TEST_F(TransferSchedulerTest, EveryTransferIsAnsweredOnceHoweverItsUnlinkRaces) {
    constexpr std::uint32_t transfers = 300;
    std::map<std::uint32_t, std::uint32_t> targets; // by the sequence number of the unlink
    for (std::uint32_t i = 0; i < transfers; i += 5) {
        std::vector<std::uint32_t> group(5);
        for (std::uint32_t& each : group)
            each = client_->submitIso(isochronous, {64, 64});
        // Last first, so that some are waiting, some running and some done.
        for (; !group.empty(); group.pop_back())
            targets[client_->unlink(group.back())] = group.back();
    }
    std::map<std::uint32_t, int> completed;
    for (std::uint32_t unlinks = 0; unlinks < transfers;) {
        const auto reply = client_->reply();
        ASSERT_TRUE(reply);
        if (reply->command == 3) {
            EXPECT_EQ(++completed[reply->sequence], 1);
            continue;
        }
        ++unlinks;
        const std::uint32_t target = targets.at(reply->sequence);
        // Completed: its answer came before.  Unlinked: no answer came, and none may follow.
        EXPECT_EQ(completed.contains(target), reply->status == 0) << target;
        if (reply->status != 0) {
            EXPECT_EQ(reply->status, unlinked);
            completed[target] = 1;
        }
    }
    EXPECT_EQ(completed.size(), transfers);
}

TEST_F(TransferSchedulerTest, AnUnknownEndpointStalls) {
    client_->submitIn(9, 64);
    EXPECT_EQ(client_->reply()->status, stalled);
}

TEST_F(TransferSchedulerTest, AWriteToAnEndpointThatOnlyReadsStalls) {
    Bytes command = client_->submitHeader(77, false, bulk, 3, 0, {});
    command.insert(command.end(), {1, 2, 3});
    client_->send(command);
    EXPECT_EQ(client_->reply()->status, stalled);
    letTimePass(1); // the data was taken off the wire
}

TEST_F(TransferSchedulerTest, PacketsOutsideTheirBufferAreRefused) {
    Bytes command = client_->submitHeader(77, true, isochronous, 64, 1, {});
    for (const std::uint32_t value : {60U, 5U, 0U, 0U})
        test::put(command, value);
    client_->send(command);
    EXPECT_EQ(client_->reply()->status, invalid);
}

TEST_F(TransferSchedulerTest, PacketsWhoseSumOverflowsAreRefused) {
    Bytes command = client_->submitHeader(77, true, isochronous, 64, 2, {});
    for (const std::uint32_t value : {0xFFFFFFFFU, 2U, 0U, 0U, 0U, 64U, 0U, 0U})
        test::put(command, value);
    client_->send(command);
    EXPECT_EQ(client_->reply()->status, invalid);
}

TEST_F(TransferSchedulerTest, PacketsThatOverlapBeyondTheBufferAreRefused) {
    Bytes command = client_->submitHeader(77, true, isochronous, 64, 2, {});
    for (const std::uint32_t value : {0U, 64U, 0U, 0U, 0U, 64U, 0U, 0U})
        test::put(command, value);
    client_->send(command);
    EXPECT_EQ(client_->reply()->status, invalid);
}

TEST_F(TransferSchedulerTest, TransfersOfTheWrongKindAreRefused) {
    client_->submitIso(bulk, {64});
    EXPECT_EQ(client_->reply()->status, invalid);
    client_->submitIn(isochronous, 64);
    EXPECT_EQ(client_->reply()->status, invalid);
}

TEST_F(TransferSchedulerTest, ATransferOfNoBytesIsDoneAtOnce) {
    client_->submitIn(bulk, 0);
    const auto reply = client_->reply();
    EXPECT_EQ(reply->status, 0);
    EXPECT_EQ(reply->actualLength, 0U);
}

TEST_F(TransferSchedulerTest, UnplugEndsAStreamThatRuns) {
    for (int i = 0; i < 5; ++i)
        client_->submitIso(isochronous, std::vector<std::uint32_t>(32, 64));
    client_->submitIn(bulk, 4096);
    ASSERT_TRUE(client_->reply());
    server_->unplug("1-1");
    EXPECT_TRUE(client_->ends());
}

} // namespace
} // namespace tavelo::usbip
