// SPDX-License-Identifier: MIT
#include "probe/report_text.h"

#include <string_view>

#include "platform/uvc/guid.h"
#include "probe/camera_description.h"
#include "probe/control_findings.h"
#include "probe/probe_text.h"

namespace tavelo {
namespace {

/// Writes the report piece by piece.
class Report {
public:
    explicit Report(const CameraRecord& record)
        : record_(record),
          camera_(describeCamera(record.descriptors, record.controlInterface)),
          findings_(findingsOf(camera_, record)) {}

    std::string write() {
        writeIdentity();
        writeEntities();
        for (const StreamingDescription& stream : camera_.streams)
            writeStream(stream);
        writeControls();
        writeFindings();
        return std::move(text_);
    }

private:
    void line(std::size_t indent, std::string_view text) {
        text_.append(2 * indent, ' ').append(text).append("\n");
    }

    void writeIdentity() {
        line(0, record_.product.empty() ? "Camera without a name" : record_.product);
        line(1, "vendor " + hexNumber(camera_.vendorID, 4) + ", product " + hexNumber(camera_.productID, 4) +
                    ", release " + versionText(camera_.release));
        line(1, "USB " + versionText(camera_.usbVersion) + ", USB Video Class " +
                    versionText(camera_.classVersion) +
                    (record_.speed > 0 ? ", " + std::to_string(record_.speed) + " Mbit/s" : std::string()));
        std::string asked = "asked over the transport \"" + record_.transport + "\"";
        if (!record_.node.empty()) asked += ", " + record_.node;
        line(1, asked + ", kernel " + record_.kernel);
    }

    void writeEntities() {
        line(0, "");
        line(0, "Entities of control interface " + std::to_string(record_.controlInterface));
        for (const DescribedEntity& entity : camera_.entities) {
            std::string text = std::to_string(entity.id) + " " + entity.kind();
            if (entity.terminalType != 0) text += " of type " + hexNumber(entity.terminalType, 4);
            if (entity.isExtensionUnit()) text += " " + guidText(entity.guid);
            for (std::size_t i = 0; i < entity.sources.size(); ++i)
                text += (i == 0 ? ", fed by " : ", ") + std::to_string(entity.sources[i]);
            line(1, text);
            if (!entity.bmControls.empty()) line(2, "bmControls " + hexText(entity.bmControls));
            for (const std::uint8_t selector : entity.selectors)
                line(3, controlName(camera_, selectorOf(entity, selector)));
        }
    }

    static ControlRecord selectorOf(const DescribedEntity& entity, std::uint8_t selector) {
        ControlRecord control;
        control.entity = entity.id;
        control.selector = selector;
        return control;
    }

    void writeStream(const StreamingDescription& stream) {
        line(0, "");
        line(0, "Formats of streaming interface " + std::to_string(stream.interface) + ", endpoint " +
                    hexNumber(stream.endpoint, 2));
        for (const DescribedFormat& format : stream.formats) {
            line(1, std::to_string(format.index) + " " + format.name());
            for (const DescribedFrame& frame : format.frames)
                line(2, std::to_string(frame.index) + " " + std::to_string(frame.width) + "x" +
                            std::to_string(frame.height) + ", frames a second: " + ratesText(frame));
        }
        for (const DescribedSetting& setting : stream.settings) {
            const bool bulk = setting.kind == StreamingEndpointKind::bulk;
            line(1, "alternate setting " + std::to_string(setting.alternate) + ", endpoint " +
                        hexNumber(setting.endpoint, 2) + ", " + (bulk ? "bulk, " : "isochronous, ") +
                        std::to_string(setting.bytes) + " bytes");
        }
    }

    void writeControls() {
        line(0, "");
        line(0, "Controls");
        for (const ControlRecord& control : record_.controls) {
            std::string head = "entity " + std::to_string(control.entity) + ", selector " +
                               std::to_string(control.selector) + ": " + controlName(camera_, control);
            if (!control.listed) head += " (not listed)";
            if (control.source == AnswerSource::driver) head += " (the kernel's driver answers)";
            line(1, head);
            writeAnswers(control);
            writeDriver(control.driver);
        }
    }

    void writeAnswers(const ControlRecord& control) {
        const ClassControl* known = knownControl(camera_, control);
        for (const UvcRequest request : controlReads) {
            const RawAnswer& answer = control.answerTo(request);
            if (!control.listed && answer.kind == AnswerKind::notAsked) continue;
            std::string text = std::string(nameOf(request)) + " ";
            if (answer.kind != AnswerKind::answered) {
                line(2, text + outcomeText(answer.kind));
                continue;
            }
            text += answer.bytes.empty() ? "no bytes" : hexText(answer.bytes);
            const bool isValue = request != UvcRequest::getInfo && request != UvcRequest::getLen;
            const std::string value = isValue ? valueText(known, answer.bytes) : std::string();
            if (!value.empty() && value != hexText(answer.bytes)) text += " = " + value;
            line(2, text);
        }
    }

    void writeDriver(const DriverView& driver) {
        if (driver.kind == AnswerKind::notAsked) return;
        if (driver.kind != AnswerKind::answered) line(2, "driver " + outcomeText(driver.kind));
        if (driver.kind == AnswerKind::answered && driver.controls.empty())
            line(2, "driver has no control for it");
        for (const DriverControl& control : driver.controls)
            line(2, "driver \"" + control.name + "\" (" + hexNumber(control.id, 8) +
                        "): " + std::to_string(control.minimum) + " to " + std::to_string(control.maximum) +
                        ", step " + std::to_string(control.step) + ", default " +
                        std::to_string(control.defaultValue) + ", flags " + hexNumber(control.flags, 1));
    }

    void writeFindings() {
        line(0, "");
        line(0, findings_.empty() ? "No disagreements" : "Disagreements");
        for (const Finding& finding : findings_) {
            std::string subject = "camera";
            if (finding.entity != 0) subject = "entity " + std::to_string(finding.entity);
            if (finding.selector != 0) {
                ControlRecord control;
                control.entity = finding.entity;
                control.selector = finding.selector;
                subject += ", " + controlName(camera_, control);
            }
            line(1, subject + ": " + finding.text);
        }
    }

    const CameraRecord& record_;
    const CameraDescription camera_;
    const std::vector<Finding> findings_;
    std::string text_;
};

} // namespace

std::string reportText(const CameraRecord& record) {
    return Report(record).write();
}

} // namespace tavelo
