// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/frame_mailbox.h"

#include <gmock/gmock.h>

#include <thread>

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using Event = FrameMailbox::Event;

FrameMailbox::Clock::time_point soon(std::chrono::milliseconds time) {
    return FrameMailbox::Clock::now() + time;
}

void write(FrameMailbox& mailbox, std::uint8_t value) {
    FrameMailbox::Frame& frame = mailbox.writing();
    ASSERT_EQ(frame.size, 0U);
    frame.bytes[0] = value;
    frame.size = 1;
    mailbox.publish();
}

class MailboxTest : public testing::Test {
protected:
    MailboxTest() { mailbox.open(4); }
    FrameMailbox mailbox;
};

TEST_F(MailboxTest, HandsAFrameOver) {
    write(mailbox, 7);
    ASSERT_EQ(mailbox.wait(soon(10s)), Event::frame);
    EXPECT_EQ(mailbox.reading().bytes[0], 7);
    EXPECT_EQ(mailbox.reading().size, 1U);
    EXPECT_EQ(mailbox.wait(soon(0ms)), Event::silence) << "once";
}

TEST_F(MailboxTest, ANewerFrameReplacesOneThatWaits) {
    for (std::uint8_t value = 1; value <= 5; ++value)
        write(mailbox, value);
    ASSERT_EQ(mailbox.wait(soon(10s)), Event::frame);
    EXPECT_EQ(mailbox.reading().bytes[0], 5);
    EXPECT_EQ(mailbox.wait(soon(0ms)), Event::silence);
}

TEST_F(MailboxTest, TheFrameReadIsLeftAlone) {
    write(mailbox, 1);
    ASSERT_EQ(mailbox.wait(soon(10s)), Event::frame);
    for (std::uint8_t value = 2; value <= 9; ++value) {
        write(mailbox, value);
        EXPECT_EQ(mailbox.reading().bytes[0], 1);
    }
}

TEST_F(MailboxTest, TellsOfTheEndAfterTheLastFrame) {
    write(mailbox, 1);
    mailbox.end(ErrorCode::gone);
    mailbox.end(ErrorCode::failed);
    EXPECT_EQ(mailbox.wait(soon(10s)), Event::frame);
    EXPECT_EQ(mailbox.wait(soon(10s)), Event::ended);
    EXPECT_EQ(mailbox.endReason(), ErrorCode::gone) << "the first reason counts";
    mailbox.open(4);
    EXPECT_EQ(mailbox.wait(soon(0ms)), Event::silence);
}

TEST_F(MailboxTest, TheStopComesBeforeAllElseAndStays) {
    write(mailbox, 1);
    mailbox.stop();
    EXPECT_EQ(mailbox.wait(soon(10s)), Event::stopped);
    EXPECT_TRUE(mailbox.waitForStop(10s));
    mailbox.open(4);
    EXPECT_TRUE(mailbox.isStopped());
    mailbox.clearStop();
    EXPECT_FALSE(mailbox.waitForStop(0ms));
}

TEST_F(MailboxTest, WakesWhoeverWaits) {
    for (const Event expected : {Event::frame, Event::ended, Event::stopped}) {
        mailbox.open(4);
        std::thread other([&] {
            if (expected == Event::frame) write(mailbox, 1);
            if (expected == Event::ended) mailbox.end(ErrorCode::failed);
            if (expected == Event::stopped) mailbox.stop();
        });
        EXPECT_EQ(mailbox.wait(soon(30s)), expected);
        other.join();
    }
}

TEST_F(MailboxTest, FramesStayWholeWhileBothSidesRun) {
    constexpr int count = 20000;
    mailbox.open(64);
    std::thread writer([&] {
        for (int i = 0; i < count; ++i) {
            FrameMailbox::Frame& frame = mailbox.writing();
            std::ranges::fill(frame.bytes, std::uint8_t(i));
            frame.size = frame.bytes.size();
            mailbox.publish();
        }
        mailbox.end(ErrorCode::none);
    });
    int read = 0;
    while (mailbox.wait(soon(30s)) == Event::frame) {
        ++read;
        ASSERT_THAT(mailbox.reading().bytes, testing::Each(mailbox.reading().bytes[0]));
    }
    writer.join();
    EXPECT_GT(read, 0);
    EXPECT_EQ(mailbox.reading().bytes[0], std::uint8_t(count - 1)) << "the last one is never lost";
}

} // namespace
} // namespace tavelo
