// SPDX-License-Identifier: MIT
#include "virtual-camera/line_server.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace tavelo {
namespace {

class Client {
public:
    explicit Client(const std::string& path) : socket_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::ranges::copy(path, address.sun_path);
        const timeval limit{10, 0};
        ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        connected_ =
            ::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }

    bool connected() const { return connected_; }
    bool send(std::string_view text) const {
        return ::send(socket_.get(), text.data(), text.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(text.size());
    }
    // Reads up to a line break, or up to the end of the connection.
    std::string line() const {
        std::string text;
        char letter = 0;
        while (::recv(socket_.get(), &letter, 1, 0) == 1 && letter != '\n')
            text += letter;
        return text;
    }
    bool ends() const {
        char letter = 0;
        ssize_t count = 1;
        while (count == 1)
            count = ::recv(socket_.get(), &letter, 1, 0);
        return count == 0 || errno == ECONNRESET;
    }

private:
    FileDescriptor socket_;
    bool connected_ = false;
};

class LineServerTest : public testing::Test {
protected:
    LineServerTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "line-server-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data());
        path_ = folder_ / "socket";
    }
    ~LineServerTest() override { std::filesystem::remove_all(folder_); }

    std::unique_ptr<LineServer> listen(LineServer::Handler handler = [](std::string_view line) {
        return "[" + std::string(line) + "]";
    }) {
        return LineServer::listen(path_.string(), std::move(handler), error_);
    }

    std::filesystem::path folder_;
    std::filesystem::path path_;
    Error error_;
};

TEST_F(LineServerTest, AnswersEachLineWithALine) {
    const auto server = listen();
    ASSERT_TRUE(server) << error_.text;
    const Client client(path_);
    client.send("one\ntwo\n");
    EXPECT_EQ(client.line(), "[one]");
    EXPECT_EQ(client.line(), "[two]");
}

TEST_F(LineServerTest, JoinsALineThatArrivesInPieces) {
    const auto server = listen();
    const Client client(path_);
    client.send("on");
    client.send("e\n");
    EXPECT_EQ(client.line(), "[one]");
}

TEST_F(LineServerTest, ASilentClientDoesNotBlockTheOthers) {
    const auto server = listen();
    const Client silent(path_);
    silent.send("half a li");
    const Client client(path_);
    client.send("one\n");
    EXPECT_EQ(client.line(), "[one]");
}

TEST_F(LineServerTest, AnEndlessLineIsNotBuffered) {
    const auto server = listen();
    const Client client(path_);
    const std::string piece(1000, 'x');
    while (client.send(piece)) {
    }
    EXPECT_TRUE(client.ends());
    const Client other(path_);
    other.send("one\n");
    EXPECT_EQ(other.line(), "[one]");
}

TEST_F(LineServerTest, DropsAClientThatReadsNoAnswers) {
    const auto server = listen([](std::string_view) { return std::string(1 << 20, 'x'); });
    const Client client(path_);
    client.send("one\n");
    EXPECT_TRUE(client.ends());
}

TEST_F(LineServerTest, OnlyItsOwnerMayConnect) {
    const auto server = listen();
    struct stat status {};
    ASSERT_EQ(::stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(LineServerTest, EndingClosesConnectionsAndRemovesTheSocket) {
    auto server = listen();
    const Client client(path_);
    client.send("one\n");
    EXPECT_EQ(client.line(), "[one]");
    server.reset();
    EXPECT_TRUE(client.ends());
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(LineServerTest, TheSocketOfARunThatCrashedIsReplaced) {
    FileDescriptor left(::socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path_.string(), address.sun_path);
    ASSERT_EQ(::bind(left.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    left = FileDescriptor();
    ASSERT_TRUE(std::filesystem::exists(path_));
    const auto server = listen();
    ASSERT_TRUE(server) << error_.text;
    EXPECT_TRUE(Client(path_).connected());
}

TEST_F(LineServerTest, DoesNotReplaceAFileAtTheSocketsPath) {
    std::ofstream(path_) << "mine";
    EXPECT_FALSE(listen());
    EXPECT_FALSE(error_.text.empty());
    EXPECT_TRUE(std::filesystem::is_regular_file(path_));
}

TEST_F(LineServerTest, APathThatIsTooLongIsRefused) {
    path_ = folder_ / std::string(200, 'x');
    EXPECT_FALSE(listen());
    EXPECT_THAT(error_.text, testing::HasSubstr("too long"));
}

} // namespace
} // namespace tavelo
