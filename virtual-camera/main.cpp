// SPDX-License-Identifier: MIT
// tavelo-virtual-camera: virtual USB cameras for a real kernel.
#include <signal.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "probe/like/like_file.h"
#include "version/full_version.h"
#include "virtual-camera/camera_commands.h"
#include "virtual-camera/line_server.h"
#include "virtual-camera/options.h"
#include "virtual-camera/served_cameras.h"

namespace {

using namespace tavelo;

int fail(const std::string& reason) {
    std::cerr << "tavelo-virtual-camera: " << reason << '\n';
    return 1;
}

int serve(const Options& options, const sigset_t& endSignals) {
    std::unique_ptr<RequestLog> log;
    if (!options.log.empty()) {
        log = std::make_unique<RequestLog>(options.log);
        if (!log->isOpen()) return fail("cannot write " + options.log);
    }
    Error error;
    const auto models = options.like.empty() ? std::optional(modelsFor(options))
                                             : modelsLike(options.like, options.cameras, error);
    if (!models) return fail(options.like + ": " + error.text);
    const auto server = usbip::UsbipServer::listen(options.port, error);
    if (!server) return fail(error.text);
    ServedCameras cameras(*server, *models, log.get(), options.twoFunctions);
    CameraCommands commands(cameras);
    std::unique_ptr<LineServer> control;
    if (!options.control.empty()) {
        control = LineServer::listen(
            options.control, [&](std::string_view line) { return commands.execute(line); }, error);
        if (!control) return fail(error.text);
    }
    std::cout << "listening on 127.0.0.1:" << server->port() << std::endl;
    int received = 0;
    sigwait(&endSignals, &received);
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const auto parsed = parseOptions(argumentCount, arguments, fullVersion());
    if (const auto* message = std::get_if<Message>(&parsed)) {
        (message->exitStatus == 0 ? std::cout : std::cerr) << message->text;
        return message->exitStatus;
    }
    // Block the signals before starting threads, so that all threads leave them to the main thread.
    sigset_t endSignals;
    sigemptyset(&endSignals);
    sigaddset(&endSignals, SIGTERM);
    sigaddset(&endSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &endSignals, nullptr);
    return serve(std::get<Options>(parsed), endSignals);
}
