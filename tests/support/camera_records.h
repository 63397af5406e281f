// SPDX-License-Identifier: MIT
// Camera records made by hand.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "platform/uvc/camera_record.h"
#include "platform/uvc/little_endian.h"

namespace tavelo::testing {

inline RawAnswer answered(std::vector<std::uint8_t> bytes) {
    return {AnswerKind::answered, std::move(bytes)};
}

inline RawAnswer answered(std::int64_t number, std::size_t size) {
    RawAnswer answer{AnswerKind::answered, {}};
    appendLittleEndian(answer.bytes, static_cast<std::uint64_t>(number), size);
    return answer;
}

inline RawAnswer& answerIn(ControlRecord& record, UvcRequest request) {
    return record.answers.at(placeOf(request));
}

/// The numbers that a control answers.
struct Numbers {
    std::int64_t minimum = 0;
    std::int64_t maximum = 0;
    std::int64_t resolution = 1;
    std::int64_t defaultValue = 0;
    std::int64_t current = 0;
};

/// A listed control that answers everything and can be read and set.
inline ControlRecord numberControl(std::uint8_t entity, std::uint8_t selector, std::size_t size,
                                   const Numbers& numbers) {
    ControlRecord record;
    record.entity = entity;
    record.selector = selector;
    record.listed = true;
    answerIn(record, UvcRequest::getInfo) = answered({3});
    answerIn(record, UvcRequest::getLen) = answered(static_cast<std::int64_t>(size), 2);
    answerIn(record, UvcRequest::getMin) = answered(numbers.minimum, size);
    answerIn(record, UvcRequest::getMax) = answered(numbers.maximum, size);
    answerIn(record, UvcRequest::getRes) = answered(numbers.resolution, size);
    answerIn(record, UvcRequest::getDef) = answered(numbers.defaultValue, size);
    answerIn(record, UvcRequest::getCur) = answered(numbers.current, size);
    return record;
}

/// A listed switch of one byte.
inline ControlRecord toggleControl(std::uint8_t entity, std::uint8_t selector, std::int64_t defaultValue,
                                   std::int64_t current) {
    ControlRecord record = numberControl(entity, selector, 1, {0, 0, 0, defaultValue, current});
    for (const UvcRequest request : {UvcRequest::getMin, UvcRequest::getMax, UvcRequest::getRes})
        answerIn(record, request) = {AnswerKind::stalled, {}};
    return record;
}

} // namespace tavelo::testing
