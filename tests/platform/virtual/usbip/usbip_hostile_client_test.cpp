// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <random>

#include "fake_gadget.h"
#include "platform/virtual/usbip/usbip_protocol.h"
#include "platform/virtual/usbip/usbip_server.h"
#include "usbip_client.h"

namespace tavelo::usbip {
namespace {

using test::Bytes;
using test::FakeGadget;
using test::UsbipClient;

class UsbipHostileClientTest : public testing::Test {
protected:
    void SetUp() override {
        Error error;
        server_ = UsbipServer::listen(0, error);
        ASSERT_TRUE(server_) << error.text;
        server_->plug("1-1", gadget_);
        server_->plug("1-2", std::make_shared<FakeGadget>());
    }

    // Afterwards the server must still work and the device must be free again.
    void TearDown() override {
        UsbipClient other(server_->port());
        ASSERT_EQ(other.import("1-2"), 0U);
        EXPECT_EQ(other.control({0xA1, 0x81, 0, 0, 0, 5, 2, 0})->status, 0);
        while (server_->isImported("1-1"))
            std::this_thread::yield();
        EXPECT_EQ(UsbipClient(server_->port()).import("1-1"), 0U);
    }

    std::unique_ptr<UsbipClient> attach() {
        auto client = std::make_unique<UsbipClient>(server_->port());
        EXPECT_EQ(client->import("1-1"), 0U);
        return client;
    }

    void expectEndAfter(const Bytes& command) {
        const auto client = attach();
        client->send(command);
        EXPECT_TRUE(client->ends());
    }

    std::shared_ptr<FakeGadget> gadget_ = std::make_shared<FakeGadget>();
    std::unique_ptr<UsbipServer> server_;
};

TEST_F(UsbipHostileClientTest, AnotherVersionOfTheProtocolEndsTheConnection) {
    UsbipClient client(server_->port());
    Bytes request;
    test::put(test::put16(test::put16(request, 0x0106), requestDeviceList), 0);
    client.send(request);
    EXPECT_TRUE(client.ends());
}

TEST_F(UsbipHostileClientTest, AnUnknownOperationEndsTheConnection) {
    UsbipClient client(server_->port());
    Bytes request;
    test::put(test::put16(test::put16(request, protocolVersion), 0x8006), 0);
    client.send(request);
    EXPECT_TRUE(client.ends());
}

TEST_F(UsbipHostileClientTest, AnOperationBrokenOffEndsTheConnection) {
    UsbipClient client(server_->port());
    client.send({0x01, 0x11, 0x80});
    client.finishSending();
    EXPECT_TRUE(client.ends());
}

TEST_F(UsbipHostileClientTest, ABusIdBrokenOffEndsTheConnection) {
    UsbipClient client(server_->port());
    Bytes request;
    test::put(test::put16(test::put16(request, protocolVersion), requestImport), 0);
    request.insert(request.end(), {'1', '-'});
    client.send(request);
    client.finishSending();
    EXPECT_TRUE(client.ends());
}

TEST_F(UsbipHostileClientTest, ABusIdWithoutItsZeroIsJustUnknown) {
    EXPECT_EQ(UsbipClient(server_->port()).import(std::string(32, '1')), 4U);
}

TEST_F(UsbipHostileClientTest, ACommandBrokenOffEndsTheConnection) {
    const auto client = attach();
    client->send(Bytes(20, 0));
    client->finishSending();
    EXPECT_TRUE(client->ends());
}

TEST_F(UsbipHostileClientTest, DataPromisedAndNotSentEndsTheConnection) {
    const auto client = attach();
    client->send(client->submitHeader(1, false, 0, 0x10000, 0, {0x21, 1, 0, 2, 0, 5, 0xFF, 0xFF}));
    client->send(Bytes(100));
    client->finishSending();
    EXPECT_TRUE(client->ends());
}

TEST_F(UsbipHostileClientTest, PacketDescriptorsPromisedAndNotSentEndTheConnection) {
    const auto client = attach();
    client->send(client->submitHeader(1, true, 1, 64 * 1024, 1024, {}));
    client->send(Bytes(100));
    client->finishSending();
    EXPECT_TRUE(client->ends());
}

TEST_F(UsbipHostileClientTest, AnUnknownCommandEndsTheConnection) {
    expectEndAfter(Bytes(48, 0x55));
}

TEST_F(UsbipHostileClientTest, ABufferOfFourGigabytesEndsTheConnection) {
    const UsbipClient any(server_->port());
    expectEndAfter(any.submitHeader(1, true, 2, 0xFFFFFFFF, 0, {}));
    while (server_->isImported("1-1"))
        std::this_thread::yield();
    expectEndAfter(any.submitHeader(1, false, 0, 0xFFFFFFFF, 0, {}));
}

TEST_F(UsbipHostileClientTest, ANegativeNumberOfPacketsEndsTheConnection) {
    const UsbipClient any(server_->port());
    expectEndAfter(any.submitHeader(1, true, 1, 64, 0x80000000, {}));
}

TEST_F(UsbipHostileClientTest, ASequenceNumberThatStillWaitsEndsTheConnection) {
    const auto client = attach();
    client->send(client->submitHeader(5, true, 2, 512, 0, {}));
    client->send(client->submitHeader(5, true, 2, 512, 0, {}));
    EXPECT_TRUE(client->ends());
}

TEST_F(UsbipHostileClientTest, LimitsTheNumberOfPendingTransfers) {
    const auto client = attach();
    bool taken = true;
    for (int i = 0; taken && i < 100'000; ++i)
        taken = client->submitIn(2, 4096) != 0 && client->send({});
    EXPECT_TRUE(client->ends());
}

TEST_F(UsbipHostileClientTest, UnlinkingAnUnknownTransferIsAnswered) {
    const auto client = attach();
    client->unlink(12345);
    EXPECT_EQ(client->reply()->status, 0);
}

TEST_F(UsbipHostileClientTest, LimitsTheNumberOfUnlinksThatWaitForTheirTransfers) {
    const auto client = attach();
    std::uint32_t last = 0;
    for (int i = 0; i <= 4096; ++i)
        last = client->unlink(client->takeNumber());
    EXPECT_EQ(client->reply()->sequence, last);
}

TEST_F(UsbipHostileClientTest, RandomBytesNeverStopTheServer) {
    std::mt19937 random(20240229); // the same bytes in each run
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<int> small(0, 3);
    for (int round = 0; round < 200; ++round) {
        UsbipClient client(server_->port());
        if (round % 4 != 0 && client.import("1-1") != 0U) continue; // the one before is not gone yet
        Bytes bytes(std::size_t{48} * 4);
        for (std::uint8_t& each : bytes)
            each = static_cast<std::uint8_t>(byte(random));
        // Half of the time, use plausible values for the fields that would otherwise be rejected first.
        for (std::size_t at = 0; round % 2 == 0 && at < bytes.size(); at += 48)
            for (const std::size_t field : {0U, 12U, 16U, 24U, 32U}) {
                std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at + field), 3, std::uint8_t{0});
                bytes[at + field + 3] = static_cast<std::uint8_t>(small(random));
            }
        client.send(bytes);
        client.finishSending();
        EXPECT_TRUE(client.ends());
    }
}

} // namespace
} // namespace tavelo::usbip
