// SPDX-License-Identifier: MIT
// How a camera's controls are reached, and on which thread.
#include <QThreadPool>
#include <chrono>

#include "commands/control_state.h"
#include "service/control_panel_service.h"

namespace tavelo {
namespace {

using Kind = ServiceError::Kind;
using namespace std::chrono_literals;

constexpr int videoScope = 2;
// A camera that did not answer may block the next request too, so it is left alone for a while.
constexpr auto quietTime = 1s;

ServiceError whyNotControllable(CaptureDevice& camera) {
    Error error;
    camera.makeInput(error);
    if (error.code != ErrorCode::none)
        return {errorKindOf(error.code), camera.localizedName() + ": " + error.text};
    return {Kind::failed, camera.localizedName() + ": it has no controls, or does not answer"};
}

std::optional<ServiceError> whyGone(const CaptureDevice& camera, const KTUVCManager& manager) {
    if (manager.failure() != ErrorCode::gone) return {};
    return ServiceError{Kind::noSuchCamera, camera.localizedName() + ": it was unplugged"};
}

// Opens the interface again if a failed request closed it.
std::optional<ServiceError> whySilent(const std::string& camera, KTUVCManager& manager) {
    if (!manager.recordsAreRead())
        return ServiceError{Kind::failed, camera + ": it did not answer when its controls were read"};
    if (!manager.interfaceIsClosed()) return {};
    const bool hasRested = manager.now() - manager.failedAt() >= quietTime;
    if ((manager.failure() == ErrorCode::refused || hasRested) && manager.openInterfaceAgain()) return {};
    return ServiceError{Kind::failed, camera + ": it did not answer a moment ago; try again later"};
}

/// @param catalog null if only controls of the class count
std::optional<ServiceError> whyUnusable(CaptureDevice& camera, KTUVCManager& manager,
                                        const ControlCatalog* catalog) {
    if (auto gone = whyGone(camera, manager)) return gone;
    const bool isUsable = catalog != nullptr ? hasControls(manager, *catalog) : manager.isControllable();
    return isUsable ? whySilent(camera.localizedName(), manager) : whyNotControllable(camera);
}

ServiceError anotherCamera() {
    return {Kind::failed, "the panel shows another camera now"};
}

/// Runs `work` on a thread of the global pool and then `then` with its result on the context's.  The controls
/// are moved, so that they are released there too.
template <typename Controls, typename Task, typename Then>
void inBackground(QObject& context, Controls controls, Task work, Then then) {
    QThreadPool::globalInstance()->start(
        [&context, controls = std::move(controls), work = std::move(work), then = std::move(then)]() mutable {
            auto result = work(std::as_const(controls));
            QMetaObject::invokeMethod(
                &context,
                [controls = std::move(controls), result = std::move(result), then = std::move(then)] {
                    then(controls, result);
                },
                Qt::QueuedConnection);
        });
}

} // namespace

void ControlPanelService::withControls(const Call& call, const QString& text, Needs needs,
                                       std::function<void(const Controls& controls)> use) {
    ServiceError error;
    const auto camera = cameraNamed(text, error);
    if (!camera) return call.fail(error);
    const ControlCatalog* const catalog = needs == Needs::anyControls ? &parts_.catalog : nullptr;
    const auto useOrFail = [call, use = std::move(use)](const Controls& controls,
                                                        const std::optional<ServiceError>& why) {
        if (why) return call.fail(*why);
        use(controls);
    };
    turns_.wait(camera->uniqueID(), [this, camera, catalog, useOrFail](CameraTurns::Turn turn) {
        Controls controls{camera, nullptr, camera == parts_.host.shownCamera(), std::move(turn)};
        if (controls.isShown) {
            controls.manager = {std::shared_ptr<void>(), &parts_.host.shownControls()}; // not owned
            return useOrFail(controls, whyUnusable(*camera, *controls.manager, catalog));
        }
        controls.manager = std::make_shared<KTUVCManager>(KTUVCEnvironment{.usb = parts_.usb});
        controls.manager->initProberWithBusProberScopeProberDelegate(videoScope, nullptr);
        const auto bind = [catalog](const Controls& bound) {
            bound.manager->refreshDataWithUniqueIDString(bound.camera->uniqueID());
            return whyUnusable(*bound.camera, *bound.manager, catalog);
        };
        inBackground(*this, std::move(controls), bind, useOrFail);
    });
}

std::optional<ServiceError> ControlPanelService::whyGone(const Controls& controls) {
    return tavelo::whyGone(*controls.camera, *controls.manager);
}

void ControlPanelService::run(const Call& call, const Controls& controls, Length length, const Work& work) {
    // The panel may bind its manager to another camera meanwhile, but not during a call on this thread.
    if (controls.isShown && length == Length::brief) return end(call, controls, work(controls));
    const BindingIdentity binding = controls.manager->bindingIdentity();
    inBackground(
        *this, controls,
        [work, binding](const Controls& used) {
            return used.manager->bindingIdentity() == binding ? work(used) : Outcome();
        },
        [this, call, binding](const Controls& used, const Outcome& outcome) {
            if (used.manager->bindingIdentity() != binding) return call.fail(anotherCamera());
            end(call, used, outcome);
        });
}

void ControlPanelService::end(const Call& call, const Controls& controls, const Outcome& outcome) {
    for (const KTUVCControl control : outcome.written)
        tellChanged(controls, control);
    for (const auto& [control, value] : outcome.writtenOfUnits)
        tellValue(controls.camera->uniqueID(), *control, value);
    if (outcome.error) return call.fail(*outcome.error);
    call.answer(outcome.answer);
}

} // namespace tavelo
