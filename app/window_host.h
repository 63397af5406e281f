// SPDX-License-Identifier: MIT
// Lets the service use the panel's window.
#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <optional>

#include "app/panel_recording.h"
#include "app/picture_sharing.h"
#include "app/shown_picture.h"
#include "panel/view_controller.h"
#include "platform/asset_writer.h"
#include "platform/sound_source.h"
#include "service/panel_host.h"

namespace tavelo {

/// Works without a panel too: then no camera is shown.  Main thread.
class WindowHost final : public QObject, public PanelHost {
    Q_OBJECT

public:
    /// @param show shows the window, and first calls setPanel() if there is none yet
    /// @param shares null if the machine cannot share pictures
    /// @param sounds null: movies have no sound
    WindowHost(std::shared_ptr<AssetWriterPlatform> assetWriters,
               std::function<std::optional<ServiceError>()> show,
               std::shared_ptr<PictureSharePlatform> shares = nullptr,
               std::shared_ptr<SoundPlatform> sounds = nullptr);
    /// Finishes a movie that is being recorded, and ends sharing.
    ~WindowHost() override;

    /// Call once; the panel must outlive this object.
    void setPanel(ViewController& panel);

    std::shared_ptr<CaptureDevice> shownCamera() const override;
    KTUVCManager& shownControls() override;
    bool isMirrored() const override;
    void controlDidChange(KTUVCControl control) override;
    void profileWasApplied(std::int64_t position, bool mirror) override;
    void takeSnapshot(const std::string& file, Handler ended) override;
    void startRecording(const std::string& file, const MovieOptions& options, Handler started) override;
    bool stopRecording() override;
    std::string recordingFile() const override;
    bool isSharing() const override { return sharing_.isOn(); }
    void setSharing(bool on) override { sharing_.setOn(on); }
    /// Whether other programs do not see the picture that they should.
    bool sharingFails() const { return sharing_.fails(); }
    std::optional<ServiceError> show() override { return show_(); }

    /// Whether it is worth asking for a movie with sound.
    bool mayRecordSound() const { return sounds_ && sounds_->mayHaveMicrophones(); }

Q_SIGNALS:
    void sharingChanged();
    void shownCameraChanged();
    /// The shown camera took a value from the panel.
    void controlChanged(tavelo::KTUVCControl control);
    void recordingFileChanged();
    /// @param reason why it failed; on success what the movie lacks of its sound, or empty
    /// @param isOfFile whether the file system is the reason
    void recordingEnded(const std::string& file, bool success, const std::string& reason, bool isOfFile);

private:
    void cameraDidChange();
    void nameSharedCamera();
    void recordingDidEnd(bool begun, bool success, const std::string& reason, bool isOfFile);

    const std::shared_ptr<AssetWriterPlatform> assetWriters_;
    const std::function<std::optional<ServiceError>()> show_;
    const std::shared_ptr<SoundPlatform> sounds_;
    ViewController* panel_ = nullptr;
    std::optional<ShownPicture> picture_; // absent if the panel has no preview
    std::unique_ptr<PanelRecording> recording_;
    PictureSharing sharing_;
};

} // namespace tavelo
