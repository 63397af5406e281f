// SPDX-License-Identifier: MIT
// taveloctl controls
#include <CLI/CLI.hpp>
#include <QJsonArray>
#include <QJsonObject>

#include "cli/chosen_controls.h"
#include "cli/json_output.h"
#include "cli/text_table.h"
#include "cli/verbs.h"

namespace tavelo {
namespace {

// A control as controlJson() makes it.

std::string field(const QJsonObject& control, QLatin1String key) {
    return control.contains(key) ? valueText(control[key]) : std::string();
}

std::string joined(const QJsonArray& values, const char* between) {
    std::string text;
    for (const QJsonValue each : values)
        text += (text.empty() ? "" : between) + valueText(each);
    return text;
}

std::string rangeColumn(const QJsonObject& control) {
    if (control.contains(QLatin1String("choices")))
        return joined(control[QLatin1String("choices")].toArray(), " ");
    const std::string minimum = field(control, QLatin1String("minimum"));
    const std::string maximum = field(control, QLatin1String("maximum"));
    if (minimum.empty() || maximum.empty()) return {};
    std::string text = minimum + " to " + maximum;
    if (control[QLatin1String("step")].toInteger() > 1)
        text += ", step " + field(control, QLatin1String("step"));
    const std::string unit = field(control, QLatin1String("unit"));
    return unit.empty() ? text : text + " (" + unit + ")";
}

std::string ruleColumn(const QJsonObject& control) {
    if (control[QLatin1String("is_automatic")].toBool())
        return "set by " + field(control, QLatin1String("automatic"));
    const std::string rules = joined(control[QLatin1String("rules")].toArray(), ", ");
    return rules.empty() ? rules : "rules " + rules;
}

class ControlsVerb final : public Verb {
public:
    const char* name() const override { return "controls"; }
    const char* help() const override {
        return "List the camera's controls: value, default, range or choices, and which control sets which";
    }
    void addOptions(CLI::App& /*command*/) override {}

    void run(Session& session) override {
        const auto reached = reachControls(session);
        const QJsonArray controls = reached->described();
        if (session.json())
            return session.printJson({{QStringLiteral("camera"), QString::fromStdString(reached->camera())},
                                      {QStringLiteral("controls"), controls}});
        TextTable table;
        table.add({"CONTROL", "VALUE", "DEFAULT", "RANGE", "AUTOMATIC"});
        for (const QJsonValue each : controls) {
            const QJsonObject control = each.toObject();
            const std::string defaultValue = field(control, QLatin1String("default"));
            table.add({field(control, QLatin1String("name")), field(control, QLatin1String("value")),
                       defaultValue.empty() ? "-" : defaultValue, rangeColumn(control), ruleColumn(control)});
        }
        session.print(table.text());
    }
};

} // namespace

std::unique_ptr<Verb> makeControlsVerb() {
    return std::make_unique<ControlsVerb>();
}

} // namespace tavelo
