// SPDX-License-Identifier: MIT
// taveloctl get NAME...
#include <CLI/CLI.hpp>

#include "cli/chosen_controls.h"
#include "cli/json_output.h"
#include "cli/verbs.h"

namespace tavelo {
namespace {

class GetVerb final : public Verb {
public:
    const char* name() const override { return "get"; }
    const char* help() const override { return "Print the values of controls, one in each line"; }

    void addOptions(CLI::App& command) override {
        command.add_option("control", names_, "Names, such as brightness")->required()->type_name("NAME");
    }

    void run(Session& session) override {
        for (const std::string& name : names_)
            if (session.controlOfAnyCamera(name) == nullptr)
                throw Failure(ExitStatus::usage,
                              "no control is called \"" + name + "\" (taveloctl controls lists the names)");
        const auto controls = reachControls(session);
        QJsonObject values;
        std::string text;
        for (const std::string& name : names_) {
            const auto [known, value] = controls->value(name);
            values.insert(QString::fromStdString(known), value);
            text += valueText(value) + '\n';
        }
        if (session.json())
            session.printJson({{QStringLiteral("camera"), QString::fromStdString(controls->camera())},
                               {QStringLiteral("values"), values}});
        else
            session.print(text);
    }

    std::vector<Candidate> candidates(Session& session, const std::vector<std::string>& /*words*/,
                                      const std::string& /*begun*/) override {
        return controlCandidates(session, "");
    }

private:
    std::vector<std::string> names_;
};

} // namespace

std::vector<Candidate> controlCandidates(Session& session, const std::string& ending) {
    std::vector<Candidate> found;
    KTUVCManager& manager = session.anyControls();
    for (const NamedControl* control : session.catalog().controlsOf(manager.device().get()))
        if (const auto state = controlState(manager, *control, false))
            found.push_back({std::string(control->name) + ending, valueText(*control, state->value)});
    return found;
}

std::unique_ptr<Verb> makeGetVerb() {
    return std::make_unique<GetVerb>();
}

} // namespace tavelo
