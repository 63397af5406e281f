// SPDX-License-Identifier: MIT
// taveloctl reset, send
#include <CLI/CLI.hpp>

#include "cli/json_output.h"
#include "cli/verbs.h"

namespace tavelo {
namespace {

// After a walk over all controls: whether the camera still answers.
void checkAnswers(const CaptureDevice& camera, const KTUVCManager& manager) {
    Session::checkIsThere(camera, manager);
    const ErrorCode failure = manager.failure();
    if (failure != ErrorCode::none && failure != ErrorCode::refused)
        throw Failure(statusOf(failure), camera.localizedName() + ": it did not answer");
}

class ResetVerb final : public Verb {
public:
    const char* name() const override { return "reset"; }
    const char* help() const override { return "Set every control to the camera's own default"; }
    void addOptions(CLI::App& /*command*/) override {}

    void run(Session& session) override {
        const auto camera = session.camera();
        KTUVCManager& manager = session.controlsOf(camera);
        manager.resetParamsToDefaults();
        checkAnswers(*camera, manager);
    }
};

class SendVerb final : public Verb {
public:
    const char* name() const override { return "send"; }
    const char* help() const override {
        return "Write every control's current value to the camera again, as after a camera forgot them";
    }
    void addOptions(CLI::App& /*command*/) override {}

    void run(Session& session) override {
        const auto camera = session.camera();
        KTUVCManager& manager = session.controlsOf(camera);
        manager.sendParamsToDevice();
        checkAnswers(*camera, manager);
    }
};

} // namespace

std::unique_ptr<Verb> makeResetVerb() {
    return std::make_unique<ResetVerb>();
}
std::unique_ptr<Verb> makeSendVerb() {
    return std::make_unique<SendVerb>();
}

} // namespace tavelo
