// SPDX-License-Identifier: MIT
#include "probe/json/report_json.h"

#include <nlohmann/json.hpp>

#include "platform/uvc/guid.h"
#include "probe/camera_description.h"
#include "probe/control_findings.h"
#include "probe/json/pack_words.h"
#include "probe/probe_text.h"

namespace tavelo {
namespace {

using Json = nlohmann::ordered_json;

Json identityOf(const CameraDescription& camera, const CameraRecord& record) {
    return {{"name", record.product},
            {"vendor", hexNumber(camera.vendorID, 4)},
            {"product", hexNumber(camera.productID, 4)},
            {"release", versionText(camera.release)},
            {"usb", versionText(camera.usbVersion)},
            {"uvc", versionText(camera.classVersion)},
            {"speed", record.speed},
            {"control_interface", record.controlInterface}};
}

Json entityOf(const DescribedEntity& entity) {
    Json json = {{"id", entity.id}, {"kind", entity.kind()}};
    if (entity.terminalType != 0) json["terminal_type"] = hexNumber(entity.terminalType, 4);
    if (entity.isExtensionUnit()) json["guid"] = guidText(entity.guid);
    json["sources"] = entity.sources;
    json["bm_controls"] = hexText(entity.bmControls);
    json["selectors"] = entity.selectors;
    return json;
}

Json frameOf(const DescribedFrame& frame) {
    return {{"index", frame.index},
            {"width", frame.width},
            {"height", frame.height},
            {"default_interval", frame.defaultInterval},
            {"continuous", frame.isContinuous},
            {"intervals", frame.intervals}};
}

Json streamOf(const StreamingDescription& stream) {
    Json formats = Json::array();
    for (const DescribedFormat& format : stream.formats) {
        Json frames = Json::array();
        for (const DescribedFrame& frame : format.frames)
            frames.push_back(frameOf(frame));
        formats.push_back({{"index", format.index}, {"name", format.name()}, {"frames", frames}});
    }
    Json settings = Json::array();
    for (const DescribedSetting& setting : stream.settings) {
        const bool bulk = setting.kind == StreamingEndpointKind::bulk;
        settings.push_back({{"alternate", setting.alternate},
                            {"endpoint", hexNumber(setting.endpoint, 2)},
                            {"kind", bulk ? "bulk" : "isochronous"},
                            {"bytes", setting.bytes}});
    }
    return {{"interface", stream.interface},
            {"endpoint", hexNumber(stream.endpoint, 2)},
            {"formats", formats},
            {"settings", settings}};
}

Json answersOf(const ControlRecord& control, const ClassControl* known) {
    Json answers = Json::object();
    for (const UvcRequest request : controlReads) {
        const RawAnswer& answer = control.answerTo(request);
        Json& json = answers[std::string(nameOf(request))];
        if (answer.kind != AnswerKind::answered) {
            json = {{"outcome", outcomeText(answer.kind)}};
            continue;
        }
        json = {{"outcome", "answered"}, {"bytes", hexText(answer.bytes)}};
        const bool isValue = request != UvcRequest::getInfo && request != UvcRequest::getLen;
        if (isValue && known != nullptr) json["value"] = valueText(known, answer.bytes);
    }
    return answers;
}

Json driverViewOf(const DriverView& driver) {
    Json controls = Json::array();
    for (const DriverControl& control : driver.controls)
        controls.push_back({{"id", hexNumber(control.id, 8)},
                            {"name", control.name},
                            {"minimum", control.minimum},
                            {"maximum", control.maximum},
                            {"step", control.step},
                            {"default", control.defaultValue},
                            {"flags", control.flags}});
    const bool answered = driver.kind == AnswerKind::answered;
    return {{"outcome", answered ? "answered" : outcomeText(driver.kind)}, {"controls", controls}};
}

Json controlsOf(const CameraDescription& camera, const CameraRecord& record) {
    Json controls = Json::array();
    for (const ControlRecord& control : record.controls)
        controls.push_back({{"entity", control.entity},
                            {"selector", control.selector},
                            {"name", controlName(camera, control)},
                            {"listed", control.listed},
                            {"answered_by", sourceText(control.source)},
                            {"answers", answersOf(control, knownControl(camera, control))},
                            {"driver", driverViewOf(control.driver)}});
    return controls;
}

Json findingsIn(const CameraDescription& camera, const CameraRecord& record) {
    Json findings = Json::array();
    for (const Finding& finding : findingsOf(camera, record))
        findings.push_back(
            {{"entity", finding.entity}, {"selector", finding.selector}, {"text", finding.text}});
    return findings;
}

} // namespace

std::string reportJson(const CameraRecord& record) {
    const CameraDescription camera = describeCamera(record.descriptors, record.controlInterface);
    Json entities = Json::array();
    for (const DescribedEntity& entity : camera.entities)
        entities.push_back(entityOf(entity));
    Json streams = Json::array();
    for (const StreamingDescription& stream : camera.streams)
        streams.push_back(streamOf(stream));
    const Json report = {{"program", record.program},
                         {"kernel", record.kernel},
                         {"transport", record.transport},
                         {"node", record.node},
                         {"identity", identityOf(camera, record)},
                         {"entities", entities},
                         {"streams", streams},
                         {"controls", controlsOf(camera, record)},
                         {"disagreements", findingsIn(camera, record)}};
    constexpr int indent = 2;
    return report.dump(indent, ' ', true, Json::error_handler_t::replace) + "\n";
}

} // namespace tavelo
