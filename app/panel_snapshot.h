// SPDX-License-Identifier: MIT
// Writes the picture that the panel shows to a file.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/capture.h"
#include "service/panel_host.h"

namespace tavelo {

class KTDisplayView;

/// Waits for the next picture, so that a camera that has fallen silent does not give an old one, and writes
/// it. Deletes itself afterwards.  Main thread.
class PanelSnapshot final : public QObject {
    Q_OBJECT

public:
    struct Request {
        std::shared_ptr<CaptureDevice> camera; ///< that the view shows
        std::uint64_t firstPicture = 0;        ///< of the view, that shows this camera
        std::string file;
        PanelHost::Handler ended;
    };

    /// @param parent deletes it early; must not outlive the view
    PanelSnapshot(KTDisplayView& view, Request request, QObject& parent);

private:
    void poll();
    void write();
    void written(bool success, const Error& error);
    void end(const std::optional<ServiceError>& error);

    KTDisplayView& view_;
    const Request request_;
    std::uint64_t wanted_; // drawn pictures
    QTimer timer_;
    QElapsedTimer waiting_;
};

} // namespace tavelo
