// SPDX-License-Identifier: MIT
// The program's entry point: creates the parts, connects them and runs the event loop.
#include <QIcon>
#include <QThreadPool>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "app/app_delegate.h"
#include "app/camera_access.h"
#include "app/command_line.h"
#include "app/headless_capture.h"
#include "app/kt_application.h"
#include "app/kt_window.h"
#include "app/kt_window_controller.h"
#include "app/panel_menu.h"
#include "app/program_language.h"
#include "app/qt_messages.h"
#include "app/resources/resource_bundle.h"
#include "app/screen_fit.h"
#include "app/screenshot.h"
#include "app/single_instance.h"
#include "panel/view_controller.h"
#include "platform/backends/backends.h"
#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "platform/linux/preferences/json_preferences_store.h"
#include "process/error_line.h"
#include "process/qt_main_queue.h"
#include "process/quit_signals.h"
#include "process/stderr_diagnostics.h"
#include "text/localizer.h"
#include "video/kt_display_view.h"

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

CameraOptions cameraOptions(const CommandLine& commandLine) {
    CameraOptions options = commandLine.cameras;
    options.warn = [](const std::string& line) { printErrorLine(line); };
    return options;
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

int runPanel(const CommandLine& commandLine, KTApplication& application, const SingleInstance* instance) {
    QtMainQueue mainQueue;
    StderrDiagnostics diagnostics(commandLine.verbose);
    ResourceBundle bundle;
    JsonPreferencesStore userDefaults(mainQueue);
    ProgramLanguage language(bundle, userDefaults);
    const Localizer localizer(bundle, userDefaults);
    const Backend cameras = makeCameras(cameraOptions(commandLine), mainQueue, diagnostics);
    KTUVCManager::setEnvironment({cameras.usb.get(), &localizer});

    KTWindow window(QRect(QPoint(), panelSize.toSize()), WindowStyle::borderless, true, true);
    window.setWindowTitle(KTApplication::applicationDisplayName()); // for task bars and screen readers
    KTWindowController windowController(window);
    ViewController panel(
        {KTUVCManager::sharedManager(), *cameras.capture, userDefaults, bundle, commandLine.renderer});
    QObject::connect(&panel, &ViewController::closeRequested, &windowController, &KTWindowController::close);
    QObject::connect(&panel, &ViewController::miniaturizeRequested, &windowController,
                     &KTWindowController::miniaturize);
    panel.viewDidLoad();
    panel.putInto(window);
    const ScreenFit screenFit(window, *panel.view());
    windowController.windowDidLoad();
    if (KTDisplayView* display = panel.displayView()) {
        display->mtkView()->setAssetWriteManager(
            std::make_shared<KTAssetWriterManager>(makeFfmpegAssetWriterPlatform(diagnostics)));
        display->mtkView()->setDiagnostics(diagnostics);
    }

    const CameraAccess cameraAccess;
    AppDelegate delegate(windowController, cameraAccess);
    delegate.applicationDidFinishLaunching();
    if (instance != nullptr)
        QObject::connect(instance, &SingleInstance::reopened, &window, [&] {
            delegate.applicationShouldHandleReopenHasVisibleWindows(window.isVisible());
        });

    const PanelMenu menu(window, bundle, language);
    QObject::connect(&menu, &PanelMenu::aboutChosen, &application,
                     [&] { application.orderFrontStandardAboutPanelWithOptions({}, bundle); });
    QObject::connect(&menu, &PanelMenu::reconnectChosen, &panel, &ViewController::reconnectCamera);
    QObject::connect(&menu, &PanelMenu::languageChanged, &panel, &ViewController::languageDidChange);
    QObject::connect(&menu, &PanelMenu::quitChosen, &application, &KTApplication::quit);

    std::optional<Screenshot> screenshot;
    if (commandLine.screenshot) screenshot.emplace(window, panel.displayView(), *commandLine.screenshot);
    const int status = KTApplication::exec();
    delegate.applicationWillTerminate();
    // Settings pushes that still run use the manager, and the manager uses the backends.
    QThreadPool::globalInstance()->waitForDone();
    KTUVCManager::sharedManager().releasePlatform();
    return status;
}

int runWindow(const CommandLine& commandLine, KTApplication& application) {
    application.setWindowIcon(QIcon(QStringLiteral(":/images/tavelo-control-panel.svg")));
    // A screenshot gets its own window, even if a panel is already running.
    if (commandLine.screenshot) return runPanel(commandLine, application, nullptr);

    SingleInstance instance;
    if (instance.role() == SingleInstance::Role::second) return showFirstPanel(instance, commandLine);
    // Starting the program again shows a closed window, but only if there is a bus to ask for it.
    application.setQuitOnLastWindowClosed(instance.role() == SingleInstance::Role::alone);
    return runPanel(commandLine, application, &instance);
}

// Takes a still or a movie, even if a panel is already running.
int runHeadlessCapture(const CommandLine& commandLine, const QuitSignals& quitSignals) {
    QtMainQueue mainQueue;
    StderrDiagnostics diagnostics(commandLine.verbose);
    const Backend cameras = makeCameras(cameraOptions(commandLine), mainQueue, diagnostics);
    HeadlessCapture capture(*cameras.capture, makeFfmpegAssetWriterPlatform(diagnostics),
                            *commandLine.headlessCapture, commandLine.renderer);
    QObject::connect(&quitSignals, &QuitSignals::asked, &capture, &HeadlessCapture::stop);
    QMetaObject::invokeMethod(&capture, &HeadlessCapture::start, Qt::QueuedConnection);
    return KTApplication::exec();
}

int runProgram(const CommandLine& commandLine, int& argc, char** argv) {
    // Stills and movies need no display.
    if (commandLine.headlessCapture) qputenv("QT_QPA_PLATFORM", "offscreen");
    installQtMessages(commandLine.verbose);
    KTApplication application(argc, argv);
    const QuitSignals quitSignals;
    if (commandLine.headlessCapture) return runHeadlessCapture(commandLine, quitSignals);
    QObject::connect(&quitSignals, &QuitSignals::asked, &application, &KTApplication::quit);
    return runWindow(commandLine, application);
}

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    const auto parsed = tavelo::parseCommandLine(argc, argv);
    if (const auto* exit = std::get_if<tavelo::CommandLineExit>(&parsed)) {
        std::fputs(exit->output.c_str(), stdout);
        std::fputs(exit->error.c_str(), stderr);
        return exit->status;
    }
    const auto& commandLine = std::get<tavelo::CommandLine>(parsed);
    if (!commandLine.headlessCapture && !tavelo::haveDisplay()) {
        tavelo::printErrorLine("no display: neither DISPLAY nor WAYLAND_DISPLAY is set");
        return 1;
    }
    return tavelo::runProgram(commandLine, argc, argv);
}
