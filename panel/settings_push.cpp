// SPDX-License-Identifier: MIT
#include "panel/settings_push.h"

#include <QThreadPool>
#include <array>
#include <utility>

#include "panel/camera_settings.h"

namespace tavelo {
namespace {

using camera_settings::storedControls;

// Relative exposure time, written before values of the user's own; some cameras settle only then.
constexpr std::array<std::uint8_t, 2> exposureStep{100, 0};
constexpr std::int32_t cameraTerminal = 1;
constexpr std::int32_t relativeExposureSelector = 5;

class SettingsPush : public std::enable_shared_from_this<SettingsPush> {
public:
    SettingsPush(KTUVCManager& manager, const PreferencesDictionary& settings, bool shouldGetBright,
                 SettingsPushEvents events)
        : manager_(manager),
          settings_(settings),
          camera_(manager.deviceLocationID()),
          shouldGetBright_(shouldGetBright),
          events_(std::move(events)) {}

    void queue() {
        QThreadPool::globalInstance()->start([self = shared_from_this()] { self->run(); });
    }

private:
    void run() {
        if (!prepared_) prepare();
        for (; next_ < storedControls.size(); ++next_) {
            if (manager_.deviceLocationID() != camera_) return;
            if (manager_.interfaceIsClosed() && !std::exchange(openedAgain_, true)) {
                events_.openAgain([self = shared_from_this()] { self->queue(); });
                return;
            }
            openedAgain_ = false;
            write(next_);
        }
    }

    // Its outcome does not matter: a camera without this control is none the worse.
    void prepare() {
        prepared_ = true;
        if (camera_settings::areDefaults(settings_, manager_)) shouldGetBright_ = true;
        if (shouldGetBright_)
            manager_.populateParam(*manager_.bright());
        else
            manager_.setBytesSizedToUnitSelector(exposureStep.data(), exposureStep.size(), cameraTerminal,
                                                 relativeExposureSelector);
    }

    void write(std::size_t index) {
        const auto& control = storedControls[index];
        const std::int64_t value = camera_settings::integer(settings_, control.key);
        (manager_.*control.set)(value, [this, index](bool accepted) {
            if (accepted) events_.accepted(index);
        });
    }

    KTUVCManager& manager_;
    const PreferencesDictionary settings_;
    const std::uint32_t camera_;
    bool shouldGetBright_;
    const SettingsPushEvents events_;

    bool prepared_ = false;
    bool openedAgain_ = false; // since the last write
    std::size_t next_ = 0;
};

} // namespace

void pushSettings(KTUVCManager& manager, const PreferencesDictionary& settings, bool shouldGetBright,
                  SettingsPushEvents events) {
    std::make_shared<SettingsPush>(manager, settings, shouldGetBright, std::move(events))->queue();
}

} // namespace tavelo
