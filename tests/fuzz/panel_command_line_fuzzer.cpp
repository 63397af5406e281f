// SPDX-License-Identifier: MIT
// Command lines of the panel.
//
// Input: the arguments, each ended by a zero byte.
#include <string>
#include <vector>

#include "app/command_line.h"
#include "fuzz_expect.h"
#include "fuzz_input.h"

namespace {

using tavelo::fuzz::expect;

void lookAt(const tavelo::CommandLine& line) {
    expect(line.cameras.virtualCameras >= 0 && line.cameras.virtualCameras <= 8);
    expect(!(line.screenshot && line.headlessCapture) && !(line.screenshot && line.service));
    if (const auto& size = line.cameras.format.size) expect(size->width > 0 && size->height > 0);
    if (!line.headlessCapture) return;
    expect(!line.headlessCapture->file.empty());
    if (const auto& duration = line.headlessCapture->duration)
        expect(duration->count() >= 0.1 && duration->count() <= 1e6);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t mostArguments = 16;
    const auto texts = tavelo::fuzz::FuzzInput(data, size).texts(mostArguments);
    std::vector<const char*> arguments{"tavelo-control-panel"};
    for (const std::string& text : texts) {
        // Files that a test finds on this machine would make it another one elsewhere.
        if (text.find("--like") != std::string::npos) return 0;
        arguments.push_back(text.c_str());
    }
    const auto parsed = tavelo::parseCommandLine(static_cast<int>(arguments.size()), arguments.data(), "1.0");
    if (const auto* line = std::get_if<tavelo::CommandLine>(&parsed)) {
        lookAt(*line);
        expect(tavelo::ignoredOptionsLine(*line).empty() == line->given.empty());
    } else {
        const auto& end = std::get<tavelo::CommandLineExit>(parsed);
        expect(end.status == 0 ? end.error.empty() : end.status == 2 && end.output.empty());
        if (end.status != 0) expect(end.error.find('\n') == end.error.size() - 1);
    }
    return 0;
}
