// SPDX-License-Identifier: MIT
#include "platform/linux/v4l2/video_nodes.h"

#include <gmock/gmock.h>
#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>

#include "fake_video_nodes.h"

namespace tavelo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t capture = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
constexpr std::uint32_t metadata = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;

class VideoNodes : public testing::Test {
protected:
    std::vector<std::string> names() {
        std::vector<std::string> result;
        for (const VideoNode& node : scanner.scan())
            result.push_back(node.name);
        return result;
    }

    FakeVideoTree tree;
    const std::shared_ptr<FakeNodeOpener> opener = std::make_shared<FakeNodeOpener>();
    VideoNodeScanner scanner{tree.root(), opener};
};

TEST_F(VideoNodes, AreNoneWithoutCameras) {
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(VideoNodes, AreNoneWithoutATree) {
    VideoNodeScanner nowhere("/nonexistent", opener);
    EXPECT_TRUE(nowhere.scan().empty());
}

TEST_F(VideoNodes, SkipTheNodeForMetadata) {
    tree.plug({2, "Webcam"});
    tree.addNode("video0", 2, "Webcam: Webcam", 0);
    tree.addNode("video1", 2, "Webcam: Webcam", 1);
    opener->capabilities("video0", capture);
    opener->capabilities("video1", metadata);
    EXPECT_THAT(names(), ElementsAre("video0"));
}

TEST_F(VideoNodes, GoByTheNodesOwnCapabilitiesAndNotByTheIndex) {
    tree.plug({2, "Webcam"});
    tree.addNode("video0", 2, "Webcam", 0);
    tree.addNode("video1", 2, "Webcam", 1);
    opener->capabilities("video0", metadata);
    opener->capabilities("video1", capture);
    EXPECT_THAT(names(), ElementsAre("video1"));
}

TEST_F(VideoNodes, CarryTheIdentifierOfTheSocketAndTheProduct) {
    tree.plug({2, "HD Webcam with a name that is longer than a driver keeps"});
    tree.addNode("video0", 2, "HD Webcam with a name that is l");
    opener->capabilities("video0", capture);
    const auto nodes = scanner.scan();
    ASSERT_EQ(nodes.size(), 1U);
    const std::string& id = nodes.front().uniqueID;
    EXPECT_THAT(id, testing::MatchesRegex("0x[0-9a-f]{16}"));
    EXPECT_TRUE(id.ends_with("046d0825"));
    EXPECT_EQ(id.substr(4, 6), "200000") << "port 2 of the root hub";
    EXPECT_EQ(nodes.front().localizedName, "HD Webcam with a name that is longer than a driver keeps");
    EXPECT_EQ(nodes.front().path(), "/dev/video0");
    EXPECT_EQ(nodes.front().place, "1-2");
}

TEST_F(VideoNodes, OfTwoEqualCamerasDiffer) {
    tree.plug({1, "Webcam"});
    tree.plug({2, "Webcam"});
    tree.addNode("video0", 1, "Webcam");
    tree.addNode("video2", 2, "Webcam");
    opener->capabilities("video0", capture);
    opener->capabilities("video2", capture);
    const auto nodes = scanner.scan();
    ASSERT_EQ(nodes.size(), 2U);
    EXPECT_NE(nodes[0].uniqueID, nodes[1].uniqueID);
}

TEST_F(VideoNodes, AreOrderedByNumber) {
    tree.plug({1, "A"});
    tree.plug({2, "B"});
    tree.addNode("video10", 1, "A");
    tree.addNode("video9", 2, "B");
    opener->capabilities("video9", capture);
    opener->capabilities("video10", capture);
    EXPECT_THAT(names(), ElementsAre("video9", "video10"));
}

TEST_F(VideoNodes, OfOneFunctionCountOnce) {
    tree.plug({2, "Webcam"});
    tree.addNode("video0", 2, "Webcam", 0);
    tree.addNode("video2", 2, "Webcam", 2);
    opener->capabilities("video0", capture);
    opener->capabilities("video2", capture);
    EXPECT_THAT(names(), ElementsAre("video0"));
}

TEST_F(VideoNodes, OffTheUsbBusHaveNoLocation) {
    tree.addPlatformNode("video0", "Built-in Sensor");
    opener->capabilities("video0", capture);
    const auto nodes = scanner.scan();
    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_EQ(nodes.front().uniqueID, "node:devices/platform/sensor.0/video4linux/video0");
    EXPECT_EQ(nodes.front().localizedName, "Built-in Sensor");
    EXPECT_EQ(nodes.front().place, "");
}

TEST_F(VideoNodes, WithoutRightsAreJudgedByTheirIndex) {
    tree.plug({2, "Webcam"});
    tree.addNode("video0", 2, "Webcam", 0);
    tree.addNode("video1", 2, "Webcam", 1);
    for (const char* name : {"video0", "video1"}) {
        opener->capabilities(name, capture);
        opener->fail(name, EACCES);
    }
    EXPECT_THAT(names(), ElementsAre("video0"));
}

TEST_F(VideoNodes, NamesCannotSteerATerminal) {
    tree.plug({2, "Web\x1B[31mcam"});
    tree.addNode("video0", 2, "Webcam");
    opener->capabilities("video0", capture);
    EXPECT_EQ(scanner.scan().front().localizedName, "Web [31mcam");
}

TEST_F(VideoNodes, AreOpenedOnlyWhenTheyAreNew) {
    tree.plug({2, "Webcam"});
    tree.addNode("video0", 2, "Webcam");
    opener->capabilities("video0", capture);
    const auto first = scanner.scan();
    const auto second = scanner.scan();
    EXPECT_EQ(opener->opened(), 1);
    EXPECT_EQ(first.front().instance, second.front().instance);
    tree.removeNode("video0");
    tree.addNode("video0", 2, "Webcam");
    EXPECT_NE(scanner.scan().front().instance, first.front().instance);
    EXPECT_EQ(opener->opened(), 2);
}

TEST_F(VideoNodes, AreListedUntilTheyGoAndNotForAnotherOfTheirName) {
    tree.plug({2, "Webcam"});
    tree.addNode("video0", 2, "Webcam");
    opener->capabilities("video0", capture);
    const VideoNode node = scanner.scan().front();
    EXPECT_TRUE(isListed(tree.root(), node));
    tree.removeNode("video0");
    EXPECT_FALSE(isListed(tree.root(), node));
    tree.addNode("video0", 2, "Webcam");
    EXPECT_FALSE(isListed(tree.root(), node));
}

TEST_F(VideoNodes, OfOtherKindsAreNoneOfOurs) {
    tree.addPlatformNode("vbi0", "Teletext");
    tree.addPlatformNode("video", "No number");
    tree.addPlatformNode("video1x", "No number either");
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(opener->opened(), 0);
}

} // namespace
} // namespace tavelo
