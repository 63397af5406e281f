// SPDX-License-Identifier: MIT
// Command lines of taveloctl and what stands in them: verbs, options, cameras, controls and values.
//
// Input: the arguments, each ended by a zero byte.
#include <QCoreApplication>
#include <cstdlib>
#include <string>
#include <vector>

#include "cli/failure.h"
#include "cli/taveloctl.h"
#include "commands/camera_choice.h"
#include "commands/control_change.h"
#include "commands/control_names.h"
#include "fuzz_expect.h"
#include "fuzz_input.h"
#include "process/qt_main_queue.h"
#include "support/memory_preferences_store.h"
#include "uvc/location_candidates.h"

namespace {

using namespace tavelo;
using tavelo::fuzz::expect;

// A verb that got a camera could write files, or run until it is interrupted.
Backend noCameras(const CameraOptions& options, Diagnostics& /*diagnostics*/) {
    expect(options.virtualCameras >= 0 && options.virtualCameras <= 8);
    throw Failure(ExitStatus::noCamera, "there are no cameras here");
}

void lookAtWord(const std::string& word) {
    std::string reason;
    const auto change = parseControlChange(word, controlNamed, reason);
    expect(change.has_value() == reason.empty());
    if (change) expect(change->control != nullptr && change->number == change->number);
    reason.clear();
    const std::vector<CameraNames> cameras{{"0x142000001bcf2b90", "/dev/video0", "Camera"},
                                           {"0x143000001bcf2b90", "", "Another camera"}};
    const auto camera = chooseCamera(cameras, word, reason);
    expect(camera ? *camera < cameras.size() : !reason.empty());
    const auto location = locationCandidates(word);
    expect(location == locationCandidates(word));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    static const QCoreApplication application(*count, *arguments);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static QtMainQueue mainQueue;
    constexpr std::size_t mostArguments = 16;
    const auto arguments = fuzz::FuzzInput(data, size).texts(mostArguments);
    for (const std::string& word : arguments)
        lookAtWord(word);
    std::string output;
    const SessionEnvironment environment{
        .mainQueue = mainQueue,
        .makeCameras = noCameras,
        .makePreferences = [] { return std::make_unique<MemoryPreferencesStore>(mainQueue); },
        .print = [&output](std::string_view text) { output += text; }};
    std::string error;
    const int status = runTaveloctl(arguments, "1.0", environment, error);
    expect((status == 0) == error.empty());
    expect(error.find('\n') == std::string::npos);
    return 0;
}
