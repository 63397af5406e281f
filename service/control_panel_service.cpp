// SPDX-License-Identifier: MIT
// Controls, pictures and the window; cameras and profiles are in the files beside this one.
#include "service/control_panel_service.h"

#include <QThreadPool>
#include <utility>

#include "commands/control_change.h"
#include "service/arguments.h"
#include "service/values.h"

namespace tavelo {
namespace {

using Kind = ServiceError::Kind;

constexpr qsizetype longestControl = 64;

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

ServiceError refusal(const KTUVCManager& manager, const PlannedWrite& planned) {
    const std::string name(planned.control->name);
    const std::string value = valueText(*planned.control, planned.value);
    switch (manager.failure()) {
        case ErrorCode::gone:
            return {Kind::noSuchCamera, name + ": the camera was unplugged"};
        case ErrorCode::none:
        case ErrorCode::refused:
            return {Kind::refused, name + ": the camera refused " + value};
        default:
            return {Kind::failed, name + ": the camera did not answer"};
    }
}

} // namespace

ControlPanelService::ControlPanelService(const ServiceParts& parts)
    : parts_(parts),
      profileSaves_(parts.preferences) {
    parts_.capture.addObserver(this);
}

ControlPanelService::~ControlPanelService() {
    parts_.capture.removeObserver(this);
}

void ControlPanelService::get(const Call& call, const QString& camera, const QString& control) {
    ServiceError error{Kind::invalid,
                       "no control is called \"" + control.left(longestControl).toStdString() + "\""};
    std::optional<Controls> controls;
    const NamedControl* const named =
        control.size() <= longestControl ? controlNamed(control.toStdString(), camera, controls) : nullptr;
    if (named == nullptr) return call.fail(error);
    if (!controls) controls = controlsOf(camera, error);
    if (!controls) return call.fail(error);
    const auto state = controlState(*controls->manager, *named, false);
    if (!state) return call.fail({Kind::refused, absenceText(*controls->manager, *named)});
    call.answer({QVariant::fromValue(QDBusVariant(variantOf(*named, state->value)))});
}

void ControlPanelService::set(const Call& call, const QString& camera, const QVariantMap& values,
                              const QVariantMap& options) {
    ServiceError error;
    const auto setOptions = arguments::setOptions(options, error);
    if (!setOptions) return call.fail(error);
    std::optional<Controls> controls;
    const auto find = [&](std::string_view name) { return controlNamed(name, camera, controls); };
    const auto changes = changesOf(values, find, error);
    if (!changes) return call.fail(error);
    if (!controls) controls = controlsOf(camera, error);
    if (!controls) return call.fail(error);
    error.kind = Kind::refused;
    const auto plan = planChanges(*controls->manager, *changes, setOptions->force, error.text);
    if (!plan) return call.fail(error);
    std::optional<ServiceError> refused;
    const QVariantMap taken = write(*controls, *plan, refused);
    if (refused) return call.fail(*refused);
    call.answer({taken});
}

const NamedControl* ControlPanelService::controlNamed(std::string_view name, const QString& camera,
                                                      std::optional<Controls>& controls) {
    ServiceError error; // what is wrong with the camera is told once it is needed
    if (!controls && parts_.catalog.needsCamera(name)) controls = controlsOf(camera, error);
    return parts_.catalog.find(name, controls ? controls->manager->device().get() : nullptr);
}

QVariantMap ControlPanelService::write(const Controls& controls, const std::vector<PlannedWrite>& plan,
                                       std::optional<ServiceError>& error) {
    QVariantMap taken;
    for (const PlannedWrite& planned : plan) {
        const auto value = tavelo::write(*controls.manager, planned);
        if (!value) {
            error = refusal(*controls.manager, planned);
            break;
        }
        const NamedControl& control = *planned.control;
        taken.insert(toQString(control.name), variantOf(control, *value));
        if (control.control)
            tellChanged(controls, *control.control);
        else
            tellValue(controls.camera->uniqueID(), control, *value);
    }
    return taken;
}

void ControlPanelService::reset(const Call& call, const QString& camera) {
    ServiceError error;
    const auto controls = controlsOf(camera, error);
    if (!controls) return call.fail(error);
    // The walk takes a slow camera seconds.
    QThreadPool::globalInstance()->start([this, controls = *controls, call = Call(call),
                                          binding = controls->manager->bindingIdentity()]() mutable {
        if (controls.manager->bindingIdentity() == binding) controls.manager->resetParamsToDefaults();
        // Moved, because a manager is released on the main thread.
        QMetaObject::invokeMethod(
            this,
            [this, controls = std::move(controls), call = std::move(call), binding] {
                if (controls.manager->bindingIdentity() == binding) return resetEnded(controls, call);
                call.fail({Kind::failed, "the panel shows another camera now"});
            },
            Qt::QueuedConnection);
    });
}

void ControlPanelService::resetEnded(const Controls& controls, const Call& call) {
    for (const ControlRow& row : controlTable())
        if (controls.manager->record(row.control)->supported()) tellChanged(controls, row.control);
    const ErrorCode failure = controls.manager->failure();
    if (failure == ErrorCode::none || failure == ErrorCode::refused) return call.answer();
    const bool gone = failure == ErrorCode::gone;
    call.fail({gone ? Kind::noSuchCamera : Kind::failed,
               controls.camera->localizedName() + (gone ? ": it was unplugged" : ": it did not answer")});
}

void ControlPanelService::snapshot(const Call& call, const QString& camera, const QString& file) {
    ServiceError error;
    const auto path = arguments::file(file, error);
    if (!path || !shownCameraNamed(camera, error)) return call.fail(error);
    parts_.host.takeSnapshot(*path,
                             [call](const std::optional<ServiceError>& failure) { call.end(failure); });
}

void ControlPanelService::startRecording(const Call& call, const QString& camera, const QString& file,
                                         double seconds) {
    ServiceError error;
    const auto path = arguments::file(file, error);
    const auto length = arguments::length(seconds, error);
    if (!path || !length || !shownCameraNamed(camera, error)) return call.fail(error);
    if (const std::string other = parts_.host.recordingFile(); !other.empty())
        return call.fail({Kind::busy, "a movie is being recorded: " + other});
    parts_.host.startRecording(*path, length->seconds,
                               [call](const std::optional<ServiceError>& failure) { call.end(failure); });
}

void ControlPanelService::stopRecording(const Call& call) {
    if (!parts_.host.stopRecording()) return call.fail({Kind::failed, "no movie is being recorded"});
    call.answer();
}

void ControlPanelService::show(const Call& call) {
    call.end(parts_.host.show());
}

QString ControlPanelService::recordingFile() const {
    return QString::fromStdString(parts_.host.recordingFile());
}

void ControlPanelService::tellChanged(const Controls& controls, KTUVCControl control) {
    if (controls.isShown) parts_.host.controlDidChange(control);
    controlDidChange(controls.camera->uniqueID(), control, *controls.manager);
}

void ControlPanelService::controlDidChange(const std::string& camera, KTUVCControl control,
                                           KTUVCManager& manager) {
    for (const NamedControl& named : namedControls()) {
        if (named.control != control) continue;
        tellValue(camera, named, shareOf(named, manager.record(control)->val()));
    }
}

void ControlPanelService::tellValue(const std::string& camera, const NamedControl& control,
                                    std::int64_t value) {
    Q_EMIT controlChanged(QString::fromStdString(camera), toQString(control.name),
                          QDBusVariant(variantOf(control, value)));
}

void ControlPanelService::shownCameraDidChange() {
    Q_EMIT shownCameraChanged();
}

void ControlPanelService::recordingFileDidChange() {
    Q_EMIT recordingFileChanged();
}

void ControlPanelService::recordingDidEnd(const std::string& file, bool success, const std::string& reason) {
    Q_EMIT recordingEnded(QString::fromStdString(file), success, QString::fromStdString(reason).simplified());
}

} // namespace tavelo
