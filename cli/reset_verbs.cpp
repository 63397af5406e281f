// SPDX-License-Identifier: MIT
// taveloctl reset, send
#include <CLI/CLI.hpp>

#include "cli/json_output.h"
#include "cli/verbs.h"

namespace tavelo {
namespace {

// After a walk over all controls: whether the camera still answers.
void checkAnswers(const KTUVCManager& manager) {
    const ErrorCode failure = manager.failure();
    if (failure == ErrorCode::gone) throw Failure(ExitStatus::noCamera, "the camera was unplugged");
    if (failure != ErrorCode::none && failure != ErrorCode::refused)
        throw Failure(statusOf(failure), "the camera did not answer");
}

class ResetVerb final : public Verb {
public:
    const char* name() const override { return "reset"; }
    const char* help() const override { return "Set every control to the camera's own default"; }
    void addOptions(CLI::App& /*command*/) override {}

    void run(Session& session) override {
        KTUVCManager& manager = session.controls();
        manager.resetParamsToDefaults();
        checkAnswers(manager);
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
        KTUVCManager& manager = session.controls();
        manager.sendParamsToDevice();
        checkAnswers(manager);
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
