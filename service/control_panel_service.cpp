// SPDX-License-Identifier: MIT
// Controls, pictures and the window; cameras and profiles are in the files beside this one.
#include "service/control_panel_service.h"

#include "commands/control_change.h"
#include "service/arguments.h"
#include "service/bus_types.h"
#include "service/values.h"

namespace tavelo {
namespace {

using Kind = ServiceError::Kind;

constexpr qsizetype longestControl = 64;

ServiceError refusal(const KTUVCManager& manager, const PlannedWrite& planned) {
    const ErrorCode failure = manager.failure();
    return {failure == ErrorCode::none ? Kind::refused : errorKindOf(failure),
            writeFailureText(manager, planned)};
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
    const ServiceError unknown{Kind::invalid,
                               "no control is called \"" + control.left(longestControl).toStdString() + "\""};
    const std::string name = control.size() <= longestControl ? control.toStdString() : std::string();
    if (parts_.catalog.find(name, nullptr) == nullptr) return call.fail(unknown);
    withControls(call, camera, Needs::anyControls, [this, call, name](const Controls& controls) {
        run(call, controls, Length::brief,
            [&catalog = parts_.catalog, name](const Controls& used) { return valueOf(used, catalog, name); });
    });
}

ControlPanelService::Outcome ControlPanelService::valueOf(const Controls& controls,
                                                          const ControlCatalog& catalog,
                                                          std::string_view name) {
    KTUVCManager& manager = *controls.manager;
    const NamedControl& control = *catalog.find(name, manager.device().get());
    const auto state = controlState(manager, control, false);
    if (!state) return {.error = ServiceError{Kind::refused, absenceText(manager, control)}};
    return {.answer = {QVariant::fromValue(QDBusVariant(variantOf(control, state->value)))}};
}

void ControlPanelService::set(const Call& call, const QString& camera, const QVariantMap& values,
                              const QVariantMap& options) {
    ServiceError error;
    const auto setOptions = arguments::setOptions(options, error);
    if (!setOptions) return call.fail(error);
    withControls(call, camera, Needs::anyControls,
                 [this, call, values, force = setOptions->force](const Controls& controls) {
                     run(call, controls, Length::brief,
                         [&catalog = parts_.catalog, values, force](const Controls& used) {
                             return written(used, catalog, values, force);
                         });
                 });
}

// Up to the first value that the camera does not take.
ControlPanelService::Outcome ControlPanelService::written(const Controls& controls,
                                                          const ControlCatalog& catalog,
                                                          const QVariantMap& values, bool force) {
    KTUVCManager& manager = *controls.manager;
    const auto device = manager.device();
    const auto find = [&](std::string_view name) { return catalog.find(name, device.get()); };
    ServiceError error;
    const auto changes = changesOf(values, find, error);
    if (!changes) return {.error = error};
    error.kind = Kind::refused;
    const auto plan = planChanges(manager, *changes, force, error.text);
    if (!plan) return {.error = error};
    Outcome outcome;
    QVariantMap taken;
    for (const PlannedWrite& planned : *plan) {
        const NamedControl& control = *planned.control;
        const auto value = tavelo::write(manager, planned);
        if (!value) {
            outcome.error = refusal(manager, planned);
            break;
        }
        taken.insert(QString::fromUtf8(control.name), variantOf(control, *value));
        if (control.control)
            outcome.written.push_back(*control.control);
        else
            outcome.writtenOfUnits.emplace_back(&control, *value);
    }
    outcome.answer = {taken};
    return outcome;
}

void ControlPanelService::controls(const Call& call, const QString& camera) {
    withControls(call, camera, Needs::anyControls, [this, call](const Controls& controls) {
        run(call, controls, Length::walk, [&catalog = parts_.catalog](const Controls& used) -> Outcome {
            Descriptions described;
            for (const ControlState& state : controlStates(*used.manager, catalog))
                described.append(description(state));
            return {.answer = {QVariant::fromValue(described)}, .error = whyGone(used)};
        });
    });
}

void ControlPanelService::reset(const Call& call, const QString& camera) {
    withControls(call, camera, Needs::classControls,
                 [this, call](const Controls& controls) { run(call, controls, Length::walk, afterReset); });
}

ControlPanelService::Outcome ControlPanelService::afterReset(const Controls& controls) {
    KTUVCManager& manager = *controls.manager;
    manager.resetParamsToDefaults();
    Outcome outcome;
    for (const ControlRow& row : controlTable())
        if (manager.record(row.control)->supported()) outcome.written.push_back(row.control);
    outcome.error = whyGone(controls);
    if (outcome.error) return outcome;
    const ErrorCode failure = manager.failure();
    const std::string name = controls.camera->localizedName();
    if (failure != ErrorCode::none && failure != ErrorCode::refused)
        outcome.error = ServiceError{Kind::failed, name + ": it did not answer"};
    else if (manager.interface() == nullptr)
        outcome.error = ServiceError{Kind::failed, name + ": the panel let go of it"};
    return outcome;
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
    if (!path || !length) return call.fail(error);
    record(call, camera, *path, {length->seconds});
}

void ControlPanelService::startRecordingWith(const Call& call, const QString& camera, const QString& file,
                                             const QVariantMap& options) {
    ServiceError error;
    const auto path = arguments::file(file, error);
    const auto checked = arguments::recordingOptions(options, error);
    if (!path || !checked) return call.fail(error);
    record(call, camera, *path, {checked->length.seconds, checked->sound});
}

void ControlPanelService::record(const Call& call, const QString& camera, const std::string& file,
                                 const PanelHost::MovieOptions& options) {
    ServiceError error;
    if (!shownCameraNamed(camera, error)) return call.fail(error);
    if (const std::string other = parts_.host.recordingFile(); !other.empty())
        return call.fail({Kind::busy, "a movie is being recorded: " + other});
    parts_.host.startRecording(file, options,
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

bool ControlPanelService::isSharing() const {
    return parts_.host.isSharing();
}

void ControlPanelService::setSharing(bool on) {
    parts_.host.setSharing(on);
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
    Q_EMIT controlChanged(QString::fromStdString(camera), QString::fromUtf8(control.name),
                          QDBusVariant(variantOf(control, value)));
}

void ControlPanelService::shownCameraDidChange() {
    Q_EMIT shownCameraChanged();
}

void ControlPanelService::recordingFileDidChange() {
    Q_EMIT recordingFileChanged();
}

void ControlPanelService::sharingDidChange() {
    Q_EMIT sharingChanged();
}

void ControlPanelService::recordingDidEnd(const std::string& file, bool success, const std::string& reason) {
    Q_EMIT recordingEnded(QString::fromStdString(file), success, QString::fromStdString(reason).simplified());
}

} // namespace tavelo
