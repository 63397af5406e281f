// SPDX-License-Identifier: MIT
#include "platform/virtual/usbip/stream_socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <numeric>
#include <thread>
#include <vector>

namespace tavelo {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

Bytes counted(std::size_t size, std::uint8_t from) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), from);
    return bytes;
}

std::atomic<int> interruptions = 0;

/// While it exists, SIGUSR1 interrupts the calls of the thread that it is sent to.
class Interruptible {
public:
    Interruptible() {
        struct sigaction action {};
        action.sa_handler = [](int) { ++interruptions; }; // without SA_RESTART
        sigaction(SIGUSR1, &action, &before_);
        interruptions = 0;
    }
    ~Interruptible() { sigaction(SIGUSR1, &before_, nullptr); }

    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;

    /// Interrupts the thread some times.
    static void interrupt(std::thread& thread) {
        while (interruptions < 20) {
            pthread_kill(thread.native_handle(), SIGUSR1);
            std::this_thread::sleep_for(1ms);
        }
    }

private:
    struct sigaction before_ {};
};

class StreamSocketTest : public ::testing::Test {
protected:
    StreamSocketTest() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
        ours_ = ends[0];
        ours = StreamSocket(FileDescriptor(ends[0]));
        theirs = FileDescriptor(ends[1]);
    }

    bool sendToUs(const Bytes& bytes) const {
        return ::send(theirs.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) == ssize_t(bytes.size());
    }
    /// Everything until our end closes.
    Bytes receiveAll() const {
        Bytes all;
        std::array<std::uint8_t, 1000> piece{};
        for (ssize_t count = 0; (count = ::read(theirs.get(), piece.data(), piece.size())) > 0;)
            all.insert(all.end(), piece.begin(), piece.begin() + count);
        return all;
    }
    std::chrono::microseconds limit(int option) const {
        timeval time{};
        socklen_t size = sizeof time;
        EXPECT_EQ(::getsockopt(ours_, SOL_SOCKET, option, &time, &size), 0);
        return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
    }

    int ours_ = -1;
    StreamSocket ours{FileDescriptor()};
    FileDescriptor theirs;
};

TEST_F(StreamSocketTest, ReadsWhatComesInPieces) {
    std::thread sender([this] {
        for (const std::uint8_t first : Bytes{0, 10, 20}) {
            EXPECT_TRUE(sendToUs(counted(10, first)));
            std::this_thread::sleep_for(2ms);
        }
    });
    Bytes read(30);
    EXPECT_TRUE(ours.read(read));
    EXPECT_EQ(read, counted(30, 0));
    sender.join();
}

TEST_F(StreamSocketTest, WritesPartsThatAreLargerThanTheBufferInTheirOrder) {
    const Bytes first = counted(300'001, 1);
    const Bytes second = counted(7, 50);
    const Bytes third = counted(500'003, 9);
    bool written = false;
    std::thread writer([&] {
        written = ours.write({first, {}, second, third});
        ours.shutdown();
    });
    const Bytes received = receiveAll();
    writer.join();
    EXPECT_TRUE(written);
    Bytes expected = first;
    expected.insert(expected.end(), second.begin(), second.end());
    expected.insert(expected.end(), third.begin(), third.end());
    EXPECT_TRUE(received == expected) << received.size() << " bytes";
}

TEST_F(StreamSocketTest, ASignalInterruptsNeitherReadNorWrite) {
    const Interruptible interruptible;
    Bytes read(3);
    std::thread reader([&] { EXPECT_TRUE(ours.read(read)); });
    Interruptible::interrupt(reader);
    EXPECT_TRUE(sendToUs({1, 2, 3}));
    reader.join();
    EXPECT_EQ(read, Bytes({1, 2, 3}));

    interruptions = 0;
    const Bytes much(2'000'000);
    std::thread writer([&] {
        EXPECT_TRUE(ours.write({much}));
        ours.shutdown();
    });
    Interruptible::interrupt(writer);
    EXPECT_EQ(receiveAll().size(), much.size());
    writer.join();
}

TEST_F(StreamSocketTest, EndsOnceItsTimeLimitHasPassed) {
    ours.limitReads(20ms);
    ours.limitWrites(30ms);
    const auto begin = std::chrono::steady_clock::now();
    Bytes read(1);
    EXPECT_FALSE(ours.read(read));
    EXPECT_FALSE(ours.write({Bytes(2'000'000)}));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 45ms); // the kernel's own clock is coarse
}

TEST_F(StreamSocketTest, TimeLimitsAreTakenToTheMillisecond) {
    ours.limitReads(2500ms);
    ours.limitWrites(1004ms);
    EXPECT_EQ(limit(SO_RCVTIMEO), 2500ms);
    EXPECT_NEAR(double(limit(SO_SNDTIMEO).count()), 1'004'000, 4000) << "the kernel's own clock is coarse";
    ours.limitReads(0ms);
    EXPECT_EQ(limit(SO_RCVTIMEO), 0ms);
}

TEST_F(StreamSocketTest, TheOtherEndsCloseEndsReadAndWriteWithoutASignal) {
    theirs = {};
    Bytes read(1);
    EXPECT_FALSE(ours.read(read));
    EXPECT_FALSE(ours.write({read}));
}

TEST_F(StreamSocketTest, AShutdownEndsTheReadOfAnotherThread) {
    std::thread reader([this] {
        Bytes read(1);
        EXPECT_FALSE(ours.read(read));
    });
    ours.shutdown();
    reader.join();
}

TEST(WakePipe, WakesAPollAndNeverBlocks) {
    const WakePipe pipe = WakePipe::make();
    pollfd waiting{pipe.readEnd.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&waiting, 1, 0), 0);
    for (int i = 0; i < 100'000; ++i) // more than it holds
        pipe.wake();
    EXPECT_EQ(::poll(&waiting, 1, 0), 1);
    std::uint8_t byte = 1;
    while (::read(pipe.readEnd.get(), &byte, 1) == 1) {
    }
    EXPECT_EQ(errno, EAGAIN);
}

class ListeningTest : public ::testing::Test {
protected:
    FileDescriptor connectTo(std::uint16_t port) const {
        FileDescriptor client(::socket(AF_INET, SOCK_STREAM, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        return client;
    }

    Error error;
};

TEST_F(ListeningTest, AConnectionBlocksAndSendsAtOnceAndNoOtherProgramInheritsIt) {
    const FileDescriptor listener = listenOnLoopback(0, error);
    ASSERT_TRUE(listener.isOpen()) << error.text;
    EXPECT_FALSE(acceptConnection(listener).isOpen()) << "none waits, and that is known at once";
    const FileDescriptor client = connectTo(localPort(listener));
    const FileDescriptor connection = acceptConnection(listener);
    ASSERT_TRUE(connection.isOpen());
    EXPECT_EQ(::fcntl(connection.get(), F_GETFL) & O_NONBLOCK, 0);
    for (const FileDescriptor* each : {&listener, &connection})
        EXPECT_EQ(::fcntl(each->get(), F_GETFD), FD_CLOEXEC);
    int noDelay = 0;
    socklen_t size = sizeof noDelay;
    EXPECT_EQ(::getsockopt(connection.get(), IPPROTO_TCP, TCP_NODELAY, &noDelay, &size), 0);
    EXPECT_NE(noDelay, 0);
}

TEST_F(ListeningTest, APortThatIsTakenIsBusy) {
    const FileDescriptor listener = listenOnLoopback(0, error);
    const std::uint16_t port = localPort(listener);
    EXPECT_FALSE(listenOnLoopback(port, error).isOpen());
    EXPECT_EQ(error.code, ErrorCode::busy);
    EXPECT_EQ(error.text, "cannot listen on port " + std::to_string(port) + ": Address already in use");
}

TEST_F(ListeningTest, APortCanBeTakenAgainWhileOldConnectionsEnd) {
    FileDescriptor listener = listenOnLoopback(0, error);
    const std::uint16_t port = localPort(listener);
    const FileDescriptor client = connectTo(port);
    acceptConnection(listener); // closed first, by us: the system remembers it for a while
    listener = {};
    EXPECT_TRUE(listenOnLoopback(port, error).isOpen()) << error.text;
}

TEST_F(ListeningTest, WhatDoesNotListenHasNoPort) {
    EXPECT_EQ(localPort(FileDescriptor()), 0);
}

} // namespace
} // namespace tavelo
