// SPDX-License-Identifier: MIT
#include "uvc/kt_uvc_control_records.h"

#include <cstdint>
#include <string>
#include <string_view>

#include "text/localizer.h"

namespace tavelo {
namespace {

std::string shown(const Localizer* localizer, std::string_view text, std::string_view key) {
    if (localizer == nullptr || key.empty()) return std::string(text);
    return localizer->localizedWith(text, key);
}

std::shared_ptr<KTUVCParameters> makeRecord(const ControlRow& row, const Localizer* text) {
    constexpr bool isRelative = false;
    auto record = std::make_shared<KTUVCParameters>(row.unit, row.selector, row.intendedSize, row.hasMin,
                                                    row.hasMax, row.hasDef, row.isSigned, isRelative,
                                                    row.type, shown(text, row.text, row.key));
    if (row.choices.empty()) return record;

    auto choices = std::make_shared<KTUVCParameters::Choices>();
    for (const ControlChoice& choice : row.choices)
        choices->emplace(choice.value, shown(text, choice.text, choice.key));
    record->setEnumeratorDictionary(std::move(choices));
    return record;
}

} // namespace

void KTUVCControlRecords::initParameters(const Localizer* text) {
    for (const ControlRow& row : controlTable())
        setRecord(row.control, makeRecord(row, text));

    for (std::size_t tag = 0; tag < records_.size(); ++tag)
        records_[tag]->setTag(static_cast<std::int64_t>(tag));
}

} // namespace tavelo
