// SPDX-License-Identifier: MIT
// Lets the service use the panel's window.
#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <optional>

#include "app/panel_recording.h"
#include "app/shown_picture.h"
#include "panel/view_controller.h"
#include "platform/asset_writer.h"
#include "service/panel_host.h"

namespace tavelo {

/// Works without a panel too: then no camera is shown.  Main thread.
class WindowHost final : public QObject, public PanelHost {
    Q_OBJECT

public:
    /// @param show shows the window, and first calls setPanel() if there is none yet
    WindowHost(std::shared_ptr<AssetWriterPlatform> assetWriters,
               std::function<std::optional<ServiceError>()> show);
    /// Finishes a movie that is being recorded.
    ~WindowHost() override;

    /// Call once; the panel must outlive this object.
    void setPanel(ViewController& panel);

    std::shared_ptr<CaptureDevice> shownCamera() const override;
    KTUVCManager& shownControls() override;
    bool isMirrored() const override;
    void controlDidChange(KTUVCControl control) override;
    void profileWasApplied(std::int64_t position, bool mirror) override;
    void takeSnapshot(const std::string& file, Handler ended) override;
    void startRecording(const std::string& file, std::optional<Seconds> duration, Handler started) override;
    bool stopRecording() override;
    std::string recordingFile() const override;
    std::optional<ServiceError> show() override { return show_(); }

Q_SIGNALS:
    void shownCameraChanged();
    /// The shown camera took a value from the panel.
    void controlChanged(tavelo::KTUVCControl control);
    void recordingFileChanged();
    /// @param isOfFile whether the file system is the reason
    void recordingEnded(const std::string& file, bool success, const std::string& reason, bool isOfFile);

private:
    void cameraDidChange();
    void recordingDidEnd(bool begun, bool success, const std::string& reason, bool isOfFile);

    const std::shared_ptr<AssetWriterPlatform> assetWriters_;
    const std::function<std::optional<ServiceError>()> show_;
    ViewController* panel_ = nullptr;
    std::optional<ShownPicture> picture_; // absent if the panel has no preview
    std::unique_ptr<PanelRecording> recording_;
};

} // namespace tavelo
