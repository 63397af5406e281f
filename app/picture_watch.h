// SPDX-License-Identifier: MIT
// Follows whether the preview shows the camera's pictures, how many, and why not.
#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>

#include "app/picture_status.h"
#include "app/shown_picture.h"
#include "panel/view_controller.h"
#include "platform/error.h"

namespace tavelo {

/// Looks once a second while a camera is shown.  What may take long, such as finding the programs that hold
/// a busy camera, runs on the global pool.  Main thread.
class PictureWatch final : public QObject {
    Q_OBJECT

public:
    /// @param panel must outlive this object
    explicit PictureWatch(ViewController& panel);

    const PictureStatus& status() const { return status_; }

    /// Looks now, and also for who holds a busy camera.
    void refresh();

Q_SIGNALS:
    /// The status has changed, even if only in its rate.
    void changed();

private:
    struct Sample {
        std::uint64_t pictures = 0;
        std::chrono::nanoseconds time{0}; // of the last one, on the capture clock
    };
    /// What is asked on the pool; the view itself does not tell why it could not open a camera.
    struct Findings {
        Error refusal; // why no input could be made
        std::vector<DeviceHolder> holders;
    };

    void cameraDidChange();
    void look();
    PictureStatus seen();
    Error trouble(bool hasInput) const;
    void sample();
    int framesPerSecond() const;
    void investigate(const std::shared_ptr<CaptureDevice>& camera);
    void take(const std::shared_ptr<CaptureDevice>& camera, const Findings& findings);

    ViewController& panel_;
    QTimer timer_;
    std::optional<ShownPicture> picture_; // absent if the panel has no preview
    PictureStatus status_;
    std::deque<Sample> samples_;
    std::shared_ptr<CaptureDevice> camera_; // that the findings are about
    Findings findings_;
    bool investigating_ = false;
};

} // namespace tavelo
