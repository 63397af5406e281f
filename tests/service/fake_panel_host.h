// SPDX-License-Identifier: MIT
// A panel that only notes what the service asks of it.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "service/panel_host.h"

namespace tavelo {

class FakePanelHost final : public PanelHost {
public:
    explicit FakePanelHost(KTUVCManager& manager) : manager_(manager) {}

    std::shared_ptr<CaptureDevice> shownCamera() const override { return shown; }
    KTUVCManager& shownControls() override { return manager_; }
    bool isMirrored() const override { return mirrored; }
    void controlDidChange(KTUVCControl control) override { changed.push_back(control); }
    void profileWasApplied(std::int64_t position, bool mirror) override {
        applied.emplace_back(position, mirror);
    }
    void takeSnapshot(const std::string& file, Handler ended) override {
        snapshots.emplace_back(file, std::move(ended));
    }
    void startRecording(const std::string& file, const MovieOptions& options, Handler started) override {
        ++starts;
        recording = file;
        duration = options.duration;
        sound = options.sound;
        started(recordingError);
    }
    bool stopRecording() override { return !std::exchange(recording, {}).empty(); }
    std::string recordingFile() const override { return recording; }
    bool isSharing() const override { return sharing; }
    void setSharing(bool on) override { sharing = on; }
    std::optional<ServiceError> show() override {
        ++shows;
        return showError;
    }

    std::shared_ptr<CaptureDevice> shown;
    bool mirrored = false;
    std::vector<KTUVCControl> changed;
    std::vector<std::pair<std::int64_t, bool>> applied;
    std::vector<std::pair<std::string, Handler>> snapshots;
    int starts = 0;
    std::string recording;
    std::optional<Seconds> duration;
    SoundChoice sound;
    std::optional<ServiceError> recordingError;
    bool sharing = false;
    int shows = 0;
    std::optional<ServiceError> showError;

private:
    KTUVCManager& manager_;
};

} // namespace tavelo
