// SPDX-License-Identifier: MIT
// Cameras like the one in a pack, up to their streams over the bus.
#include "probe/like/like_file.h"

#include <gmock/gmock.h>

#include <fstream>

#include "platform/virtual/backend.h"
#include "platform/virtual/usbip/usbip_server.h"
#include "probe/camera_probe.h"
#include "probe/json/pack.h"
#include "support/manual_main_queue.h"
#include "support/temporary_folder.h"
#include "usbip_client.h"
#include "virtual-camera/served_cameras.h"

namespace tavelo {
namespace {

using test::Bytes;
using ::testing::HasSubstr;

// The software camera with other numbers for its interfaces, its endpoint and its formats.
VirtualCameraModel oddModel() {
    VirtualCameraModel model = virtualCameraModel(3);
    model.firstInterface = 4;
    return model;
}

std::string packOf(const VirtualCameraModel& model) {
    testing::ManualMainQueue queue;
    VirtualBackend backend = makeVirtualBackend(0, {}, queue);
    backend.bus->plug(model);
    Error error;
    const auto record =
        probeCamera(*backend.usb->listDevices().at(0), std::nullopt, {"1.0.0", "6.1.0"}, error);
    EXPECT_TRUE(record) << error.text;
    return record ? writePack(*record) : std::string();
}

class LikeFileTest : public ::testing::Test {
protected:
    std::string save(const std::string& text) {
        const std::string path = (folder_.path() / "pack.json").string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    std::string reason(const std::string& text) {
        Error error;
        EXPECT_FALSE(modelsLike(save(text), 1, error));
        return error.text;
    }

private:
    testing::TemporaryFolder folder_;
};

TEST_F(LikeFileTest, MakesAsManyCamerasAsAsked) {
    Error error;
    const auto models = modelsLike(save(packOf(oddModel())), 3, error);
    ASSERT_TRUE(models) << error.text;
    ASSERT_EQ(models->size(), 3U);
    for (int number = 1; number <= 3; ++number) {
        const VirtualCameraModel& model = models->at(static_cast<std::size_t>(number - 1));
        EXPECT_EQ(model.number, number);
        EXPECT_EQ(model.product, "Tavelo Virtual Camera 3");
        EXPECT_EQ(model.controlInterface(), 4);
        EXPECT_EQ(model.streamingInterface(), 5);
        EXPECT_EQ(model.streamingEndpoint(), 0x83);
    }
    EXPECT_NE(models->at(0).locationID, models->at(1).locationID);
}

TEST_F(LikeFileTest, SaysWhatIsWrongWithAFile) {
    const std::string pack = packOf(oddModel());
    EXPECT_THAT(reason(pack.substr(0, pack.size() / 2)), HasSubstr("only a part"));
    EXPECT_THAT(reason("{\"format\": \"other\"}"), HasSubstr("no camera pack"));
    EXPECT_THAT(reason(std::string(longestPack + 1, ' ')), HasSubstr("larger than 4 MiB"));
    std::string elsewhere = pack;
    elsewhere.replace(elsewhere.find("\"control_interface\": 4"), 22, "\"control_interface\": 9");
    EXPECT_THAT(reason(elsewhere), HasSubstr("interface 9 is no video-control interface"));
    Error error;
    EXPECT_FALSE(modelsLike("/nowhere/at/all", 1, error));
    EXPECT_EQ(error.text, "there is no such file");
}

TEST_F(LikeFileTest, StreamsOverTheBusFromTheRecordedEndpoint) {
    Error error;
    const auto models = modelsLike(save(packOf(oddModel())), 1, error);
    ASSERT_TRUE(models) << error.text;
    const auto server = usbip::UsbipServer::listen(0, error);
    ASSERT_TRUE(server) << error.text;
    const ServedCameras cameras(*server, *models, nullptr);
    test::UsbipClient client(server->port());
    ASSERT_EQ(client.import("1-1"), 0U);
    ASSERT_EQ(client.control({0x00, 9, 1, 0, 0, 0, 0, 0})->status, 0);
    Bytes probe(34);
    probe[2] = 1; // YUYV
    probe[3] = 2; // 320x240
    ASSERT_EQ(client.control({0x21, 0x01, 0, 1, 5, 0, 34, 0}, probe)->status, 0);
    const Bytes offered = client.control({0xA1, 0x81, 0, 1, 5, 0, 34, 0})->data;
    ASSERT_EQ(offered.size(), 34U);
    ASSERT_EQ(client.control({0x21, 0x01, 0, 2, 5, 0, 34, 0}, offered)->status, 0);
    ASSERT_EQ(client.control({0x01, 11, 4, 0, 5, 0, 0, 0})->status, 0);
    std::size_t received = 0;
    while (received < 2U * 320 * 240) {
        client.submitIso(3, std::vector<std::uint32_t>(32, 2048));
        const auto reply = client.reply();
        ASSERT_TRUE(reply);
        ASSERT_EQ(reply->status, 0);
        received += reply->data.size();
    }
    EXPECT_TRUE(cameras.camera(1)->streaming());
}

} // namespace
} // namespace tavelo
