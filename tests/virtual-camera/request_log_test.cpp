// SPDX-License-Identifier: MIT
#include "virtual-camera/request_log.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "virtual-camera/served_cameras.h"

namespace tavelo {
namespace {

const UsbSetup writeBrightness{0x21, 0x01, 0x0200, 0x0500, 2};

TEST(RequestLog, ALineHasTheRequestFieldByField) {
    EXPECT_EQ(describeRequest(1, {writeBrightness, {0xF6, 0xFF}, UsbReplyKind::done, 0}),
              "1 21 01 0200 0500 2 f6ff ok");
}

TEST(RequestLog, ARefusedRequestHasItsErrorCode) {
    EXPECT_EQ(describeRequest(2, {{0xA1, 0x81, 0x0200, 0x0500, 34}, {}, UsbReplyKind::stall, 6}),
              "2 a1 81 0200 0500 34 - stall:6");
}

TEST(RequestLog, ARequestWithoutAnswerIsLoggedAsSilence) {
    EXPECT_EQ(describeRequest(1, {writeBrightness, {1, 0}, UsbReplyKind::silence, 0}),
              "1 21 01 0200 0500 2 0100 silence");
}

class RequestLogFileTest : public testing::Test {
protected:
    RequestLogFileTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "request-log-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data());
        path_ = folder_ / "log";
    }
    ~RequestLogFileTest() override { std::filesystem::remove_all(folder_); }

    std::vector<std::string> lines() const {
        std::vector<std::string> found;
        std::ifstream file(path_);
        for (std::string line; std::getline(file, line);)
            found.push_back(line);
        return found;
    }

    std::filesystem::path folder_;
    std::filesystem::path path_;
};

TEST_F(RequestLogFileTest, LogsAnsweredClassRequestsButNoStandardRequests) {
    Error error;
    const auto server = usbip::UsbipServer::listen(0, error);
    ASSERT_TRUE(server) << error.text;
    RequestLog log(path_.string());
    ServedCameras cameras(*server, {virtualCameraModel(1)}, &log);
    const auto camera = cameras.camera(1);
    UsbSetup setup = writeBrightness;
    setup.wIndex = static_cast<std::uint16_t>(camera->model().unitID << 8);
    const std::vector<std::uint8_t> ten{10, 0};
    camera->control(setup, ten);
    camera->control({0x80, 6, 0x0100, 0, 18}, {});
    const std::vector<std::uint8_t> tooMuch{0xFF, 0x7F};
    camera->control(setup, tooMuch);
    ASSERT_EQ(lines().size(), 2U);
    EXPECT_THAT(lines()[0], testing::MatchesRegex("[0-9]+\\.[0-9]+ 1 21 01 0200 ....? 2 0a00 ok"));
    EXPECT_THAT(lines()[1], testing::EndsWith(" 2 ff7f stall:4"));
}

TEST_F(RequestLogFileTest, ALineBeginsWithTheSecondsOfTheMonotonicClock) {
    const auto now = [] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    };
    RequestLog log(path_.string());
    const double before = now();
    log.write(1, {writeBrightness, {1, 0}, UsbReplyKind::done, 0});
    const double written = std::stod(lines().at(0));
    EXPECT_GE(written, before - 1e-6);
    EXPECT_LE(written, now());
    EXPECT_EQ(lines()[0].find(' ') - lines()[0].find('.'), 7U) << "microseconds, with their zeros";
}

TEST_F(RequestLogFileTest, LinesOfAnEarlierRunAreKept) {
    const RequestRecord record{writeBrightness, {1, 0}, UsbReplyKind::done, 0};
    RequestLog(path_.string()).write(1, record);
    RequestLog(path_.string()).write(2, record);
    EXPECT_EQ(lines().size(), 2U);
}

TEST_F(RequestLogFileTest, ReportsAFileThatCannotBeWritten) {
    EXPECT_FALSE(RequestLog((folder_ / "missing" / "log").string()).isOpen());
}

} // namespace
} // namespace tavelo
