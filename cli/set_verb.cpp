// SPDX-License-Identifier: MIT
// taveloctl set NAME=VALUE...
#include <CLI/CLI.hpp>

#include "cli/json_output.h"
#include "cli/verbs.h"
#include "commands/control_change.h"

namespace tavelo {
namespace {

class SetVerb final : public Verb {
public:
    const char* name() const override { return "set"; }
    const char* help() const override {
        return "Set controls: NAME=VALUE with a number, +5, -5, ==-5 (exactly -5), 50%, a word or default";
    }

    void addOptions(CLI::App& command) override {
        command.add_option("change", changes_, "Such as brightness=50% or power-line-frequency=50hz")
            ->required()
            ->type_name("NAME=VALUE");
        command.add_flag("--force", force_, "Turn off the automatic that sets a control first");
    }

    void run(Session& session) override {
        const auto find = [&session](std::string_view name) { return session.controlNamed(name); };
        std::string reason;
        std::vector<ControlChange> changes;
        for (const std::string& text : changes_) {
            const auto change = parseControlChange(text, find, reason);
            if (!change) throw Failure(ExitStatus::usage, reason);
            changes.push_back(*change);
        }
        KTUVCManager& manager = session.controls();
        const auto plan = planChanges(manager, changes, force_, reason);
        if (!plan) throw Failure(ExitStatus::failed, reason);
        QJsonObject values;
        for (const PlannedWrite& planned : *plan)
            values.insert(toQString(planned.control->name), writeOne(session, manager, planned));
        if (session.json())
            session.printJson({{QStringLiteral("camera"), toQString(session.camera()->uniqueID())},
                               {QStringLiteral("values"), values}});
    }

    std::vector<Candidate> candidates(Session& session, const std::vector<std::string>& /*words*/,
                                      const std::string& begun) override {
        const std::size_t equals = begun.find('=');
        if (equals == std::string::npos) return controlCandidates(session, "=");
        const NamedControl* control = session.controlNamed(begun.substr(0, equals));
        if (control == nullptr) return {};
        const auto state = controlState(session.controls(), *control, true);
        if (!state) return {};
        const std::string start = begun.substr(0, equals + 1);
        std::vector<Candidate> found;
        for (const ChoiceWord& choice : state->choices)
            found.push_back({start + std::string(choice.word)});
        if (state->defaultValue)
            found.push_back({start + "default", valueText(*control, *state->defaultValue)});
        return found;
    }

private:
    // What the camera took.
    static QJsonValue writeOne(Session& session, KTUVCManager& manager, const PlannedWrite& planned) {
        const NamedControl& control = *planned.control;
        const std::string name(control.name);
        const auto taken = write(manager, planned);
        if (!taken) {
            const bool gone = manager.failure() == ErrorCode::gone;
            throw Failure(gone ? ExitStatus::noCamera : ExitStatus::failed,
                          name + ": the camera " + (gone ? "was unplugged" : "refused") + " " +
                              valueText(control, planned.value));
        }
        if (*taken != planned.value && !session.json())
            session.print(name + ": the camera took " + valueText(control, *taken) + "\n");
        return valueJson(control, *taken);
    }

    std::vector<std::string> changes_;
    bool force_ = false;
};

} // namespace

std::unique_ptr<Verb> makeSetVerb() {
    return std::make_unique<SetVerb>();
}

} // namespace tavelo
