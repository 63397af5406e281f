// SPDX-License-Identifier: MIT
// A movie of the camera that the panel shows.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "app/recording_sound.h"
#include "platform/asset_writer.h"
#include "platform/capture.h"
#include "platform/sound_source.h"
#include "service/panel_host.h"

namespace tavelo {

class KTDisplayView;
class TimedRecorder;

/// Records from the next picture on.  Ends after its duration, when it is stopped, when the camera is no
/// longer shown, and when it falls silent.
///
///     waiting for pictures --> starting --first picture--> recording --> finishing --> done
///
/// Main thread.
class PanelRecording final : public QObject {
    Q_OBJECT

public:
    struct Request {
        std::shared_ptr<CaptureDevice> camera; ///< that the view shows
        std::uint64_t firstPicture = 0;        ///< of the view, that shows this camera
        std::string file;
        std::optional<PanelHost::Seconds> duration; ///< absent: until stop()
        SoundChoice sound;
        PanelHost::Handler started; ///< called once; with an error nothing else follows
        /// For the next picture; shorter than a client's, long enough for a slow, emulated machine.
        std::chrono::milliseconds patience{15'000};
    };

    /// @param view must outlive this object
    /// @param sounds null: the movie has no sound
    PanelRecording(KTDisplayView& view, std::shared_ptr<AssetWriterPlatform> assetWriters,
                   std::shared_ptr<SoundPlatform> sounds, Request request);
    /// Finishes a movie that is still being recorded, and waits for it.
    ~PanelRecording() override;

    const std::string& file() const { return request_.file; }
    const std::shared_ptr<CaptureDevice>& camera() const { return request_.camera; }

    /// @param reason why it ends early; empty if the user wants it
    void stop(const std::string& reason = {});

Q_SIGNALS:
    /// Called once, at last; without a movie only `started` gets the reason.
    /// @param reason why it failed; on success what the movie lacks of its sound, or empty
    /// @param isOfFile whether the file system is the reason
    void ended(bool begun, bool success, const std::string& reason, bool isOfFile);

private:
    enum class State : std::uint8_t { waiting, starting, recording, finishing, done };

    void poll();
    bool soundIsMissing();
    std::string soundNote() const;
    void begin();
    void failToBegin();
    void didWrite(bool success, const Error& error);
    void end(const std::optional<ServiceError>& error);

    KTDisplayView& view_;
    const std::shared_ptr<AssetWriterPlatform> assetWriters_;
    const Request request_;
    std::shared_ptr<TimedRecorder> recorder_;
    std::unique_ptr<RecordingSound> sound_;
    State state_ = State::waiting;
    bool hasBegun_ = false;
    std::string cutShortReason_;
    QTimer timer_;
    QElapsedTimer silence_; // since the last new picture
    std::uint64_t pictures_ = 0;
};

} // namespace tavelo
