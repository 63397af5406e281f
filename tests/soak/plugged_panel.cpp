// SPDX-License-Identifier: MIT
// The panel with virtual cameras that are plugged in and out by lines on its standard input:
//     plug NUMBER [WIDTHxHEIGHT]   a camera that offers this size alone
//     unplug NUMBER
// Each line is answered with "yes" or "no" on the standard output.
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <variant>

#include "app/command_line.h"
#include "app/program.h"
#include "platform/virtual/virtual_bus.h"
#include "version/full_version.h"

namespace tavelo {
namespace {

constexpr std::uint32_t fps30 = 333'333; // in 100 ns

// What a line asks for; false if that cannot be done.
bool obey(const std::string& line, VirtualBus& bus) {
    std::istringstream words(line);
    std::string verb;
    int number = 0;
    if (!(words >> verb >> number) || number < 1) return false;
    if (verb == "unplug") return bus.unplug(number);
    if (verb != "plug") return false;
    VirtualCameraModel model = virtualCameraModel(number);
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    char by = 0;
    if (words >> width >> by >> height) model.offers = {{StreamEncoding::mjpeg, width, height, {fps30}}};
    return bus.plug(std::move(model)) != nullptr;
}

// Reads and obeys on a thread of its own, as cameras come and go at any moment.
class PlugCommands {
public:
    explicit PlugCommands(std::shared_ptr<VirtualBus> bus)
        : bus_(std::move(bus)),
          end_(eventfd(0, EFD_CLOEXEC)),
          thread_([this] { run(); }) {}

    ~PlugCommands() {
        eventfd_write(end_, 1);
        thread_.join();
        close(end_);
    }

    PlugCommands(const PlugCommands&) = delete;
    PlugCommands& operator=(const PlugCommands&) = delete;

private:
    void run() {
        std::string text;
        while (waitForInput()) {
            std::array<char, 256> piece{};
            const ssize_t size = read(STDIN_FILENO, piece.data(), piece.size());
            if (size <= 0) return;
            text.append(piece.data(), static_cast<std::size_t>(size));
            for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n')) {
                std::puts(obey(text.substr(0, end), *bus_) ? "yes" : "no");
                std::fflush(stdout);
                text.erase(0, end + 1);
            }
        }
    }

    // False once this object ends.
    bool waitForInput() const {
        std::array<pollfd, 2> files{{{STDIN_FILENO, POLLIN, 0}, {end_, POLLIN, 0}}};
        while (poll(files.data(), files.size(), -1) < 0) {
        }
        return files[1].revents == 0;
    }

    const std::shared_ptr<VirtualBus> bus_;
    const int end_;
    std::thread thread_;
};

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    auto parsed = tavelo::parseCommandLine(argc, argv, tavelo::fullVersion());
    if (const auto* exit = std::get_if<tavelo::CommandLineExit>(&parsed)) {
        std::fputs(exit->error.c_str(), stderr);
        return exit->status;
    }
    prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY); // a debugger that is no parent may print the stacks
    auto& commandLine = std::get<tavelo::CommandLine>(parsed);
    const auto bus = std::make_shared<tavelo::VirtualBus>();
    for (int number = 1; number <= commandLine.cameras.virtualCameras; ++number)
        bus->plug(tavelo::virtualCameraModel(number));
    commandLine.cameras.bus = bus;
    const tavelo::PlugCommands commands(bus);
    return tavelo::runProgram(commandLine, argc, argv);
}
