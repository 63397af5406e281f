// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/usbip_server.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <future>
#include <thread>
#include <vector>

#include "fake_gadget.h"
#include "platform/common/file_descriptor.h"
#include "usbip_client.h"

namespace tavelo::usbip {
namespace {

using test::Bytes;
using test::FakeGadget;
using test::UsbipClient;
using testing::ElementsAre;

constexpr std::int32_t stalled = -32;
constexpr std::int32_t unlinked = -104;

class UsbipServerTest : public testing::Test {
protected:
    void SetUp() override {
        Error error;
        server_ = UsbipServer::listen(0, error);
        ASSERT_TRUE(server_) << error.text;
    }

    std::shared_ptr<FakeGadget> plug(const std::string& busId) {
        auto gadget = std::make_shared<FakeGadget>();
        server_->plug(busId, gadget);
        return gadget;
    }

    std::unique_ptr<UsbipClient> attach(const std::string& busId) {
        auto client = std::make_unique<UsbipClient>(server_->port());
        EXPECT_EQ(client->import(busId), 0U);
        return client;
    }

    /// True if the process sleeps most of the next 300 ms: no thread of the server asks again and again.
    static bool sleeps() {
        const std::clock_t before = std::clock();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        return std::clock() - before < CLOCKS_PER_SEC / 20;
    }

    std::unique_ptr<UsbipServer> server_;
};

TEST_F(UsbipServerTest, ListsNothingIfNothingIsPluggedIn) {
    EXPECT_THAT(UsbipClient(server_->port()).requestDeviceList(),
                ElementsAre(0x01, 0x11, 0x00, 0x05, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(UsbipServerTest, ListsEachDeviceWithItsInterfaces) {
    plug("1-1");
    plug("1-2");
    const Bytes list = UsbipClient(server_->port()).requestDeviceList();
    ASSERT_EQ(list.size(), 12U + 2 * (312U + 4U));
    EXPECT_EQ(test::number(list, 8), 2U);
    const auto second = std::span(list).subspan(12 + 316);
    EXPECT_EQ(std::string(second.begin() + 256, second.begin() + 259), "1-2");
    EXPECT_EQ(test::number(second, 288), 1U); // bus
    EXPECT_EQ(test::number(second, 292), 3U); // device
    EXPECT_EQ(test::number(second, 296), 3U); // high speed
    EXPECT_EQ(test::number(second, 300), 0x12345678U);
    EXPECT_THAT(std::vector(second.begin() + 304, second.end()),
                ElementsAre(0x01, 0x05, 0xEF, 2, 1, 3, 1, 1, 14, 1, 0, 0));
}

TEST_F(UsbipServerTest, AnImportedDeviceIsNoLongerListed) {
    plug("1-1");
    plug("1-2");
    const auto client = attach("1-1");
    EXPECT_EQ(test::number(UsbipClient(server_->port()).requestDeviceList(), 8), 1U);
}

TEST_F(UsbipServerTest, AnImportRepeatsTheDevicesDescription) {
    plug("1-1");
    UsbipClient client(server_->port());
    Bytes device;
    ASSERT_EQ(client.import("1-1", &device), 0U);
    EXPECT_EQ(std::string(device.begin() + 256, device.begin() + 259), "1-1");
    EXPECT_EQ(test::number(device, 300), 0x12345678U);
    EXPECT_TRUE(server_->isImported("1-1"));
}

TEST_F(UsbipServerTest, RefusesADeviceThatDoesNotExist) {
    plug("1-1");
    UsbipClient client(server_->port());
    EXPECT_EQ(client.import("1-2"), 4U);
    EXPECT_TRUE(client.ends());
}

TEST_F(UsbipServerTest, RefusesASecondImporter) {
    plug("1-1");
    const auto first = attach("1-1");
    UsbipClient second(server_->port());
    EXPECT_EQ(second.import("1-1"), 2U);
    EXPECT_TRUE(second.ends());
}

TEST_F(UsbipServerTest, ADeviceIsFreeAgainOnceItsImporterHasGone) {
    plug("1-1");
    for (int round = 0; round < 3; ++round) {
        const auto client = attach("1-1");
        client->finishSending();
        EXPECT_TRUE(client->ends());
        // The connection ends before the device is given back.
        while (server_->isImported("1-1"))
            std::this_thread::yield();
    }
}

TEST_F(UsbipServerTest, EachImportFindsTheDeviceUnconfiguredAndLeavesItSo) {
    const auto gadget = plug("1-1");
    attach("1-1").reset();
    server_.reset();
    EXPECT_EQ(gadget->deconfigured(), 2);
}

TEST_F(UsbipServerTest, AReadBringsTheDevicesAnswer) {
    auto gadget = std::make_shared<FakeGadget>();
    UsbSetup seen;
    gadget->onControl = [&](const UsbSetup& setup, std::span<const std::uint8_t>) {
        seen = setup;
        return UsbReply{UsbReplyKind::done, {1, 2, 3}};
    };
    server_->plug("1-1", gadget);
    const auto reply = attach("1-1")->control({0xA1, 0x81, 0x34, 0x12, 0x78, 0x56, 8, 0});
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 0);
    EXPECT_EQ(reply->actualLength, 3U);
    EXPECT_THAT(reply->data, ElementsAre(1, 2, 3));
    server_.reset();
    EXPECT_EQ(seen.bmRequestType, 0xA1);
    EXPECT_EQ(seen.bRequest, 0x81);
    EXPECT_EQ(seen.wValue, 0x1234);
    EXPECT_EQ(seen.wIndex, 0x5678);
    EXPECT_EQ(seen.wLength, 8);
}

TEST_F(UsbipServerTest, AnAnswerLongerThanTheClientsBufferIsCut) {
    auto gadget = std::make_shared<FakeGadget>();
    gadget->onControl = [](const UsbSetup&, std::span<const std::uint8_t>) {
        return UsbReply{UsbReplyKind::done, Bytes(100)};
    };
    server_->plug("1-1", gadget);
    EXPECT_EQ(attach("1-1")->control({0xA1, 0x81, 0, 0, 0, 0, 8, 0})->actualLength, 8U);
}

TEST_F(UsbipServerTest, AWriteCarriesItsDataToTheDevice) {
    auto gadget = std::make_shared<FakeGadget>();
    Bytes written;
    gadget->onControl = [&](const UsbSetup&, std::span<const std::uint8_t> out) {
        written.assign(out.begin(), out.end());
        return UsbReply{};
    };
    server_->plug("1-1", gadget);
    const auto reply = attach("1-1")->control({0x21, 0x01, 0, 2, 0, 5, 2, 0}, {0xCE, 0xFF});
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 0);
    EXPECT_EQ(reply->actualLength, 2U);
    server_.reset();
    EXPECT_THAT(written, ElementsAre(0xCE, 0xFF));
}

TEST_F(UsbipServerTest, AStallIsABrokenPipe) {
    auto gadget = std::make_shared<FakeGadget>();
    gadget->onControl = [](const UsbSetup&, std::span<const std::uint8_t>) {
        return UsbReply{UsbReplyKind::stall, {}};
    };
    server_->plug("1-1", gadget);
    const auto client = attach("1-1");
    EXPECT_EQ(client->control({0xA1, 0x81, 0, 2, 0, 5, 2, 0})->status, stalled);
    EXPECT_EQ(client->control({0x21, 0x01, 0, 2, 0, 5, 2, 0}, {1, 0})->status, stalled);
}

TEST_F(UsbipServerTest, ARequestThatTheDeviceIgnoresWaitsUntilItIsTakenBack) {
    auto gadget = std::make_shared<FakeGadget>();
    gadget->onControl = [](const UsbSetup& setup, std::span<const std::uint8_t>) {
        return UsbReply{setup.wValue == 1 ? UsbReplyKind::silence : UsbReplyKind::done, {}};
    };
    server_->plug("1-1", gadget);
    const auto client = attach("1-1");
    const std::uint32_t ignored = client->submitControl({0xA1, 0x81, 1, 0, 0, 5, 2, 0});
    EXPECT_EQ(client->control({0xA1, 0x81, 2, 0, 0, 5, 2, 0})->status, 0);
    const std::uint32_t request = client->unlink(ignored);
    const auto reply = client->reply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->command, 4U);
    EXPECT_EQ(reply->sequence, request);
    EXPECT_EQ(reply->status, unlinked);
}

TEST_F(UsbipServerTest, ATransferTakenBackWhileTheDeviceIsBusyWithItIsAnsweredOnce) {
    auto gadget = std::make_shared<FakeGadget>();
    std::promise<void> begun;
    std::promise<void> mayEnd;
    gadget->onControl = [&](const UsbSetup& setup, std::span<const std::uint8_t>) {
        if (setup.wValue == 1) {
            begun.set_value();
            mayEnd.get_future().wait();
        }
        return UsbReply{};
    };
    server_->plug("1-1", gadget);
    const auto client = attach("1-1");
    const std::uint32_t slow = client->submitControl({0xA1, 0x81, 1, 0, 0, 5, 2, 0});
    begun.get_future().wait();
    client->unlink(slow);
    EXPECT_EQ(client->reply()->status, unlinked);
    mayEnd.set_value();
    // The next answer belongs to the next transfer, not to the unlinked one.
    EXPECT_EQ(client->control({0xA1, 0x81, 2, 0, 0, 5, 2, 0})->command, 3U);
}

TEST_F(UsbipServerTest, TakingBackWhatIsAlreadyAnsweredIsNoError) {
    plug("1-1");
    const auto client = attach("1-1");
    const auto answered = client->control({0xA1, 0x81, 0, 0, 0, 5, 2, 0});
    client->unlink(answered->sequence);
    const auto reply = client->reply();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->command, 4U);
    EXPECT_EQ(reply->status, 0);
}

TEST_F(UsbipServerTest, ATransferWhoseUnlinkCameFirstIsTakenBackWhenItComes) {
    for (const std::uint32_t first : {1U, 0x7FFFFFFEU, 0xFFFFFFFEU}) {
        SCOPED_TRACE(first);
        auto gadget = std::make_shared<FakeGadget>();
        std::atomic<int> executed = 0;
        gadget->onControl = [&executed](const UsbSetup& setup, std::span<const std::uint8_t>) {
            if (setup.bmRequestType == 0xA1) ++executed;
            return UsbReply{};
        };
        server_->plug("1-1", gadget);
        const auto client = attach("1-1");
        client->numberFrom(first);
        const Bytes setup{0xA1, 0x81, 1, 0, 0, 5, 2, 0};
        ASSERT_TRUE(client->control(setup));
        const std::uint32_t overtaken = client->takeNumber();
        const std::uint32_t request = client->unlink(overtaken);
        const std::uint32_t again = client->unlink(overtaken);
        auto reply = client->reply();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->sequence, again) << "only one command can unlink it";
        EXPECT_EQ(reply->status, 0);
        client->send(client->submitHeader(overtaken, true, 0, 2, 0, setup));
        reply = client->reply();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->command, 4U);
        EXPECT_EQ(reply->sequence, request);
        EXPECT_EQ(reply->status, unlinked);
        ASSERT_TRUE(client->control(setup));
        EXPECT_EQ(executed, 2);
        server_->unplug("1-1");
        EXPECT_TRUE(client->ends());
    }
}

TEST_F(UsbipServerTest, UnplugEndsTheImportersConnection) {
    plug("1-1");
    const auto client = attach("1-1");
    server_->unplug("1-1");
    EXPECT_TRUE(client->ends());
    EXPECT_EQ(UsbipClient(server_->port()).import("1-1"), 4U);
}

TEST_F(UsbipServerTest, UnplugLeavesOtherDevicesAlone) {
    plug("1-1");
    plug("1-2");
    const auto client = attach("1-2");
    server_->unplug("1-1");
    EXPECT_EQ(client->control({0xA1, 0x81, 0, 0, 0, 5, 2, 0})->status, 0);
}

TEST_F(UsbipServerTest, ADevicePluggedInUnderANameInUseTakesItsPlace) {
    plug("1-1");
    const auto before = attach("1-1");
    const auto next = plug("1-1");
    EXPECT_TRUE(before->ends());
    const auto after = attach("1-1");
    EXPECT_EQ(after->control({0xA1, 0x81, 0, 0, 0, 5, 2, 0})->status, 0);
    EXPECT_EQ(next->deconfigured(), 1);
}

TEST_F(UsbipServerTest, TwoDevicesAnswerTheirOwnClients) {
    for (const std::uint8_t each : {std::uint8_t{1}, std::uint8_t{2}}) {
        auto gadget = std::make_shared<FakeGadget>();
        gadget->onControl = [each](const UsbSetup&, std::span<const std::uint8_t>) {
            return UsbReply{UsbReplyKind::done, {each}};
        };
        server_->plug("1-" + std::to_string(each), gadget);
    }
    const auto first = attach("1-1");
    const auto second = attach("1-2");
    EXPECT_THAT(second->control({0xA1, 0x81, 0, 0, 0, 5, 1, 0})->data, ElementsAre(2));
    EXPECT_THAT(first->control({0xA1, 0x81, 0, 0, 0, 5, 1, 0})->data, ElementsAre(1));
}

TEST_F(UsbipServerTest, SleepsOnceAConnectionHasEnded) {
    plug("1-1");
    const auto client = attach("1-1");
    client->finishSending();
    EXPECT_TRUE(client->ends());
    EXPECT_TRUE(sleeps());
}

TEST_F(UsbipServerTest, WaitsForADescriptorIfAllAreInUse) {
    plug("1-1");
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few{64, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<FileDescriptor> others;
    for (int other = ::dup(0); other >= 0; other = ::dup(0))
        others.emplace_back(other);
    ASSERT_FALSE(others.empty());
    others.pop_back();
    UsbipClient client(server_->port()); // takes the last one
    EXPECT_TRUE(sleeps());
    others.clear();
    EXPECT_EQ(client.import("1-1"), 0U);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST_F(UsbipServerTest, StoppingUnplugsEveryClient) {
    plug("1-1");
    plug("1-2");
    const auto first = attach("1-1");
    const auto second = attach("1-2");
    UsbipClient silent(server_->port()); // has sent no request yet
    server_.reset();
    EXPECT_TRUE(first->ends());
    EXPECT_TRUE(second->ends());
    EXPECT_TRUE(silent.ends());
}

TEST_F(UsbipServerTest, IsReachedAtOneAddressOfThisMachineOnly) {
    const auto connects = [this](const char* address) {
        const FileDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in server{};
        server.sin_family = AF_INET;
        server.sin_port = htons(server_->port());
        ::inet_pton(AF_INET, address, &server.sin_addr);
        return ::connect(client.get(), reinterpret_cast<const sockaddr*>(&server), sizeof server) == 0;
    };
    EXPECT_TRUE(connects("127.0.0.1"));
    EXPECT_FALSE(connects("127.0.0.2")); // as all addresses of this machine, if the server listened on all
}

TEST_F(UsbipServerTest, APortInUseIsBusy) {
    Error error;
    EXPECT_FALSE(UsbipServer::listen(server_->port(), error));
    EXPECT_EQ(error.code, ErrorCode::busy);
    EXPECT_THAT(error.text, testing::HasSubstr(std::to_string(server_->port())));
}

} // namespace
} // namespace tavelo::usbip
