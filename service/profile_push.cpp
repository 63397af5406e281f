// SPDX-License-Identifier: MIT
#include "service/profile_push.h"

#include <QPointer>
#include <QThreadPool>
#include <QTimer>
#include <utility>

#include "profiles/camera_settings.h"

namespace tavelo {
namespace {

/// Shared by all parts of a push: the last one to end it reports.  One part at a time, on any thread.
class Outcome {
public:
    Outcome(std::shared_ptr<KTUVCManager> manager, PushedProfile profile, QObject& context,
            std::function<void(const PushedProfile& profile)> ended)
        : manager_(std::move(manager)),
          profile_(std::move(profile)),
          context_(&context),
          ended_(std::move(ended)) {}

    ~Outcome() {
        if (!context_) return; // the program ends
        QMetaObject::invokeMethod(
            context_,
            [manager = std::move(manager_), profile = std::move(profile_), ended = std::move(ended_)] {
                ended(profile);
            },
            Qt::QueuedConnection);
    }

    Outcome(const Outcome&) = delete;
    Outcome& operator=(const Outcome&) = delete;

    void written(KTUVCControl control, bool accepted) {
        if (accepted && std::erase(profile_.missing, control) > 0) profile_.taken.push_back(control);
    }

    QObject* context() const { return context_; }

private:
    std::shared_ptr<KTUVCManager> manager_;
    PushedProfile profile_;
    const QPointer<QObject> context_;
    std::function<void(const PushedProfile& profile)> ended_;
};

} // namespace

void pushProfile(std::shared_ptr<KTUVCManager> manager, const PreferencesDictionary& settings,
                 QObject& context, std::function<void(const PushedProfile& profile)> ended) {
    PushedProfile profile;
    for (const camera_settings::ValueToWrite& each : camera_settings::valuesToWrite(settings, *manager))
        profile.missing.push_back(each.control->control);
    KTUVCManager& camera = *manager;
    const auto outcome =
        std::make_shared<Outcome>(std::move(manager), std::move(profile), context, std::move(ended));
    SettingsPushEvents events;
    events.run = [](std::function<void()> work) { QThreadPool::globalInstance()->start(std::move(work)); };
    events.written = [outcome](KTUVCControl control, bool accepted) { outcome->written(control, accepted); };
    events.proceedLater = [outcome](std::chrono::milliseconds pause, std::function<void()> proceed) {
        QObject* const timers = outcome->context();
        QMetaObject::invokeMethod(
            timers,
            [timers, pause, proceed = std::move(proceed)] { QTimer::singleShot(pause, timers, proceed); },
            Qt::QueuedConnection);
    };
    pushSettings(camera, settings, false, std::move(events));
}

} // namespace tavelo
