// SPDX-License-Identifier: MIT
// What the service on the session bus does.
#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "commands/control_catalog.h"
#include "commands/control_change.h"
#include "platform/capture.h"
#include "platform/preferences_store.h"
#include "platform/usb_platform.h"
#include "profiles/profile_saves.h"
#include "service/call.h"
#include "service/camera_turns.h"
#include "service/panel_host.h"

namespace tavelo {

/// What the service works with.  Everything must outlive it; `usb` may be null.
struct ServiceParts {
    CapturePlatform& capture;
    UsbPlatform* usb = nullptr;
    PreferencesStore& preferences;
    PanelHost& host;
    const ControlCatalog& catalog;
};

/// The methods of org.tavelo.ControlPanel1, which its introspection file describes.  The shown camera is
/// reached through the panel's own manager, any other one through a manager that lives for one call.
///
/// Main thread.  It never waits for a camera that the panel does not show, nor for a walk over many controls:
/// those requests are sent by the global thread pool, which must be done before this object is destroyed.
/// Calls for one camera run in the order in which they came.
class ControlPanelService final : public QObject, public CaptureDeviceObserver {
    Q_OBJECT

public:
    explicit ControlPanelService(const ServiceParts& parts);
    ~ControlPanelService() override;

    // Each answers its call.
    void list(const Call& call);
    void get(const Call& call, const QString& camera, const QString& control);
    void set(const Call& call, const QString& camera, const QVariantMap& values, const QVariantMap& options);
    void controls(const Call& call, const QString& camera);
    void reset(const Call& call, const QString& camera);
    void apply(const Call& call, const QString& camera, unsigned profile);
    void save(const Call& call, const QString& camera, unsigned profile);
    void snapshot(const Call& call, const QString& camera, const QString& file);
    void startRecording(const Call& call, const QString& camera, const QString& file, double seconds);
    void startRecordingWith(const Call& call, const QString& camera, const QString& file,
                            const QVariantMap& options);
    void stopRecording(const Call& call);
    void show(const Call& call);

    /// The shown camera's identifier; empty if there is none.
    QString shownCamera() const;
    QString recordingFile() const;
    bool isSharing() const;
    void setSharing(bool on);

    /// For Call: held while a call waits for its answer.
    std::shared_ptr<const void> pending() const { return pending_; }
    bool hasPendingCalls() const { return pending_.use_count() > 1; }

    // What the panel and whoever watches the cameras report.

    /// A control of a camera has another value; `manager` is bound to the camera.
    void controlDidChange(const std::string& camera, KTUVCControl control, KTUVCManager& manager);
    void shownCameraDidChange();
    void recordingFileDidChange();
    void sharingDidChange();
    void recordingDidEnd(const std::string& file, bool success, const std::string& reason);

Q_SIGNALS:
    /// A client has called a method.
    void called();
    void cameraAdded(const QString& camera, const QString& name);
    void cameraRemoved(const QString& camera);
    void controlChanged(const QString& camera, const QString& control, const QDBusVariant& value);
    void recordingEnded(const QString& file, bool success, const QString& reason);
    void shownCameraChanged();
    void recordingFileChanged();
    void sharingChanged();

private:
    /// A camera whose controls can be read and written.  Released on the main thread.
    struct Controls {
        std::shared_ptr<CaptureDevice> camera;
        std::shared_ptr<KTUVCManager> manager;
        bool isShown = false;
        CameraTurns::Turn turn; ///< other calls for this camera wait
    };
    /// What is needed of a camera.
    enum class Needs : std::uint8_t {
        classControls,
        anyControls, ///< those of a described extension unit suffice
    };
    /// What came of a call.
    struct Outcome {
        QVariantList answer = {};
        std::optional<ServiceError> error = {};
        std::vector<KTUVCControl> written = {}; ///< of the class
        std::vector<std::pair<const NamedControl*, std::int64_t>> writtenOfUnits = {};
    };
    /// What a call does with a camera, on any thread; no part of the service is used there.
    using Work = std::function<Outcome(const Controls& controls)>;
    enum class Length : std::uint8_t {
        brief, ///< few requests, which the panel itself would send on the main thread
        walk,  ///< many requests
    };

    void captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) override;
    void captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) override;

    std::shared_ptr<CaptureDevice> cameraNamed(const QString& text, ServiceError& error);
    /// The shown camera if the text names it, else null with the error.
    std::shared_ptr<CaptureDevice> shownCameraNamed(const QString& text, ServiceError& error);

    /// Waits for the camera's turn, binds it if the panel does not show it, and uses it; fails the call if it
    /// cannot be used.
    void withControls(const Call& call, const QString& camera, Needs needs,
                      std::function<void(const Controls& controls)> use);
    /// Does the work and ends the call.
    void run(const Call& call, const Controls& controls, Length length, const Work& work);
    void end(const Call& call, const Controls& controls, const Outcome& outcome);

    void record(const Call& call, const QString& camera, const std::string& file,
                const PanelHost::MovieOptions& options);
    void applyProfile(const Call& call, const Controls& controls, std::int64_t position);
    void saveProfile(const Call& call, const Controls& controls, std::int64_t position);
    static Outcome valueOf(const Controls& controls, const ControlCatalog& catalog, std::string_view name);
    static Outcome written(const Controls& controls, const ControlCatalog& catalog, const QVariantMap& values,
                           bool force);
    static Outcome afterReset(const Controls& controls);
    /// The error if the camera was found to be unplugged.
    static std::optional<ServiceError> whyGone(const Controls& controls);

    void tellChanged(const Controls& controls, KTUVCControl control);
    void tellValue(const std::string& camera, const NamedControl& control, std::int64_t value);

    const ServiceParts parts_;
    ProfileSaves profileSaves_;
    CameraTurns turns_{*this};
    const std::shared_ptr<const void> pending_ = std::make_shared<int>();
};

} // namespace tavelo
