// SPDX-License-Identifier: MIT
#include "virtual-camera/options.h"

#include <gmock/gmock.h>

namespace tavelo {
namespace {

using testing::HasSubstr;

std::variant<Options, Message> parse(std::vector<const char*> words) {
    words.insert(words.begin(), "tavelo-virtual-camera");
    return parseOptions(static_cast<int>(words.size()), words.data(), "1.2.3");
}

Options parsed(std::vector<const char*> words) {
    return std::get<Options>(parse(std::move(words)));
}

TEST(VirtualCameraOptions, OffersOneIsochronousCameraOnTheUsualPort) {
    const Options options = parsed({});
    EXPECT_EQ(options.port, 3240);
    EXPECT_EQ(options.cameras, 1);
    EXPECT_FALSE(options.bulk);
    EXPECT_FALSE(options.encoding);
    EXPECT_EQ(modelsFor(options).size(), 1U);
    EXPECT_EQ(modelsFor(options)[0].transport, StreamTransport::isochronous);
}

TEST(VirtualCameraOptions, VersionIsOneLine) {
    const Message message = std::get<Message>(parse({"--version"}));
    EXPECT_EQ(message.text, "tavelo-virtual-camera 1.2.3\n");
    EXPECT_EQ(message.exitStatus, 0);
}

TEST(VirtualCameraOptions, TakesEveryOption) {
    const Options options = parsed({"--port", "0", "--cameras", "3", "--bulk", "--format", "mjpg", "--log",
                                    "l", "--control", "c", "--two-functions"});
    EXPECT_TRUE(options.twoFunctions);
    EXPECT_EQ(options.port, 0);
    EXPECT_EQ(options.log, "l");
    EXPECT_EQ(options.control, "c");
    const auto models = modelsFor(options);
    ASSERT_EQ(models.size(), 3U);
    for (const VirtualCameraModel& model : models) {
        EXPECT_EQ(model.transport, StreamTransport::bulk);
        ASSERT_FALSE(model.offers.empty());
        for (const StreamOffer& offer : model.offers)
            EXPECT_EQ(offer.encoding, StreamEncoding::mjpeg);
    }
    EXPECT_NE(models[0].unitID, models[1].unitID);
}

TEST(VirtualCameraOptions, FormatsAreCaseInsensitive) {
    EXPECT_EQ(parsed({"--format", "yuyv"}).encoding, StreamEncoding::yuyv);
    EXPECT_EQ(parsed({"--format", "MJPG"}).encoding, StreamEncoding::mjpeg);
}

TEST(VirtualCameraOptions, ACameraPackExcludesWhatItDecides) {
    EXPECT_EQ(parsed({"--like", "pack.json", "--cameras", "2"}).like, "pack.json");
    for (const std::vector<const char*>& other :
         {std::vector<const char*>{"--bulk"}, {"--two-functions"}, {"--format", "YUYV"}}) {
        std::vector<const char*> words{"--like", "pack.json"};
        words.insert(words.end(), other.begin(), other.end());
        const auto result = parse(words);
        ASSERT_TRUE(std::holds_alternative<Message>(result)) << other[0];
        EXPECT_EQ(std::get<Message>(result).exitStatus, 2);
    }
}

TEST(VirtualCameraOptions, HelpIsNotAnError) {
    const Message message = std::get<Message>(parse({"--help"}));
    EXPECT_EQ(message.exitStatus, 0);
    for (const char* option : {"--port", "--cameras", "--bulk", "--format", "--log", "--control", "--like"})
        EXPECT_THAT(message.text, HasSubstr(option));
}

TEST(VirtualCameraOptions, ErrorsNameTheMistakeAndShowTheUsage) {
    const std::vector<std::vector<const char*>> mistakes{
        {"--nothing"},   {"word"},           {"--port"},         {"--port", "70000"},
        {"--port", "x"}, {"--cameras", "0"}, {"--cameras", "9"}, {"--format", "H264"},
        {"--log"}};
    for (const auto& words : mistakes) {
        const auto result = parse(words);
        ASSERT_TRUE(std::holds_alternative<Message>(result)) << words[0];
        const auto& message = std::get<Message>(result);
        EXPECT_EQ(message.exitStatus, 2) << words[0];
        EXPECT_THAT(message.text, HasSubstr(words[0]));
        EXPECT_THAT(message.text, HasSubstr("Usage: tavelo-virtual-camera"));
    }
}

} // namespace
} // namespace tavelo
