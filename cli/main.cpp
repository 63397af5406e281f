// SPDX-License-Identifier: MIT
// The entry point of taveloctl.
#include <QCoreApplication>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/taveloctl.h"
#include "commands/control_names.h"
#include "extensions/json/description_folders.h"
#include "platform/linux/preferences/json_preferences_store.h"
#include "process/crashes.h"
#include "process/data_folders.h"
#include "process/error_line.h"
#include "process/qt_main_queue.h"
#include "version/full_version.h"

int main(int argc, char** argv) {
    using namespace tavelo;
    reportCrashesOf("taveloctl", fullVersion());
    const QCoreApplication application(argc, argv);
    QtMainQueue mainQueue;
    const SessionEnvironment environment{
        .mainQueue = mainQueue,
        .makeCameras = [&mainQueue](
                           const CameraOptions& options,
                           Diagnostics& diagnostics) { return makeCameras(options, mainQueue, diagnostics); },
        .makePreferences = [&mainQueue] { return std::make_unique<JsonPreferencesStore>(mainQueue); },
        .print = [](std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); },
        .warn = [](const std::string& line) { printErrorLine(line); },
        .readDescriptions =
            [](const std::function<void(const std::string&)>& warn) {
                return readDescriptions(extensionUnitFolders(), isClassControl, warn);
            }};
    std::string error;
    int status = runTaveloctl({argv + 1, argv + argc}, fullVersion(), environment, error);
    if (!error.empty()) printErrorLine(error);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        printErrorLine("the output cannot be written");
        status = status == 0 ? 1 : status;
    }
    return status;
}
