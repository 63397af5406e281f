// SPDX-License-Identifier: MIT
#include "bench/peers/preload/observed_file.h"

#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/peers/preload/real_calls.h"

namespace tavelo::bench {
namespace {

constexpr int cameraFile = 77;
constexpr int failingFile = 78;

// A driver that has one frame for each request.
int driverControl(int file, unsigned long request, ...) {
    va_list rest;
    va_start(rest, request);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    if (file != cameraFile) {
        errno = EAGAIN;
        return -1;
    }
    auto& buffer = *static_cast<v4l2_buffer*>(argument);
    buffer.sequence = 41;
    buffer.timestamp = {12, 345'678};
    return 0;
}

class ObservedFileTest : public testing::Test {
protected:
    ~ObservedFileTest() override { std::filesystem::remove_all(folder_); }

    int control(int file, unsigned long request) {
        v4l2_buffer buffer{};
        return observed_.control(file, request, &buffer);
    }

    std::vector<TakenFrame> logged() const {
        std::ifstream stream(folder_ / "log", std::ios::binary);
        std::uint64_t count = 0;
        stream.read(reinterpret_cast<char*>(&count), sizeof count);
        std::vector<TakenFrame> frames(count);
        for (TakenFrame& frame : frames)
            stream.read(reinterpret_cast<char*>(&frame), sizeof frame);
        return frames;
    }

    static std::filesystem::path newFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "frames-XXXXXX").string();
        return ::mkdtemp(name.data());
    }

    const std::filesystem::path folder_ = newFolder();
    FrameLog log_{(folder_ / "log").string()};
    ObservedFile observed_{log_};
};

TEST_F(ObservedFileTest, ATakenFrameIsLoggedWithTheDriversNumbers) {
    log_.start();
    EXPECT_EQ(control(cameraFile, VIDIOC_DQBUF), 0);
    ASSERT_EQ(logged().size(), 1U);
    EXPECT_EQ(logged().front().sequence, 41);
    EXPECT_EQ(logged().front().complete, 12'345'678'000);
    EXPECT_GT(logged().front().taken, 0);
    EXPECT_GT(logged().front().processorTime, 0);
}

// Some programs have the request in an int.
TEST_F(ObservedFileTest, ARequestWithAnExtendedSignIsTheSame) {
    log_.start();
    EXPECT_EQ(control(cameraFile, static_cast<unsigned long>(long(std::int32_t(VIDIOC_DQBUF)))), 0);
    EXPECT_EQ(logged().size(), 1U);
}

TEST_F(ObservedFileTest, NothingElseIsLogged) {
    log_.start();
    EXPECT_EQ(control(cameraFile, VIDIOC_QBUF), 0);
    EXPECT_EQ(control(failingFile, VIDIOC_DQBUF), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_TRUE(logged().empty());
}

TEST_F(ObservedFileTest, WithoutALogTheDriverStillAnswers) {
    EXPECT_EQ(control(cameraFile, VIDIOC_DQBUF), 0);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "log"));
}

} // namespace

// In place of the C library's.
const RealCalls& realCalls() {
    static const RealCalls calls = [] {
        RealCalls driver{};
        driver.ioctl = driverControl;
        return driver;
    }();
    return calls;
}

} // namespace tavelo::bench
