// SPDX-License-Identifier: MIT
#include "platform/linux/v4l2/v4l2_controls.h"

#include <gmock/gmock.h>
#include <linux/videodev2.h>

#include <array>
#include <cerrno>

#include "fake_control_node.h"
#include "fake_video_nodes.h"

namespace tavelo::test {
namespace {

using testing::ElementsAre;

class V4l2Controls : public testing::Test {
protected:
    V4l2Controls() { node.controls = everyControl(); }
    FakeControlNode node;
};

TEST_F(V4l2Controls, AControlIsDescribedAsTheDriverDoes) {
    V4l2ControlInfo info;
    node.controls[V4L2_CID_FOCUS_ABSOLUTE].info.flags = V4L2_CTRL_FLAG_INACTIVE;
    EXPECT_EQ(queryControl(node, V4L2_CID_FOCUS_ABSOLUTE, info), 0);
    EXPECT_EQ(info.minimum, 0);
    EXPECT_EQ(info.maximum, 250);
    EXPECT_EQ(info.step, 5);
    EXPECT_EQ(info.defaultValue, 30);
    EXPECT_EQ(info.flags, std::uint32_t{V4L2_CTRL_FLAG_INACTIVE});
    EXPECT_EQ(queryControl(node, V4L2_CID_ROTATE, info), EINVAL);
}

TEST_F(V4l2Controls, AMenuHasSomeOfItsEntries) {
    EXPECT_EQ(queryMenu(node, V4L2_CID_EXPOSURE_AUTO, 1), 0);
    EXPECT_EQ(queryMenu(node, V4L2_CID_EXPOSURE_AUTO, 2), EINVAL);
}

TEST_F(V4l2Controls, SeveralValuesGoInOneCall) {
    std::array<V4l2ControlValue, 2> values{{{V4L2_CID_PAN_ABSOLUTE, 3700}, {V4L2_CID_TILT_ABSOLUTE, -3600}}};
    EXPECT_EQ(setControls(node, values), 0);
    EXPECT_THAT(node.writes(), ElementsAre(ElementsAre(V4l2ControlValue{V4L2_CID_PAN_ABSOLUTE, 3700},
                                                       V4l2ControlValue{V4L2_CID_TILT_ABSOLUTE, -3600})));
    EXPECT_EQ(values[0].value, 3600) << "rounded by the driver";
    values = {{{V4L2_CID_TILT_ABSOLUTE, 0}, {V4L2_CID_PAN_ABSOLUTE, 0}}};
    EXPECT_EQ(getControls(node, values), 0);
    EXPECT_EQ(values[0].value, -3600);
    EXPECT_EQ(values[1].value, 3600);
}

TEST_F(V4l2Controls, AFailureLeavesTheValuesAlone) {
    std::array<V4l2ControlValue, 1> values{{{V4L2_CID_GAIN, 7}}};
    node.controls[V4L2_CID_GAIN].setError = EBUSY;
    node.controls[V4L2_CID_GAIN].getError = EIO;
    EXPECT_EQ(setControls(node, values), EBUSY);
    EXPECT_EQ(getControls(node, values), EIO);
    EXPECT_EQ(values[0].value, 7);
}

TEST(OpenForControls, TakesNodesThatCapturePictures) {
    FakeNodeOpener opener;
    opener.capabilities("video0", V4L2_CAP_VIDEO_CAPTURE);
    opener.capabilities("video1", V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING);
    opener.capabilities("video2", V4L2_CAP_VIDEO_CAPTURE_MPLANE);
    int error = -1;
    EXPECT_TRUE(openForControls(opener, "/dev/video0", error));
    EXPECT_EQ(error, 0);
    EXPECT_FALSE(openForControls(opener, "/dev/video1", error));
    EXPECT_EQ(error, ENOTTY);
    EXPECT_TRUE(openForControls(opener, "/dev/video2", error));
    EXPECT_EQ(error, 0);
}

TEST(OpenForControls, SaysWhyWhatIsNoCapturingNodeCannotBeUsed) {
    KernelNodeOpener real;
    int error = 0;
    EXPECT_EQ(openForControls(real, "/dev/null", error), nullptr);
    EXPECT_EQ(error, ENOTTY);
    EXPECT_EQ(openForControls(real, "/dev/no-such-node", error), nullptr);
    EXPECT_EQ(error, ENOENT);
    EXPECT_EQ(openForControls(real, "/", error), nullptr);
    EXPECT_EQ(error, EISDIR);
}

TEST(QueryCapabilities, OfADriverThatKnowsNoNodesAreTheWholeCameras) {
    class OldNode final : public V4l2Node {
    public:
        int control(unsigned long /*request*/, void* argument) override {
            static_cast<v4l2_capability*>(argument)->capabilities = V4L2_CAP_VIDEO_CAPTURE;
            return 0;
        }
        V4l2Mapping map(std::size_t /*length*/, std::uint32_t /*offset*/) override { return nullptr; }
        int descriptor() const override { return -1; }
    } node;
    std::uint32_t capabilities = 0;
    EXPECT_EQ(queryCapabilities(node, capabilities), 0);
    EXPECT_EQ(capabilities, std::uint32_t{V4L2_CAP_VIDEO_CAPTURE});
}

} // namespace
} // namespace tavelo::test
