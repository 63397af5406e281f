// SPDX-License-Identifier: MIT
#include "app/program.h"

#include <QIcon>
#include <cstdlib>
#include <string>

#include "app/headless_capture.h"
#include "app/kt_application.h"
#include "app/manual.h"
#include "app/panel_program.h"
#include "app/qt_messages.h"
#include "app/single_instance.h"
#include "platform/backends/backends.h"
#include "platform/linux/movie/module/late_asset_writer_platform.h"
#include "process/crashes.h"
#include "process/data_folders.h"
#include "process/error_line.h"
#include "process/heap_limits.h"
#include "process/qt_main_queue.h"
#include "process/quit_signals.h"
#include "process/stderr_diagnostics.h"
#include "version/full_version.h"

namespace tavelo {
namespace {

// Without a display Qt would abort with a core dump and a long message.
bool haveDisplay() {
    for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char* value = std::getenv(variable);
        if (value != nullptr && *value != '\0') return true;
    }
    return false;
}

// Another process runs the panel: brings its window to the front, and prints which options of this process
// are ignored.
int showFirstPanel(SingleInstance& instance, const CommandLine& commandLine) {
    const QString reason = instance.activateFirst();
    if (reason.isEmpty()) {
        const std::string line = ignoredOptionsLine(commandLine);
        if (!line.empty()) printErrorLine(line);
        return 0;
    }
    printErrorLine("runs already and does not answer", qPrintable(reason));
    return 1;
}

int runWindow(const CommandLine& commandLine, KTApplication& application, bool hasDisplay) {
    application.setWindowIcon(QIcon(QStringLiteral(":/images/tavelo-control-panel.svg")));
    // A screenshot gets its own window, even if a panel is already running.
    if (commandLine.screenshot) return PanelProgram(commandLine, application, nullptr, hasDisplay).run();

    using Role = SingleInstance::Role;
    SingleInstance instance(
        QDBusConnection::sessionBus(),
        hasDisplay ? SingleInstance::Purpose::panel : SingleInstance::Purpose::serviceWithoutWindow);
    if (commandLine.service && instance.role() == Role::alone) {
        printErrorLine("--service: there is no session bus");
        return 1;
    }
    if (instance.role() == Role::second)
        return commandLine.service ? 0 : showFirstPanel(instance, commandLine);
    // Starting the program again shows a closed window, but only if there is a bus to ask for it.
    application.setQuitOnLastWindowClosed(instance.role() == Role::alone);
    return PanelProgram(commandLine, application, &instance, hasDisplay).run();
}

// Takes a still or a movie, even if a panel is already running.
int runHeadlessCapture(const CommandLine& commandLine, const QuitSignals& quitSignals) {
    QtMainQueue mainQueue;
    StderrDiagnostics diagnostics(commandLine.verbose);
    const Backend cameras = makeCameras(panelCameraOptions(commandLine), mainQueue, diagnostics);
    HeadlessCapture capture(*cameras.capture, makeLateAssetWriterPlatform(diagnostics),
                            *commandLine.headlessCapture, commandLine.renderer, cameras.sound);
    QObject::connect(&quitSignals, &QuitSignals::asked, &capture, &HeadlessCapture::stop);
    QMetaObject::invokeMethod(&capture, &HeadlessCapture::start, Qt::QueuedConnection);
    return KTApplication::exec();
}

} // namespace

int runProgram(const CommandLine& commandLine, int& argc, char** argv) {
    const bool hasDisplay = haveDisplay();
    if (!commandLine.headlessCapture && !commandLine.service && !hasDisplay) {
        printErrorLine("no display: neither DISPLAY nor WAYLAND_DISPLAY is set");
        return 1;
    }
    reportCrashesOf("tavelo-control-panel", fullVersion());
    keepPicturesOutOfHeaps();
    // Stills and movies need no display, nor does the service until its window is to be shown.
    if (commandLine.headlessCapture || !hasDisplay) qputenv("QT_QPA_PLATFORM", "offscreen");
    installQtMessages(commandLine.verbose);
    KTApplication application(argc, argv);
    if (commandLine.manual) return showManual(manualPage()) ? 0 : 1;
    const QuitSignals quitSignals;
    if (commandLine.headlessCapture) return runHeadlessCapture(commandLine, quitSignals);
    QObject::connect(&quitSignals, &QuitSignals::asked, &application, &KTApplication::quit);
    return runWindow(commandLine, application, hasDisplay);
}

} // namespace tavelo
