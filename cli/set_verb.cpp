// SPDX-License-Identifier: MIT
// taveloctl set NAME=VALUE...
#include <CLI/CLI.hpp>

#include "cli/chosen_controls.h"
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
        checkWords(session);
        const auto controls = reachControls(session);
        QJsonObject values;
        controls->set(changes_, force_, [&](const TakenValue& taken) {
            values.insert(QString::fromStdString(taken.control), taken.value);
            if (taken.isOther && !session.json())
                session.print(taken.control + ": the camera took " + valueText(taken.value) + "\n");
        });
        if (session.json())
            session.printJson({{QStringLiteral("camera"), QString::fromStdString(controls->camera())},
                               {QStringLiteral("values"), values}});
    }

    std::vector<Candidate> candidates(Session& session, const std::vector<std::string>& /*words*/,
                                      const std::string& begun) override {
        const std::size_t equals = begun.find('=');
        if (equals == std::string::npos) return controlCandidates(session, "=");
        const NamedControl* control = session.controlNamed(begun.substr(0, equals));
        if (control == nullptr) return {};
        const auto state = controlState(session.anyControls(), *control, true);
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
    // A wrong command line is said before the camera is asked, unless only the camera knows the words.
    void checkWords(Session& session) const {
        const auto find = [&session](std::string_view name) { return session.controlOfAnyCamera(name); };
        for (const std::string& text : changes_) {
            const std::string name = text.substr(0, text.find('='));
            std::string reason;
            if (find(name) != nullptr && !isClassControl(name) && session.catalog().needsCamera(name))
                continue;
            if (!parseControlChange(text, find, reason)) throw Failure(ExitStatus::usage, reason);
        }
    }

    std::vector<std::string> changes_;
    bool force_ = false;
};

} // namespace

std::unique_ptr<Verb> makeSetVerb() {
    return std::make_unique<SetVerb>();
}

} // namespace tavelo
