// SPDX-License-Identifier: MIT
// Takes a still or records a movie without a window.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "app/headless_capture_options.h"
#include "platform/asset_writer.h"
#include "platform/capture.h"
#include "platform/sound_source.h"
#include "process/exit_status.h"
#include "video/renderer_choice.h"

namespace tavelo {

class KTDisplayView;
class RecordingSound;
class TimedRecorder;

/// Uses the same capture view, renderer and recorder as the panel.  Ends the event loop with an
/// ExitStatus, and with one line on the standard error stream unless it is done.  A movie that lacks its
/// sound is done too; one line says so.
///
///     waiting for pictures --> writing the still ------------------------------> done
///                          --> recording --time over, stop(), camera gone--> finishing --> done
///
/// Main thread.
class HeadlessCapture final : public QObject, public CaptureDeviceObserver {
    Q_OBJECT

public:
    /// `capture` must outlive this object; without `sounds` a movie has no sound.
    HeadlessCapture(CapturePlatform& capture, std::shared_ptr<AssetWriterPlatform> assetWriters,
                    HeadlessCaptureOptions options, RendererChoice renderer,
                    std::shared_ptr<SoundPlatform> sounds = nullptr);
    ~HeadlessCapture() override;

    /// Starts the camera and returns; the work is done in the event loop.
    void start();

    /// Ends early: a movie is finished with what was recorded, a still is not written.
    void stop();

private:
    enum class State : std::uint8_t { waiting, writing, recording, finishing, done };

    void captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) override;
    void captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) override;

    std::shared_ptr<CaptureDevice> chosenCamera();
    void poll();
    void endWithoutPicture();
    bool soundIsMissing();
    void begin();
    void finishMovie();
    void didWrite(bool success, const Error& error);
    void end(ExitStatus status, const std::string& message = {});

    CapturePlatform& capture_;
    const std::shared_ptr<AssetWriterPlatform> assetWriters_;
    const HeadlessCaptureOptions options_;
    const RendererChoice renderer_;
    const std::shared_ptr<SoundPlatform> sounds_;

    State state_ = State::waiting;
    std::string cutShortReason_; // why the movie ended early
    std::shared_ptr<CaptureDevice> camera_;
    std::shared_ptr<TimedRecorder> recorder_;
    std::unique_ptr<KTDisplayView> view_;
    std::unique_ptr<RecordingSound> sound_;
    QTimer timer_;
    QElapsedTimer silence_; // since the last new picture
    std::uint64_t pictures_ = 0;
};

} // namespace tavelo
