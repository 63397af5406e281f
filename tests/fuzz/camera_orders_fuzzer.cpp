// SPDX-License-Identifier: MIT
// Orders to the virtual cameras and the command line of the program that serves them.
//
// Input: a byte that chooses, then lines of orders, or the arguments, each ended by a zero byte.
#include <string>
#include <vector>

#include "fuzz_expect.h"
#include "fuzz_input.h"
#include "virtual-camera/camera_commands.h"
#include "virtual-camera/options.h"
#include "virtual-camera/served_cameras.h"

namespace {

using namespace tavelo;
using tavelo::fuzz::expect;

void execute(const std::vector<std::string>& lines) {
    static Error error;
    static const auto server = usbip::UsbipServer::listen(0, error);
    expect(server != nullptr);
    ServedCameras cameras(*server, {virtualCameraModel(1), virtualCameraModel(2)}, nullptr);
    CameraCommands commands(cameras);
    for (const std::string& line : lines) {
        const std::string answer = commands.execute(line);
        expect(answer.starts_with("ok") || answer.starts_with("error "));
    }
}

void parse(const std::vector<std::string>& texts) {
    std::vector<const char*> arguments{"tavelo-virtual-camera"};
    for (const std::string& text : texts)
        arguments.push_back(text.c_str());
    const auto parsed = parseOptions(static_cast<int>(arguments.size()), arguments.data(), "1.0");
    if (const auto* options = std::get_if<Options>(&parsed)) {
        expect(options->cameras > 0);
        expect(modelsFor(*options).size() == static_cast<std::size_t>(options->cameras));
    } else {
        expect(!std::get<Message>(parsed).text.empty());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t mostTexts = 16;
    fuzz::FuzzInput input(data, size);
    const bool isCommandLine = input.byte() % 2 == 1;
    const auto texts = input.texts(mostTexts);
    isCommandLine ? parse(texts) : execute(texts);
    return 0;
}
