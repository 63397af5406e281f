// SPDX-License-Identifier: MIT
#include "cli/session.h"

#include <QEventLoop>
#include <optional>
#include <utility>

#include "cli/json_output.h"
#include "commands/camera_choice.h"
#include "commands/control_state.h"
#include "platform/uvc/descriptors.h"
#include "probe/video_function_search.h"
#include "process/stderr_diagnostics.h"

namespace tavelo {
namespace {

constexpr auto noControls = "it has no controls, or does not answer (taveloctl probe says which)";

// From the descriptors: a camera need not be opened to know which units it has.
BusProberDevice unitsOf(UsbPlatform& usb, const std::string& uniqueID) {
    const FoundVideoFunction found = findVideoFunction(usb, uniqueID);
    const auto facts = found.device ? found.device->facts() : std::nullopt;
    if (!facts) return {};
    return probeDescriptors(facts->descriptors.device, facts->descriptors.configuration,
                            found.controlInterface);
}

} // namespace

Session::Session(SessionOptions options, const SessionEnvironment& environment)
    : options_(std::move(options)),
      environment_(environment),
      diagnostics_(std::make_unique<StderrDiagnostics>(options_.verbose)) {}

Backend& Session::backend() {
    if (!backend_) {
        CameraOptions cameras = options_.cameras;
        Error error;
        if (!options_.like.empty() && !useCamerasLike(cameras, options_.like, error))
            throw Failure(ExitStatus::failed, options_.like + ": " + error.text);
        cameras.warn = [this](const std::string& line) { warn(line); };
        backend_ = std::make_unique<Backend>(environment_.makeCameras(cameras, *diagnostics_));
    }
    return *backend_;
}

CapturePlatform& Session::capture() {
    return *backend().capture;
}

std::shared_ptr<SoundPlatform> Session::sounds() {
    return backend().sound;
}

UsbPlatform& Session::usb() {
    return *backend().usb;
}

const std::vector<std::shared_ptr<CaptureDevice>>& Session::cameras() {
    if (!std::exchange(hasListed_, true)) cameras_ = capture().devicesWithMediaType(MediaType::video);
    return cameras_;
}

std::shared_ptr<CaptureDevice> Session::camera() {
    return cameraNamed(options_.camera);
}

std::shared_ptr<CaptureDevice> Session::cameraNamed(std::string_view text) {
    std::string reason;
    const auto position = chooseCamera(cameras(), text, reason);
    if (!position)
        throw Failure(text.empty() && !cameras().empty() ? ExitStatus::usage : ExitStatus::noCamera, reason);
    return cameras()[*position];
}

KTUVCManager& Session::controlsOf(const std::shared_ptr<CaptureDevice>& camera) {
    KTUVCManager& manager = bound(*camera);
    if (!manager.isControllable()) failToReach(*camera, noControls);
    return manager;
}

KTUVCManager& Session::anyControls() {
    const auto chosen = camera();
    KTUVCManager& manager = bound(*chosen);
    // The descriptions are read only if they matter.
    if (!manager.isControllable() && !hasControls(manager, catalog())) failToReach(*chosen, noControls);
    return manager;
}

KTUVCManager& Session::bound(const CaptureDevice& camera) {
    if (!manager_) {
        manager_ = std::make_unique<KTUVCManager>(KTUVCEnvironment{.usb = backend().usb.get()});
        manager_->initProberWithBusProberScopeProberDelegate(2, nullptr);
    }
    manager_->refreshDataWithUniqueIDString(camera.uniqueID());
    checkIsThere(camera, *manager_);
    return *manager_;
}

const ControlCatalog& Session::catalog() {
    if (!catalog_) {
        std::vector<ExtensionControl> described;
        if (environment_.readDescriptions)
            described = environment_.readDescriptions([this](const std::string& line) { warn(line); });
        catalog_ = std::make_unique<const ControlCatalog>(std::move(described));
    }
    return *catalog_;
}

const NamedControl* Session::controlNamed(std::string_view name) {
    // The class's names need no file.
    if (const NamedControl* ofTheClass = tavelo::controlNamed(name)) return ofTheClass;
    if (!catalog().needsCamera(name)) return catalog().find(name, nullptr);
    const BusProberDevice units = unitsOf(usb(), camera()->uniqueID());
    return catalog().find(name, &units);
}

const NamedControl* Session::controlOfAnyCamera(std::string_view name) {
    const NamedControl* ofTheClass = tavelo::controlNamed(name);
    return ofTheClass != nullptr ? ofTheClass : catalog().find(name, nullptr);
}

void Session::warn(const std::string& line) const {
    if (environment_.warn) environment_.warn(line);
}

void Session::failToReach(CaptureDevice& camera, const std::string& otherwise) {
    Error error;
    camera.makeInput(error);
    const std::string name = camera.localizedName() + ": ";
    if (error.code == ErrorCode::denied)
        throw Failure(ExitStatus::denied, name + error.text + " (add yourself to the group \"video\")");
    if (error.code != ErrorCode::none) throw Failure(statusOf(error.code), name + error.text);
    throw Failure(ExitStatus::failed, name + otherwise);
}

void Session::checkIsThere(const CaptureDevice& camera, const KTUVCManager& manager) {
    if (manager.failure() == ErrorCode::gone)
        throw Failure(ExitStatus::noCamera, camera.localizedName() + ": it was unplugged");
}

PreferencesStore& Session::preferences() {
    if (!preferences_) preferences_ = environment_.makePreferences();
    return *preferences_;
}

void Session::savePreferences() {
    std::optional<bool> saved;
    QEventLoop loop;
    preferences().synchronize([&](bool success) {
        saved = success;
        loop.quit();
    });
    if (!saved) loop.exec();
    // The store has printed why.
    if (!saved.value_or(false)) throw Failure(ExitStatus::failed, "nothing was saved");
}

void Session::printJson(QJsonObject object) {
    print(jsonLine(std::move(object)));
}

} // namespace tavelo
