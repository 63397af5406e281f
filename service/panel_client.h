// SPDX-License-Identifier: MIT
// A client of the service that never starts it.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <functional>
#include <optional>
#include <string>

#include "service/service_error.h"

namespace tavelo {

/// Takes stills and movies through a panel that runs already.  Main thread; the calls wait for their answers.
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

    /// See Snapshot of the service.
    std::optional<ServiceError> snapshot(const std::string& camera, const std::string& file);

    /// Records and waits for the end of the movie.  Call once.
    /// @param seconds 0: until stop()
    std::optional<ServiceError> record(const std::string& camera, const std::string& file, double seconds);

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

    std::optional<ServiceError> call(const QString& method, const QVariantList& arguments);
    bool follow();
    void end(Ending ending);

    QDBusConnection bus_;
    QString file_; // that is being recorded
    bool hasBegun_ = false;
    bool wasStopped_ = false;
    std::optional<Ending> ending_;
    std::function<void()> endWaiting_;
};

} // namespace tavelo
