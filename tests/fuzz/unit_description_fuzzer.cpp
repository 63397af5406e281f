// SPDX-License-Identifier: MIT
// Descriptions of extension units.
#include "extensions/json/description_reader.h"
#include "fuzz_expect.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tavelo::fuzz::expect;
    std::string reason;
    const auto controls = tavelo::readDescription(
        std::string_view(reinterpret_cast<const char*>(data), size),
        [](std::string_view name) { return name == "brightness"; }, reason);
    expect(controls.has_value() == reason.empty());
    if (!controls) return 0;
    expect(controls->size() <= tavelo::mostUnitControls);
    for (const tavelo::ExtensionControl& control : *controls) {
        expect(!control.name.empty() && control.name.size() <= tavelo::longestControlName);
        expect(control.name != "brightness");
    }
    return 0;
}
