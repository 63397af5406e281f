// SPDX-License-Identifier: MIT
// taveloctl get NAME...
#include <CLI/CLI.hpp>
#include <algorithm>

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
        std::vector<const NamedControl*> wanted;
        for (const std::string& name : names_)
            wanted.push_back(&known(session, name));
        KTUVCManager& manager = session.controls();
        QJsonObject values;
        std::string text;
        for (const NamedControl* control : wanted) {
            const auto state = controlState(manager, *control, false);
            if (!state)
                throw Failure(ExitStatus::failed,
                              absenceText(manager, *control) + " (taveloctl controls lists what it has)");
            values.insert(toQString(control->name), valueJson(*control, state->value));
            text += valueText(*control, state->value) + '\n';
        }
        if (session.json())
            session.printJson({{QStringLiteral("camera"), toQString(session.camera()->uniqueID())},
                               {QStringLiteral("values"), values}});
        else
            session.print(text);
    }

    std::vector<Candidate> candidates(Session& session, const std::vector<std::string>& /*words*/,
                                      const std::string& /*begun*/) override {
        return controlCandidates(session, "");
    }

private:
    static const NamedControl& known(Session& session, const std::string& name) {
        const NamedControl* control = session.controlNamed(name);
        if (control == nullptr)
            throw Failure(ExitStatus::usage,
                          "no control is called \"" + name + "\" (taveloctl controls lists the names)");
        return *control;
    }

    std::vector<std::string> names_;
};

} // namespace

std::vector<Candidate> controlCandidates(Session& session, const std::string& ending) {
    std::vector<Candidate> found;
    KTUVCManager& manager = session.controls();
    for (const NamedControl* control : session.catalog().controlsOf(manager.device().get()))
        if (const auto state = controlState(manager, *control, false))
            found.push_back({std::string(control->name) + ending, valueText(*control, state->value)});
    return found;
}

std::unique_ptr<Verb> makeGetVerb() {
    return std::make_unique<GetVerb>();
}

} // namespace tavelo
