// SPDX-License-Identifier: MIT
// A Unix socket on which each line is answered with one line.
#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "platform/error.h"
#include "platform/virtual/usbip/stream_socket.h"

namespace tavelo {

/// Listens on a path for this user's programs.  Answers on its own thread, one line after another.
class LineServer {
public:
    /// Called on the server's thread; returns the answer without its line break.
    using Handler = std::function<std::string(std::string_view line)>;

    /// Replaces a socket left behind by an earlier run.
    /// @return null with `error` set if the path cannot be used
    static std::unique_ptr<LineServer> listen(const std::string& path, Handler handler, Error& error);
    /// Closes every connection and removes the path.
    ~LineServer();

    LineServer(const LineServer&) = delete;
    LineServer& operator=(const LineServer&) = delete;

private:
    struct Client {
        FileDescriptor connection;
        std::string received; ///< an incomplete line
    };

    LineServer(FileDescriptor listener, std::string path, Handler handler);

    void run();
    bool serve(Client& client);

    const FileDescriptor listener_;
    const std::string path_;
    const Handler handler_;
    const WakePipe stop_ = WakePipe::make();
    std::list<Client> clients_; // used by the thread only
    std::thread thread_;        // last: it uses everything above
};

} // namespace tavelo
