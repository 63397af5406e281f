// SPDX-License-Identifier: MIT
// Takes what somebody else changed into the records.
#include "uvc/kt_uvc_manager.h"

#include <cstddef>
#include <optional>
#include <span>

#include "uvc/value_coding.h"

namespace tavelo {
namespace {

ControlRefresh stored(KTUVCParameters& record, std::int64_t value) {
    const bool isSame = record.val() == value;
    record.setVal(value);
    return isSame ? ControlRefresh::same : ControlRefresh::changed;
}

/// As when the record was filled.  Nothing for an answer that is too short for a pair: half of one would be
/// taken for the whole.
std::optional<std::int64_t> decoded(const ControlRow& row, std::span<const std::uint8_t> reply) {
    if (row.argument == ControlArgument::pair)
        return reply.size() == maxValueSize ? std::optional(overlaid(0, reply)) : std::nullopt;
    const auto format = ValueFormat::ofSize(row.intendedSize, row.isSigned);
    return format ? std::optional(format->decode(reply)) : std::nullopt;
}

} // namespace

ControlRefresh KTUVCManager::refreshControl(KTUVCControl control) {
    return refresh(controlRow(control), std::nullopt);
}

ControlRefresh KTUVCManager::refresh(const ControlRow& row, Only only) {
    const Record target = record(row.control);
    if (!target || !target->controlInfo() || !target->supported()) return ControlRefresh::failed;
    std::optional<std::uint64_t> quietBefore;
    const auto binding = binding_.forWriting(only, [&] { quietBefore = writeMarks_.quiet(row.control); });
    if (!binding) return ControlRefresh::failed;
    if (!quietBefore) return ControlRefresh::overtaken;

    std::unique_ptr<std::uint8_t[]> reply;
    const std::int32_t size = requestValue(*binding, UvcRequest::getCur, *target->controlInfo(), reply);
    if (size < 1) return ControlRefresh::failed;
    const auto value = decoded(row, {reply.get(), static_cast<std::size_t>(size)});
    if (!value) return ControlRefresh::failed;

    auto result = ControlRefresh::failed; // another camera was bound meanwhile
    binding_.ifCurrent(binding->identity, [&] {
        // What was written meanwhile may be newer than the answer, and its setter looks for it in the record.
        if (writeMarks_.quiet(row.control) != quietBefore) {
            result = ControlRefresh::overtaken;
            return;
        }
        result = stored(*target, *value);
    });
    return result;
}

ControlRefresh KTUVCManager::takeReported(const ControlRow& row, BindingIdentity only,
                                          std::span<const std::uint8_t> value,
                                          std::optional<std::uint64_t> unwrittenSince) {
    const Record target = record(row.control);
    if (!target || !target->supported()) return ControlRefresh::failed;
    // A transport remembers the pair that it last read or wrote, so a pair has to pass through it.
    const bool isUsable = !value.empty() && row.argument != ControlArgument::pair;
    const auto reported = isUsable ? decoded(row, value) : std::nullopt;
    auto result = ControlRefresh::failed;
    binding_.ifCurrent(only, [&] {
        // Written meanwhile: nobody knows which of the two came last.
        if (!reported || !unwrittenSince || writeMarks_.quiet(row.control) != unwrittenSince) return;
        result = stored(*target, *reported);
    });
    return result == ControlRefresh::failed ? refresh(row, only) : result;
}

} // namespace tavelo
