// SPDX-License-Identifier: MIT
#include "service/camera_turns.h"

#include <QMetaObject>
#include <utility>

namespace tavelo {

CameraTurns::CameraTurns(QObject& context) : waiting_(std::make_shared<Waiting>(Waiting{context, {}})) {}

CameraTurns::~CameraTurns() = default;

void CameraTurns::wait(const std::string& camera, Begin begin) {
    const auto [place, isFree] = waiting_->byCamera.try_emplace(camera);
    if (isFree) return give(waiting_, camera, begin);
    place->second.push_back(std::move(begin));
}

void CameraTurns::give(const std::shared_ptr<Waiting>& waiting, const std::string& camera,
                       const Begin& begin) {
    begin(Turn(waiting.get(), [left = std::weak_ptr(waiting), camera](const void* /*unused*/) {
        if (const auto there = left.lock()) giveToNext(there, camera);
    }));
}

void CameraTurns::giveToNext(const std::shared_ptr<Waiting>& waiting, const std::string& camera) {
    const auto place = waiting->byCamera.find(camera);
    if (place->second.empty()) {
        waiting->byCamera.erase(place);
        return;
    }
    Begin next = std::move(place->second.front());
    place->second.pop_front();
    QMetaObject::invokeMethod(
        &waiting->context,
        [left = std::weak_ptr(waiting), camera, next = std::move(next)] {
            if (const auto there = left.lock()) give(there, camera, next);
        },
        Qt::QueuedConnection);
}

} // namespace tavelo
