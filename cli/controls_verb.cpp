// SPDX-License-Identifier: MIT
// taveloctl controls
#include <CLI/CLI.hpp>
#include <QJsonArray>

#include "cli/json_output.h"
#include "cli/text_table.h"
#include "cli/verbs.h"

namespace tavelo {
namespace {

std::string rangeColumn(const ControlState& state) {
    std::string text;
    for (const ChoiceWord& choice : state.choices)
        text += (text.empty() ? "" : " ") + std::string(choice.word);
    if (!text.empty() || !state.minimum || !state.maximum) return text;
    text = std::to_string(*state.minimum) + " to " + std::to_string(*state.maximum);
    if (state.step && *state.step > 1) text += ", step " + std::to_string(*state.step);
    if (!state.control->unit.empty()) text += " (" + std::string(state.control->unit) + ")";
    return text;
}

std::string ruleColumn(const ControlState& state) {
    if (state.isAutomatic && state.automatic != nullptr)
        return "set by " + std::string(state.automatic->name);
    std::string text;
    for (const NamedControl* each : state.rules)
        text += (text.empty() ? "rules " : ", ") + std::string(each->name);
    return text;
}

class ControlsVerb final : public Verb {
public:
    const char* name() const override { return "controls"; }
    const char* help() const override {
        return "List the camera's controls: value, default, range or choices, and which control sets which";
    }
    void addOptions(CLI::App& /*command*/) override {}

    void run(Session& session) override {
        const std::vector<ControlState> states = controlStates(session.controls(), session.catalog());
        if (session.json()) return printJson(session, states);
        TextTable table;
        table.add({"CONTROL", "VALUE", "DEFAULT", "RANGE", "AUTOMATIC"});
        for (const ControlState& state : states)
            table.add({std::string(state.control->name), valueText(*state.control, state.value),
                       state.defaultValue ? valueText(*state.control, *state.defaultValue) : "-",
                       rangeColumn(state), ruleColumn(state)});
        session.print(table.text());
    }

private:
    static void printJson(Session& session, const std::vector<ControlState>& states) {
        QJsonArray controls;
        for (const ControlState& state : states)
            controls.append(controlJson(state));
        session.printJson({{QStringLiteral("camera"), toQString(session.camera()->uniqueID())},
                           {QStringLiteral("controls"), controls}});
    }
};

} // namespace

std::unique_ptr<Verb> makeControlsVerb() {
    return std::make_unique<ControlsVerb>();
}

} // namespace tavelo
