// SPDX-License-Identifier: MIT
// What the service on the session bus does.
#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands/control_catalog.h"
#include "commands/control_change.h"
#include "platform/capture.h"
#include "platform/preferences_store.h"
#include "platform/usb_platform.h"
#include "profiles/profile_saves.h"
#include "service/call.h"
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
/// Main thread.  Calls are answered at once, except those that wait for pictures, the disk or a walk over
/// many controls.  The global thread pool must be done before this object is destroyed.
class ControlPanelService final : public QObject, public CaptureDeviceObserver {
    Q_OBJECT

public:
    explicit ControlPanelService(const ServiceParts& parts);
    ~ControlPanelService() override;

    // Each answers its call.
    void list(const Call& call);
    void get(const Call& call, const QString& camera, const QString& control);
    void set(const Call& call, const QString& camera, const QVariantMap& values, const QVariantMap& options);
    void reset(const Call& call, const QString& camera);
    void apply(const Call& call, const QString& camera, unsigned profile);
    void save(const Call& call, const QString& camera, unsigned profile);
    void snapshot(const Call& call, const QString& camera, const QString& file);
    void startRecording(const Call& call, const QString& camera, const QString& file, double seconds);
    void stopRecording(const Call& call);
    void show(const Call& call);

    /// The shown camera's identifier; empty if there is none.
    QString shownCamera() const;
    QString recordingFile() const;

    /// For Call: held while a call waits for its answer.
    std::shared_ptr<const void> pending() const { return pending_; }
    bool hasPendingCalls() const { return pending_.use_count() > 1; }

    // What the panel and whoever watches the cameras report.

    /// A control of a camera has another value; `manager` is bound to the camera.
    void controlDidChange(const std::string& camera, KTUVCControl control, KTUVCManager& manager);
    void shownCameraDidChange();
    void recordingFileDidChange();
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

private:
    /// A camera whose controls can be read and written.
    struct Controls {
        std::shared_ptr<CaptureDevice> camera;
        std::shared_ptr<KTUVCManager> manager;
        bool isShown = false;
    };

    void captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) override;
    void captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) override;

    std::shared_ptr<CaptureDevice> cameraNamed(const QString& text, ServiceError& error);
    /// The shown camera if the text names it, else null with the error.
    std::shared_ptr<CaptureDevice> shownCameraNamed(const QString& text, ServiceError& error);
    std::optional<Controls> controlsOf(const QString& text, ServiceError& error);
    static bool answersAgain(KTUVCManager& manager, ServiceError& error);

    /// Writes the plan up to the first value that the camera does not take.
    QVariantMap write(const Controls& controls, const std::vector<PlannedWrite>& plan,
                      std::optional<ServiceError>& error);
    /// Finds a control by its name.
    /// @param controls of the camera that a text names; bound here if the name depends on the camera
    const NamedControl* controlNamed(std::string_view name, const QString& camera,
                                     std::optional<Controls>& controls);
    void tellChanged(const Controls& controls, KTUVCControl control);
    void tellValue(const std::string& camera, const NamedControl& control, std::int64_t value);
    void resetEnded(const Controls& controls, const Call& call);

    const ServiceParts parts_;
    ProfileSaves profileSaves_;
    const std::shared_ptr<const void> pending_ = std::make_shared<int>();
};

} // namespace tavelo
