// SPDX-License-Identifier: MIT
#include <algorithm>

#include <nlohmann/json.hpp>

#include "probe/json/pack.h"
#include "probe/json/pack_words.h"
#include "probe/probe_text.h"

namespace tavelo {
namespace {

using Json = nlohmann::ordered_json;

std::string printableText(std::string text) {
    for (char& letter : text)
        if (!isPrintableByte(letter)) letter = ' ';
    return text;
}

Json answersOf(const ControlRecord& control) {
    Json answers = Json::object();
    for (const UvcRequest request : controlReads) {
        const RawAnswer& answer = control.answerTo(request);
        answers[std::string(nameOf(request))] =
            answer.kind == AnswerKind::answered ? hexText(answer.bytes) : outcomeText(answer.kind);
    }
    return answers;
}

Json driverOf(const DriverView& driver) {
    if (driver.kind != AnswerKind::answered) return outcomeText(driver.kind);
    Json controls = Json::array();
    for (const DriverControl& control : driver.controls)
        controls.push_back({{"id", control.id},
                            {"name", printableText(control.name)},
                            {"minimum", control.minimum},
                            {"maximum", control.maximum},
                            {"step", control.step},
                            {"default", control.defaultValue},
                            {"flags", control.flags}});
    return controls;
}

Json controlOf(const ControlRecord& control) {
    return {{"entity", control.entity},      {"selector", control.selector},
            {"listed", control.listed},      {"answered_by", sourceText(control.source)},
            {"answers", answersOf(control)}, {"driver", driverOf(control.driver)}};
}

} // namespace

std::string writePack(const CameraRecord& record) {
    Json controls = Json::array();
    for (const ControlRecord& control : record.controls)
        controls.push_back(controlOf(control));
    const Json pack = {{"format", packFormat},
                       {"version", packVersion},
                       {"program", printableText(record.program)},
                       {"kernel", printableText(record.kernel)},
                       {"transport", record.transport},
                       {"node", isVideoNode(record.node) ? record.node : std::string()},
                       {"product", printableText(record.product)},
                       {"speed", record.speed},
                       {"control_interface", record.controlInterface},
                       {"device_descriptor", hexText(record.descriptors.device)},
                       {"configuration_descriptor", hexText(record.descriptors.configuration)},
                       {"controls", controls}};
    constexpr int indent = 1;
    return pack.dump(indent, ' ', true, Json::error_handler_t::replace) + "\n";
}

} // namespace tavelo
