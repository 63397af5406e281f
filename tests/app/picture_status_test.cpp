// SPDX-License-Identifier: MIT
#include "app/picture_status.h"

#include <gmock/gmock.h>

#include "app/resources/resource_bundle.h"

namespace tavelo {
namespace {

using Kind = PictureStatus::Kind;

class PictureStatusTest : public testing::Test {
protected:
    std::string line(const PictureStatus& status) { return statusText(status, bundle_).toStdString(); }

    ResourceBundle bundle_{{"en-GB"}};
    PictureStatus shown_{Kind::shown, "Logi & Co C920", "/dev/video2", QSize(1280, 720), 30, {}};
};

TEST_F(PictureStatusTest, AShownPictureHasNameSizeAndRate) {
    EXPECT_EQ(line(shown_), "Logi & Co C920, 1280 × 720, 30 frames/s");
    shown_.framesPerSecond = 0;
    EXPECT_EQ(line(shown_), "Logi & Co C920, 1280 × 720") << "the rate is not known yet";
    shown_.size = {};
    EXPECT_EQ(line(shown_), "Logi & Co C920");
}

TEST_F(PictureStatusTest, ABusyCameraNamesItsHolders) {
    PictureStatus busy{Kind::busy, "C920", "/dev/video2", {}, 0, {}};
    EXPECT_EQ(line(busy), "In use by another program");
    busy.holders = {{4711, "Firefox"}};
    EXPECT_EQ(line(busy), "In use by Firefox, process 4711");
    busy.holders.push_back({4800, "ob%2s"});
    EXPECT_EQ(line(busy), "In use by Firefox, process 4711; ob%2s, process 4800");
    busy.holders.push_back({4900, "a"});
    EXPECT_EQ(line(busy), "In use by Firefox, process 4711; ob%2s, process 4800; a, process 4900");
    busy.holders.push_back({5000, "b"});
    EXPECT_EQ(line(busy), "In use by Firefox, process 4711; ob%2s, process 4800; a, process 4900; …");
}

TEST_F(PictureStatusTest, AMissingPictureSaysWhatToDo) {
    EXPECT_EQ(line({}), "No camera: plug in a USB camera");
    EXPECT_EQ(line({Kind::denied, "C920", "/dev/video2", {}, 0, {}}),
              "No permission for /dev/video2: join the group “video”, then log in again");
    EXPECT_EQ(line({Kind::denied, "C920", "", {}, 0, {}}),
              "No permission for C920: join the group “video”, then log in again");
    EXPECT_EQ(line({Kind::silent, "C920", "/dev/video2", {}, 0, {}}),
              "The camera delivers no picture: reconnect it with F5");
    EXPECT_EQ(line({Kind::released, "", "", {}, 0, {}}), "The camera is free for other programs");
    EXPECT_EQ(line({Kind::waiting, "C920", "/dev/video2", {}, 0, {}}), "C920: waiting for the picture");
}

TEST_F(PictureStatusTest, ANameThatIsWrittenFromTheRightLeavesTheRestInItsOrder) {
    const std::string name = "מצלמה";
    const std::string isolated = "\u2068" + name + "\u2069";
    shown_.camera = name;
    EXPECT_EQ(line(shown_), isolated + ", 1280 × 720, 30 frames/s");
    EXPECT_EQ(line({Kind::waiting, name, "/dev/video2", {}, 0, {}}), isolated + ": waiting for the picture");
    EXPECT_EQ(line({Kind::busy, name, "", {}, 0, {{4711, name}}}),
              "In use by " + isolated + ", process 4711");
    EXPECT_EQ(line({Kind::denied, name, "", {}, 0, {}}),
              "No permission for " + isolated + ": join the group “video”, then log in again");
}

TEST_F(PictureStatusTest, EveryLanguageShowsTheNumbersAndNames) {
    for (const std::string& language : bundle_.localizations()) {
        bundle_.preferLanguage(language);
        EXPECT_THAT(line(shown_), testing::AllOf(testing::HasSubstr("1280 × 720"), testing::HasSubstr("30")));
        EXPECT_THAT(line({Kind::busy, "C920", "", {}, 0, {{4711, "Firefox"}}}),
                    testing::AllOf(testing::HasSubstr("Firefox"), testing::HasSubstr("4711"),
                                   testing::Not(testing::HasSubstr("%"))))
            << language;
        EXPECT_THAT(line({Kind::denied, "C920", "/dev/video2", {}, 0, {}}),
                    testing::AllOf(testing::HasSubstr("/dev/video2"), testing::HasSubstr("video")))
            << language;
        EXPECT_THAT(line({Kind::waiting, "C920", "", {}, 0, {}}), testing::HasSubstr("C920")) << language;
        EXPECT_THAT(line({Kind::silent, "C920", "", {}, 0, {}}), testing::HasSubstr("F5")) << language;
    }
}

TEST_F(PictureStatusTest, AdviceIsGivenIfTheUserCanDoSomething) {
    EXPECT_EQ(adviceFor({})->subject, "no camera");
    const auto denied = adviceFor({Kind::denied, "C920", "/dev/video2", {}, 0, {}});
    ASSERT_TRUE(denied);
    EXPECT_EQ(denied->subject, "/dev/video2");
    EXPECT_THAT(denied->text, testing::HasSubstr("group \"video\""));
    for (const Kind kind : {Kind::waiting, Kind::shown, Kind::busy, Kind::silent})
        EXPECT_FALSE(adviceFor({kind, "C920", "/dev/video2", {}, 0, {}}));
}

} // namespace
} // namespace tavelo
