// SPDX-License-Identifier: MIT
// A client of the service that never starts it.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariant>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "commands/camera_choice.h"
#include "service/bus_types.h"
#include "service/service_error.h"

namespace tavelo {

/// A panel that runs already.  Main thread; the calls wait for their answers.
class PanelClient final : public QObject {
    Q_OBJECT

public:
    explicit PanelClient(QDBusConnection bus);

    /// The session bus if there is one; never starts a bus.
    static QDBusConnection sessionBusIfAny();

    /// Whether the service's name has an owner.
    bool panelRuns() const;
    /// Whether it shows a camera.  A service whose window was never shown does not; a panel that does not
    /// answer in time counts as one that does.
    bool panelShowsCamera() const;

    struct Camera {
        CameraNames names;
        bool isShown = false;
    };

    // Named as the service's methods.  Each returns nothing, with the error, if it fails.

    std::optional<std::vector<Camera>> list(ServiceError& error);
    std::optional<QVariant> get(const std::string& camera, const std::string& control, ServiceError& error);
    /// What the camera took.
    std::optional<QVariantMap> set(const std::string& camera, const QVariantMap& values, bool force,
                                   ServiceError& error);
    std::optional<Descriptions> controls(const std::string& camera, ServiceError& error);

    /// See Snapshot of the service.
    std::optional<ServiceError> snapshot(const std::string& camera, const std::string& file);

    /// Records and waits for the end of the movie.  Call once.
    /// @param seconds 0: until stop()
    /// @param sound as StartRecordingWith takes it; empty: none
    std::optional<ServiceError> record(const std::string& camera, const std::string& file, double seconds,
                                       const std::string& sound = {});
    /// What a movie that was recorded lacks of its sound, or empty.
    std::string note() const { return ending_ ? ending_->reason : std::string(); }

    /// Ends the movie early; during record().
    void stop();

private Q_SLOTS:
    void recordingDidEnd(const QString& file, bool success, const QString& reason);
    void ownerDidChange(const QString& name, const QString& before, const QString& after);

private:
    struct Ending {
        bool success = false;
        std::string reason;
    };

    /// The values of the answer; nothing, with the error, if the call failed.
    std::optional<QVariantList> ask(const QString& method, const QVariantList& arguments,
                                    ServiceError& error);
    std::optional<ServiceError> call(const QString& method, const QVariantList& arguments);
    bool follow();
    std::optional<ServiceError> start(const std::string& camera, double seconds, const std::string& sound);
    void end(Ending ending);

    QDBusConnection bus_;
    QString file_; // that is being recorded
    bool hasBegun_ = false;
    bool wasStopped_ = false;
    std::optional<Ending> ending_;
    std::function<void()> endWaiting_;
};

} // namespace tavelo
