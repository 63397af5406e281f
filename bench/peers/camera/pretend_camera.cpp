// SPDX-License-Identifier: MIT
// pretend_camera: sends frames to a program that has libpretend_camera_preload.so loaded.
#include <sys/prctl.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "bench/peers/camera/camera_server.h"
#include "bench/peers/camera/usb_tree.h"
#include "bench/peers/link/camera_link.h"
#include "bench/peers/link/link_socket.h"

namespace {

using namespace tavelo;
using namespace tavelo::bench;

int complain(const std::string& what) {
    std::fprintf(stderr, "pretend_camera: %s\n", what.c_str());
    return 2;
}

int usage() {
    return complain(
        "usage: pretend_camera SOCKET FORMAT:WIDTHxHEIGHT@RATE...   serves programs\n"
        "                      pretend_camera --usb-tree FOLDER                   makes entries as "
        "in /sys");
}

int serve(const std::string& path, const std::vector<CameraMode>& modes) {
    std::vector<PreparedFrames> prepared;
    prepared.reserve(modes.size());
    for (const CameraMode& mode : modes)
        prepared.emplace_back(mode);
    FileDescriptor listener = listenForLinks(path);
    if (!listener.isOpen()) return complain(path + ": " + std::strerror(errno));
    std::puts("ready");
    std::fflush(stdout);
    CameraServer server(std::move(prepared), std::move(listener));
    while (server.runOnce()) {
    }
    return complain(std::string("waiting for programs: ") + std::strerror(errno));
}

int run(const std::vector<std::string>& arguments) {
    if (arguments.size() < 2) return usage();
    if (arguments.front() == "--usb-tree") {
        makeUsbTree(arguments[1]);
        return 0;
    }
    std::vector<CameraMode> modes;
    for (auto text = arguments.begin() + 1; text != arguments.end(); ++text) {
        const auto mode = parseCameraMode(*text);
        if (!mode) return complain(*text + ": not a mode such as MJPG:1280x720@30");
        modes.push_back(*mode);
    }
    if (modes.size() > mostModes) return complain("too many modes");
    return serve(arguments.front(), modes);
}

} // namespace

int main(int count, char** words) {
    // The camera has no use without whoever started it.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    try {
        return run({words + 1, words + count});
    } catch (const std::exception& error) {
        return complain(error.what());
    }
}
