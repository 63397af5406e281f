// SPDX-License-Identifier: MIT
#include "commands/camera_choice.h"

#include <gtest/gtest.h>

namespace tavelo {
namespace {

class NamedCamera final : public CaptureDevice {
public:
    NamedCamera(std::string id, std::string name, std::string node)
        : id_(std::move(id)),
          name_(std::move(name)),
          node_(std::move(node)) {}

    const std::string& uniqueID() const override { return id_; }
    const std::string& localizedName() const override { return name_; }
    bool hasMediaType(MediaType /*type*/) const override { return true; }
    std::string node() const override { return node_; }
    std::unique_ptr<CaptureDeviceInput> makeInput(Error& /*error*/) override { return nullptr; }

private:
    const std::string id_;
    const std::string name_;
    const std::string node_;
};

std::vector<std::shared_ptr<CaptureDevice>> cameras(std::size_t count) {
    const std::vector<std::shared_ptr<CaptureDevice>> all{
        std::make_shared<NamedCamera>("0x14200000046d0825", "HD Webcam C270", "/dev/video0"),
        std::make_shared<NamedCamera>("0x14300000046d0825", "HD Webcam C270 (2)", "/dev/video2"),
        std::make_shared<NamedCamera>("0x2410000012090001", "Document Camera", "")};
    return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)};
}

std::string chosen(std::string_view text, std::size_t count = 3) {
    std::string reason;
    const auto position = chooseCamera(cameras(count), text, reason);
    return position ? std::to_string(*position + 1) : reason;
}

TEST(CameraChoice, TheOnlyCameraNeedsNoName) {
    EXPECT_EQ(chosen("", 1), "1");
    EXPECT_EQ(chosen(""), "there are 3 cameras: choose one with --camera (taveloctl list shows them)");
    EXPECT_EQ(chosen("", 0), "no camera is plugged in");
}

TEST(CameraChoice, ByNumber) {
    EXPECT_EQ(chosen("1"), "1");
    EXPECT_EQ(chosen("3"), "3");
    EXPECT_EQ(chosen("0"), "no camera 0: there are 3");
    EXPECT_EQ(chosen("4"), "no camera 4: there are 3");
    EXPECT_EQ(chosen("2", 1), "no camera 2: there is one");
    EXPECT_EQ(chosen("1", 0), "no camera 1: none is plugged in");
}

TEST(CameraChoice, ByIdentifierInAnyCase) {
    EXPECT_EQ(chosen("0x2410000012090001"), "3");
    EXPECT_EQ(chosen("0X14200000046D0825"), "1");
}

TEST(CameraChoice, ByNode) {
    EXPECT_EQ(chosen("/dev/video2"), "2");
    EXPECT_EQ(chosen("/dev/video"), "no camera /dev/video (taveloctl list shows the cameras)");
}

TEST(CameraChoice, ByNameOrAPartOfIt) {
    EXPECT_EQ(chosen("Document Camera"), "3");
    EXPECT_EQ(chosen("document"), "3");
    EXPECT_EQ(chosen("hd webcam c270"), "1") << "the whole name of one, a part of another";
    EXPECT_EQ(
        chosen("webcam"),
        "2 cameras are called webcam: choose one by its number or identifier (taveloctl list shows them)");
    EXPECT_EQ(chosen("brio"), "no camera brio (taveloctl list shows the cameras)");
}

} // namespace
} // namespace tavelo
