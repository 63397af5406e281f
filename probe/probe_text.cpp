// SPDX-License-Identifier: MIT
#include "probe/probe_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "platform/uvc/little_endian.h"

namespace tavelo {
namespace {

constexpr std::string_view digits = "0123456789abcdef";
constexpr double unitsPerSecond = 10'000'000;

std::string rateText(std::uint32_t interval) {
    if (interval == 0) return "never";
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.4g", unitsPerSecond / interval);
    return text.data();
}

} // namespace

std::string hexText(std::span<const std::uint8_t> bytes) {
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0x0FU];
    }
    return text;
}

std::string hexNumber(std::uint32_t number, std::size_t least) {
    std::string text;
    for (; number != 0 || text.size() < least; number >>= 4U)
        text.insert(text.begin(), digits[number & 0x0FU]);
    return "0x" + text;
}

std::string versionText(std::uint16_t bcd) {
    const std::array<std::uint8_t, 2> bytes{highByte(bcd), lowByte(bcd)};
    const std::string text = hexText(bytes);
    return (text[0] == '0' ? text.substr(1, 1) : text.substr(0, 2)) + "." + text.substr(2);
}

std::string valueText(const ClassControl* known, std::span<const std::uint8_t> bytes) {
    if (known == nullptr || bytes.size() != known->size) return hexText(bytes);
    switch (known->form) {
        case ValueForm::number:
        case ValueForm::toggle:
            return std::to_string(integerOf(bytes, false));
        case ValueForm::signedNumber:
            return std::to_string(integerOf(bytes, true));
        case ValueForm::signedPair:
            return std::to_string(integerOf(bytes.first(bytes.size() / 2), true)) + " " +
                   std::to_string(integerOf(bytes.subspan(bytes.size() / 2), true));
        case ValueForm::bitmap:
            return hexNumber(bytes[0], 2);
        case ValueForm::compound:
            break;
    }
    return hexText(bytes);
}

std::string outcomeText(AnswerKind kind) {
    switch (kind) {
        case AnswerKind::answered:
            return {};
        case AnswerKind::stalled:
            return "stalled";
        case AnswerKind::timedOut:
            return "timed out";
        case AnswerKind::notAsked:
            return "not asked";
        case AnswerKind::skipped:
            return "skipped";
        case AnswerKind::failed:
            return "failed";
        case AnswerKind::gone:
            return "gone";
    }
    return {};
}

const ClassControl* knownControl(const CameraDescription& camera, const ControlRecord& record) {
    const auto entity = std::ranges::find(camera.entities, record.entity, &DescribedEntity::id);
    if (entity == camera.entities.end()) return nullptr;
    if (entity->isCameraTerminal()) return classControl({UvcEntity::cameraTerminal, record.selector});
    if (entity->isProcessingUnit()) return classControl({UvcEntity::processingUnit, record.selector});
    return nullptr;
}

std::string controlName(const CameraDescription& camera, const ControlRecord& record) {
    const ClassControl* known = knownControl(camera, record);
    return known != nullptr ? std::string(known->name) : "selector " + std::to_string(record.selector);
}

std::string ratesText(const DescribedFrame& frame) {
    std::string text;
    if (frame.isContinuous && frame.intervals.size() >= 2)
        return rateText(frame.intervals[1]) + " to " + rateText(frame.intervals[0]);
    for (const std::uint32_t interval : frame.intervals)
        text += (text.empty() ? "" : ", ") + rateText(interval);
    return text;
}

} // namespace tavelo
