// SPDX-License-Identifier: MIT
#include "probe/camera_probe.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/uvc/class_controls.h"
#include "platform/uvc/descriptors.h"
#include "platform/uvc/little_endian.h"
#include "probe/camera_description.h"

namespace tavelo {
namespace {

constexpr int mostSilencesOfEntity = 2;
constexpr int mostSilences = 8;
// Far below longestRecordText: a pack needs up to three bytes for one that is not UTF-8.
constexpr std::size_t longestText = 256;
static_assert(3 * longestText <= longestRecordText);

/// Counts silences.
class Patience {
public:
    bool isOver(std::uint8_t entity) const {
        return all_ >= mostSilences || byEntity_[entity] >= mostSilencesOfEntity;
    }
    void add(std::uint8_t entity) {
        ++all_;
        ++byEntity_[entity];
    }

private:
    std::array<int, 256> byEntity_{};
    int all_ = 0;
};

const ClassControl* knownControl(const DescribedEntity& entity, std::uint8_t selector) {
    if (entity.isCameraTerminal()) return classControl({UvcEntity::cameraTerminal, selector});
    if (entity.isProcessingUnit()) return classControl({UvcEntity::processingUnit, selector});
    return nullptr;
}

/// One conversation with a camera.
class Conversation {
public:
    explicit Conversation(CameraInspector& inspector) : inspector_(inspector) {}

    /// False once the camera is gone.
    bool askAll(const CameraDescription& camera, std::vector<ControlRecord>& records) {
        for (const DescribedEntity& entity : camera.entities) {
            for (const std::uint8_t selector : entity.selectors) {
                if (records.size() >= mostControlRecords) return true;
                records.push_back(askListed(entity, selector));
                if (gone_) return false;
            }
        }
        for (const DescribedEntity& entity : camera.entities) {
            askUnlisted(entity, records);
            if (gone_) return false;
        }
        return true;
    }

private:
    RawAnswer ask(const ControlRecord& record, UvcRequest request, std::size_t length) {
        if (patience_.isOver(record.entity)) return {AnswerKind::skipped, {}};
        if (length == 0) return {};
        RawAnswer answer = inspector_.ask(
            {record.entity, record.selector, codeOf(request), static_cast<std::uint16_t>(length)});
        notice(record.entity, answer.kind);
        return answer;
    }

    void notice(std::uint8_t entity, AnswerKind kind) {
        if (kind == AnswerKind::timedOut) patience_.add(entity);
        if (kind == AnswerKind::gone) gone_ = true;
    }

    ControlRecord askListed(const DescribedEntity& entity, std::uint8_t selector) {
        const ClassControl* known = knownControl(entity, selector);
        ControlRecord record;
        record.entity = entity.id;
        record.selector = selector;
        record.listed = true;
        record.source = inspector_.sourceOf(entity.id);
        std::size_t length = known != nullptr ? known->size : 0;
        for (std::size_t i = 0; i < controlReads.size() && !gone_; ++i) {
            const UvcRequest request = controlReads[i];
            if (request == UvcRequest::getInfo) {
                record.answers[i] = ask(record, request, 1);
            } else if (request == UvcRequest::getLen) {
                record.answers[i] = ask(record, request, 2);
                length = lengthFrom(record.answers[i], length);
            } else {
                record.answers[i] = ask(record, request, length);
            }
        }
        if (!gone_) record.driver = viewOf(record);
        return record;
    }

    static std::size_t lengthFrom(const RawAnswer& answer, std::size_t otherwise) {
        const std::size_t told = wordAt(answer.bytes, 0);
        return told > 0 && told <= longestAnswer ? told : otherwise;
    }

    DriverView viewOf(const ControlRecord& record) {
        if (patience_.isOver(record.entity)) return {AnswerKind::skipped, {}};
        DriverView view = inspector_.driverView(record.entity, record.selector);
        notice(record.entity, view.kind);
        return view;
    }

    // The driver does not let through what the camera does not list.
    void askUnlisted(const DescribedEntity& entity, std::vector<ControlRecord>& records) {
        if (inspector_.sourceOf(entity.id) != AnswerSource::camera) return;
        for (const ClassControl& control : classControls()) {
            const std::uint8_t selector = control.address.selector;
            if (knownControl(entity, selector) != &control || patience_.isOver(entity.id)) continue;
            if (std::ranges::find(entity.selectors, selector) != entity.selectors.end()) continue;
            if (gone_ || records.size() >= mostControlRecords) return;
            ControlRecord record;
            record.entity = entity.id;
            record.selector = selector;
            record.answers[placeOf(UvcRequest::getInfo)] = ask(record, UvcRequest::getInfo, 1);
            const AnswerKind kind = record.answerTo(UvcRequest::getInfo).kind;
            if (kind == AnswerKind::answered || kind == AnswerKind::timedOut)
                records.push_back(std::move(record));
        }
    }

    CameraInspector& inspector_;
    Patience patience_;
    bool gone_ = false;
};

std::string shortened(std::string text) {
    text.resize(std::min(text.size(), longestText));
    return text;
}

} // namespace

std::optional<CameraRecord> probeCamera(UsbDevice& device, std::optional<std::uint8_t> controlInterface,
                                        const ProbeOrigin& origin, Error& error) {
    const auto facts = device.facts();
    if (!facts) {
        error = {ErrorCode::gone, "the camera was unplugged"};
        return std::nullopt;
    }
    const auto functions = videoControlInterfaces(facts->descriptors.configuration);
    if (functions.empty() ||
        std::ranges::find(functions, controlInterface.value_or(functions.front())) == functions.end()) {
        error = {ErrorCode::invalid, "the device has no such video-control interface"};
        return std::nullopt;
    }
    CameraRecord record;
    record.program = origin.program;
    record.kernel = shortened(origin.kernel);
    record.product = shortened(facts->product);
    record.speed = facts->speed;
    record.controlInterface = controlInterface.value_or(functions.front());
    record.descriptors = facts->descriptors;
    const auto inspector = device.openInspector(record.controlInterface);
    if (!inspector) {
        error = {ErrorCode::failed, "the camera cannot be opened"};
        return std::nullopt;
    }
    record.transport = inspector->transport();
    record.node = inspector->node();
    Conversation conversation(*inspector);
    if (!conversation.askAll(describeCamera(record.descriptors, record.controlInterface), record.controls)) {
        error = {ErrorCode::gone, "the camera was unplugged while it was asked"};
        return std::nullopt;
    }
    error = {};
    return record;
}

} // namespace tavelo
