// SPDX-License-Identifier: MIT
// What the service needs of the panel.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/capture.h"
#include "platform/common/microphone_choice.h"
#include "service/service_error.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// Main thread only; handlers are called there too, possibly before the call returns.
class PanelHost {
public:
    using Seconds = std::chrono::duration<double>;
    /// Without an error on success.
    using Handler = std::function<void(const std::optional<ServiceError>& error)>;

    virtual ~PanelHost() = default;

    /// The camera that the panel shows; null if it shows none.
    virtual std::shared_ptr<CaptureDevice> shownCamera() const = 0;
    /// Bound to the shown camera, if that can be controlled.
    virtual KTUVCManager& shownControls() = 0;
    virtual bool isMirrored() const = 0;

    /// Shows the value that the record of the shown camera's control holds now.
    virtual void controlDidChange(KTUVCControl control) = 0;
    /// Selects a profile, from 0, and mirrors the picture as it says.
    virtual void profileWasApplied(std::int64_t position, bool mirror) = 0;

    /// Writes the shown camera's picture to a PNG file.
    virtual void takeSnapshot(const std::string& file, Handler ended) = 0;

    struct MovieOptions {
        std::optional<Seconds> duration{}; ///< absent: until stopRecording()
        SoundChoice sound{};
    };
    /// Records the shown camera.
    /// @param started called once the first picture is recorded, or nothing could be
    virtual void startRecording(const std::string& file, const MovieOptions& options, Handler started) = 0;
    /// @return false if no movie is being recorded
    virtual bool stopRecording() = 0;
    /// Of the movie that is being recorded; empty if there is none.
    virtual std::string recordingFile() const = 0;

    /// Whether other programs see the panel's picture as a camera.
    virtual bool isSharing() const = 0;
    /// Stays off if this machine cannot share.
    virtual void setSharing(bool on) = 0;

    /// Shows the window; makes it first if it was never shown.
    /// @return why it could not be shown
    virtual std::optional<ServiceError> show() = 0;
};

} // namespace tavelo
