// SPDX-License-Identifier: MIT
#include "cli/chosen_controls.h"

#include <utility>

#include "cli/json_output.h"
#include "cli/panel_controls.h"
#include "commands/control_change.h"

namespace tavelo {
namespace {

class DirectControls final : public ChosenControls {
public:
    explicit DirectControls(Session& session) : session_(session), manager_(session.anyControls()) {}

    std::string camera() const override { return session_.camera()->uniqueID(); }

    std::pair<std::string, QJsonValue> value(const std::string& name) override {
        const NamedControl& control = *session_.controlNamed(name);
        const auto state = controlState(manager_, control, false);
        if (!state)
            throw Failure(ExitStatus::failed,
                          absenceText(manager_, control) + " (taveloctl controls lists what it has)");
        return {std::string(control.name), valueJson(control, state->value)};
    }

    void set(const std::vector<std::string>& texts, bool force,
             const std::function<void(const TakenValue& taken)>& taken) override {
        std::string reason;
        std::vector<ControlChange> changes;
        const auto find = [this](std::string_view name) { return session_.controlNamed(name); };
        for (const std::string& text : texts) {
            const auto change = parseControlChange(text, find, reason);
            if (!change) throw Failure(ExitStatus::usage, reason);
            changes.push_back(*change);
        }
        const auto plan = planChanges(manager_, changes, force, reason);
        if (!plan) throw Failure(ExitStatus::failed, reason);
        for (const PlannedWrite& planned : *plan)
            taken(written(planned));
    }

    QJsonArray described() override {
        QJsonArray controls;
        for (const ControlState& state : controlStates(manager_, session_.catalog()))
            controls.append(controlJson(state));
        Session::checkIsThere(*session_.camera(), manager_);
        return controls;
    }

private:
    TakenValue written(const PlannedWrite& planned) {
        const NamedControl& control = *planned.control;
        const std::string name(control.name);
        const auto value = write(manager_, planned);
        if (!value) {
            const bool gone = manager_.failure() == ErrorCode::gone;
            throw Failure(gone ? ExitStatus::noCamera : ExitStatus::failed,
                          writeFailureText(manager_, planned));
        }
        return {name, valueJson(control, *value), *value != planned.value};
    }

    Session& session_;
    KTUVCManager& manager_;
};

} // namespace

std::unique_ptr<ChosenControls> reachControls(Session& session) {
    try {
        return std::make_unique<DirectControls>(session);
    } catch (const Failure& failure) {
        // Over USB, a camera that another program holds looks like one that does not answer.
        auto held = failure.status() != ExitStatus::usage ? controlsOfPanel(session) : nullptr;
        if (!held) throw;
        return held;
    }
}

} // namespace tavelo
