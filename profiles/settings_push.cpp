// SPDX-License-Identifier: MIT
#include "profiles/settings_push.h"

#include <array>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "profiles/camera_settings.h"
#include "uvc/bound_camera.h"
#include "uvc/walk_patience.h"

namespace tavelo {
namespace {

// Relative exposure time, written before the user's own values, because some cameras settle only then.
constexpr std::array<std::uint8_t, 2> exposureStep{100, 0};
constexpr std::int32_t cameraTerminal = 1;
constexpr std::int32_t relativeExposureSelector = 5;

// Gives a camera that did not answer time to recover.
constexpr std::chrono::seconds pauseAfterSilence{1};

class SettingsPush : public std::enable_shared_from_this<SettingsPush> {
public:
    SettingsPush(KTUVCManager& manager, const PreferencesDictionary& settings, bool shouldGetBright,
                 SettingsPushEvents events)
        : camera_(manager),
          bright_(manager.bright()),
          values_(camera_settings::valuesToWrite(settings, manager)),
          shouldGetBright_(shouldGetBright || camera_settings::areDefaults(settings, manager)),
          events_(std::move(events)) {}

    bool isEmpty() const { return values_.empty(); }

    void queue() {
        events_.run([self = shared_from_this()] { self->run(); });
    }

private:
    void run() {
        if (!prepared_) {
            if (!openAgainIfClosed()) return;
            prepare();
        }
        for (; next_ < values_.size(); ++next_) {
            if (!openAgainIfClosed()) return;
            write(values_[next_]);
        }
    }

    /// @return whether to go on now
    bool openAgainIfClosed() {
        const bool hasPaused = std::exchange(hasPaused_, false);
        const ErrorCode failure = camera_.failure();
        if (failure == ErrorCode::none) return true;
        if (!hasPaused) {
            switch (patience_.judge(failure)) {
                case AfterFailure::goOn:
                    break;
                case AfterFailure::afterQuiet:
                    hasPaused_ = true;
                    events_.proceedLater(pauseAfterSilence, [self = shared_from_this()] { self->queue(); });
                    return false;
                case AfterFailure::end:
                    return false;
            }
        }
        return camera_.openInterfaceAgain();
    }

    // The result is ignored, because the camera may not have this control.
    void prepare() {
        prepared_ = true;
        if (shouldGetBright_)
            camera_.populateParam(*bright_);
        else
            camera_.setBytesSizedToUnitSelector(exposureStep.data(), exposureStep.size(), cameraTerminal,
                                                relativeExposureSelector);
    }

    void write(const camera_settings::ValueToWrite& entry) {
        const KTUVCControl control = entry.control->control;
        camera_.setControlWithComplitionHandle(
            control, entry.value, [this, control](bool accepted) { events_.written(control, accepted); });
    }

    const BoundCamera camera_;
    const std::shared_ptr<KTUVCParameters> bright_;
    const std::vector<camera_settings::ValueToWrite> values_;
    const bool shouldGetBright_;
    const SettingsPushEvents events_;

    WalkPatience patience_;
    bool prepared_ = false;
    bool hasPaused_ = false; // after the failure that closed the interface
    std::size_t next_ = 0;
};

} // namespace

void pushSettings(KTUVCManager& manager, const PreferencesDictionary& settings, bool shouldGetBright,
                  SettingsPushEvents events) {
    const auto push = std::make_shared<SettingsPush>(manager, settings, shouldGetBright, std::move(events));
    if (!push->isEmpty()) push->queue();
}

std::vector<KTUVCControl> pushSettingsAndWait(KTUVCManager& manager, const PreferencesDictionary& settings,
                                              bool shouldGetBright) {
    std::vector<KTUVCControl> missing;
    for (const camera_settings::ValueToWrite& each : camera_settings::valuesToWrite(settings, manager))
        missing.push_back(each.control->control);
    SettingsPushEvents events;
    events.run = [](const std::function<void()>& work) { work(); };
    events.proceedLater = [](std::chrono::milliseconds pause, const std::function<void()>& proceed) {
        std::this_thread::sleep_for(pause);
        proceed();
    };
    events.written = [&missing](KTUVCControl control, bool accepted) {
        if (accepted) std::erase(missing, control);
    };
    pushSettings(manager, settings, shouldGetBright, std::move(events));
    return missing;
}

} // namespace tavelo
