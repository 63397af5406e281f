// SPDX-License-Identifier: MIT
#include "app/panel_program.h"

#include <QThreadPool>
#include <QTimer>
#include <chrono>
#include <utility>

#include "extensions/json/description_folders.h"
#include "platform/backends/backends.h"
#include "platform/linux/movie/module/late_asset_writer_platform.h"
#include "platform/linux/preferences/json_preferences_store.h"
#include "process/data_folders.h"
#include "process/error_line.h"
#include "video/kt_display_view.h"

namespace tavelo {
namespace {

using namespace std::chrono_literals;

// How long a program that never showed its window waits for the next call.
constexpr auto idlePatience = 2min;

} // namespace

CameraOptions panelCameraOptions(const CommandLine& commandLine) {
    CameraOptions options = commandLine.cameras;
    options.warn = [](const std::string& line) { printErrorLine(line); };
    return options;
}

PanelProgram::PanelProgram(const CommandLine& commandLine, KTApplication& application,
                           SingleInstance* instance, bool hasDisplay)
    : commandLine_(commandLine),
      application_(application),
      hasDisplay_(hasDisplay),
      diagnostics_(commandLine.verbose),
      userDefaults_(std::make_unique<JsonPreferencesStore>(mainQueue_)),
      language_(bundle_, *userDefaults_),
      localizer_(bundle_, *userDefaults_),
      cameras_(makeCameras(panelCameraOptions(commandLine), mainQueue_, diagnostics_)),
      assetWriters_(makeLateAssetWriterPlatform(diagnostics_)),
      catalog_(readDescriptions(extensionUnitFolders(), isClassControl,
                                [](const std::string& line) { printErrorLine(line); })),
      host_(
          assetWriters_, [this] { return show(); }, cameras_.pictureShare, cameras_.sound) {
    KTUVCManager::setEnvironment({cameras_.usb.get(), &localizer_});
    if (instance != nullptr && instance->role() == SingleInstance::Role::first) serve(*instance);
}

PanelProgram::~PanelProgram() {
    // Settings pushes that still run use the manager, and the manager uses the backends.
    QThreadPool::globalInstance()->waitForDone();
    service_.reset();
    KTUVCManager::sharedManager().releasePlatform();
}

void PanelProgram::serve(SingleInstance& instance) {
    service_.emplace(ServiceParts{*cameras_.capture, cameras_.usb.get(), *userDefaults_, host_, catalog_});
    ControlPanelService& service = *service_;
    instance.busAdaptor()->setService(service);
    QObject::connect(&host_, &WindowHost::shownCameraChanged, &service,
                     &ControlPanelService::shownCameraDidChange);
    QObject::connect(&host_, &WindowHost::recordingFileChanged, &service,
                     &ControlPanelService::recordingFileDidChange);
    QObject::connect(&host_, &WindowHost::recordingEnded, &service, &ControlPanelService::recordingDidEnd);
    QObject::connect(&host_, &WindowHost::sharingChanged, &service, &ControlPanelService::sharingDidChange);
    QObject::connect(&host_, &WindowHost::controlChanged, &service, [this](KTUVCControl control) {
        if (const auto camera = host_.shownCamera())
            service_->controlDidChange(camera->uniqueID(), control, host_.shownControls());
    });
    QObject::connect(&instance, &SingleInstance::reopened, &host_, [this] { show(); });
    QObject::connect(&instance, &SingleInstance::replaced, &application_, &KTApplication::quit);
    if (commandLine_.service) endWhenIdle(instance);
}

void PanelProgram::endWhenIdle(SingleInstance& instance) {
    idleEnd_.emplace(idlePatience, [this] { return !window_ && !service_->hasPendingCalls(); });
    QObject::connect(&instance, &SingleInstance::busWasLost, &host_, [this] {
        if (!window_) KTApplication::quit();
    });
    QObject::connect(&*service_, &ControlPanelService::called, &*idleEnd_, &IdleEnd::restart);
    QObject::connect(&*idleEnd_, &IdleEnd::reached, &host_, [this, &instance] {
        instance.letGoOfName();
        // Calls that came before are in the event queue, and are answered first.
        QTimer::singleShot(0, &host_, [this] {
            if (service_->hasPendingCalls())
                idleEnd_->restart();
            else
                KTApplication::quit();
        });
    });
}

std::optional<ServiceError> PanelProgram::show() {
    if (!hasDisplay_)
        return ServiceError{ServiceError::Kind::failed,
                            "no display: neither DISPLAY nor WAYLAND_DISPLAY is set"};
    if (window_) {
        window_->show();
        return {};
    }
    PanelOptions panel{KTUVCManager::sharedManager(), *cameras_.capture, *userDefaults_, bundle_,
                       commandLine_.renderer};
    panel.bindsFirstCameraLater = true;
    window_.emplace(PanelWindowParts{application_, std::move(panel), language_, assetWriters_, diagnostics_,
                                     catalog_, host_});
    host_.setPanel(window_->panel());
    return {};
}

int PanelProgram::run() {
    if (!commandLine_.service) show();
    if (commandLine_.share) host_.setSharing(true);
    if (commandLine_.screenshot) {
        window_->panel().finishBinding(); // the picture shows the camera's values
        screenshot_.emplace(window_->window(), window_->panel().displayView(), *commandLine_.screenshot);
    }
    return KTApplication::exec();
}

} // namespace tavelo
