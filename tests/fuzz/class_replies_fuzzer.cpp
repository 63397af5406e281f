// SPDX-License-Identifier: MIT
// What a camera answers to the class's requests: while it is bound, set, reset, refreshed and described.
//
// Input: a byte that chooses which controls the descriptors list and the transport, then the answers of the
// camera (fuzzed_usb.h, fuzzed_handle.h) or of the driver (fuzzed_node.h), between which bytes choose what is
// done next.
#include <array>
#include <string>

#include "commands/control_change.h"
#include "commands/control_state.h"
#include "fuzz_expect.h"
#include "fuzzed_handle.h"
#include "fuzzed_node.h"
#include "fuzzed_usb.h"
#include "platform/linux/kernel/control_interface.h"
#include "platform/linux/usb/control_interface.h"
#include "profiles/camera_settings.h"
#include "profiles/settings_push.h"
#include "uvc/kt_uvc_manager.h"
#include "uvc/reported_changes.h"

namespace {

using tavelo::fuzz::expect;
using tavelo::fuzz::FuzzInput;

constexpr std::uint32_t location = 0x14200000;
constexpr tavelo::Guid vendorsUnit{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
constexpr std::size_t longestUnitValue = 9;

tavelo::BusProberDevice recordFor(std::uint8_t choice) {
    tavelo::BusProberDevice record;
    record.locationID = location;
    record.controlInterface = 0;
    if (choice == 0) return record; // the descriptors say nothing
    record.terminalID = 1;
    record.unitID = 2;
    for (const tavelo::ControlRow& row : tavelo::controlTable()) {
        record.*row.supportFlag = true;
        if (row.secondSupportFlag != nullptr) record.*row.secondSupportFlag = true;
    }
    record.extensionUnits = {{3, vendorsUnit, ~std::bitset<256>()}};
    return record;
}

std::vector<tavelo::ExtensionControl> described() {
    tavelo::ExtensionControl control;
    control.unit = vendorsUnit;
    control.selector = 1;
    control.length = longestUnitValue;
    control.field = {13, 17, true};
    control.name = "vendors-number";
    control.titles = {{"en", "Number"}};
    tavelo::ExtensionControl choice = control;
    choice.selector = 2;
    choice.length = 1;
    choice.field = {0, 8, false};
    choice.form = tavelo::ExtensionForm::choice;
    choice.name = "vendors-choice";
    choice.choices = {{0, "off", {{"en", "Off"}}}, {7, "on", {{"en", "On"}}}};
    return {control, choice};
}

tavelo::UsbVideoFunction videoFunction() {
    tavelo::UsbVideoFunction function;
    function.entities[1] = {tavelo::UvcEntity::cameraTerminal, ~std::bitset<256>()};
    function.entities[2] = {tavelo::UvcEntity::processingUnit, ~std::bitset<256>()};
    function.extensionUnits = {{3, vendorsUnit, ~std::bitset<256>()}};
    return function;
}

class Silent final : public tavelo::Diagnostics {
public:
    void report(std::string_view /*device*/, std::string_view reason) noexcept override {
        expect(!reason.empty() && reason.find('\n') == std::string_view::npos);
    }
};

tavelo::fuzz::OpenInterface transport(std::uint8_t choice, FuzzInput& input,
                                      tavelo::Diagnostics& diagnostics) {
    switch (choice % 3) {
        case 0:
            return [&input] { return std::make_shared<tavelo::fuzz::FuzzedInterface>(input); };
        case 1:
            return [&input, &diagnostics] {
                return std::make_shared<tavelo::UsbControlInterface>(
                    std::make_shared<tavelo::fuzz::FuzzedHandle>(input), videoFunction(), "camera",
                    diagnostics);
            };
        default:
            return [&input, &diagnostics] {
                return std::make_shared<tavelo::KernelControlInterface>(
                    std::make_shared<tavelo::fuzz::FuzzedNode>(input),
                    tavelo::KernelInterfaceAddress{0, 1, 2, "/dev/video0", videoFunction().extensionUnits},
                    diagnostics);
            };
    }
}

void lookAtRecords(const tavelo::KTUVCManager& manager) {
    for (const tavelo::ControlRow& row : tavelo::controlTable()) {
        const tavelo::KTUVCParameters& record = *manager.record(row.control);
        expect(record.actualSize() <= row.intendedSize);
        if (!record.supported())
            expect(record.val() == -1 && record.min() == -1 && record.max() == -1 && record.def() == -1);
    }
}

void lookAtStates(tavelo::KTUVCManager& manager, const tavelo::ControlCatalog& catalog) {
    for (const tavelo::ControlState& state : tavelo::controlStates(manager, catalog)) {
        expect(state.control != nullptr && !tavelo::rangeText(state).empty());
        // The class's ranges are as the camera says.  It may name one end of a vendor's and refuse the other.
        if (state.control->extension == nullptr)
            expect(state.minimum.has_value() == state.maximum.has_value());
        else
            expect(!state.minimum || !state.maximum || *state.minimum < *state.maximum);
        expect(!tavelo::valueText(*state.control, state.value).empty());
    }
}

void lookAtUnit(tavelo::KTUVCManager& manager, const tavelo::ControlCatalog& catalog) {
    for (const char* name : {"vendors-number", "vendors-choice"}) {
        const tavelo::NamedControl& control = *catalog.find(name, nullptr);
        const auto state = tavelo::controlState(manager, control, true);
        if (state) expect(control.extension->field.holds(state->value));
    }
}

void change(tavelo::KTUVCManager& manager, const tavelo::ControlCatalog& catalog, FuzzInput& input) {
    const auto controls = catalog.controlsOf(manager.device().get());
    if (controls.empty()) return;
    using Kind = tavelo::ControlChange::Kind;
    const tavelo::ControlChange wanted{controls[input.byte() % controls.size()],
                                       static_cast<Kind>(input.byte() % 4),
                                       static_cast<double>(static_cast<std::int32_t>(input.number()))};
    std::string reason;
    const auto plan = tavelo::planChanges(manager, std::span(&wanted, 1), (input.byte() & 1U) != 0, reason);
    expect(plan.has_value() == reason.empty());
    if (!plan) return;
    for (const tavelo::PlannedWrite& planned : *plan)
        tavelo::write(manager, planned);
}

void report(tavelo::KTUVCManager& manager, FuzzInput& input) {
    const auto& rows = tavelo::controlTable();
    const auto& row = rows[input.byte() % rows.size()];
    const auto value = input.bytes(input.byte() % 16);
    tavelo::ReportedChanges(manager).take(
        row.control, {{row.unit == 1 ? tavelo::UvcEntity::cameraTerminal : tavelo::UvcEntity::processingUnit,
                       static_cast<std::uint8_t>(row.selector)},
                      {value.begin(), value.end()}});
}

void doNext(tavelo::KTUVCManager& manager, const tavelo::ControlCatalog& catalog, FuzzInput& input) {
    switch (input.byte() % 8) {
        case 0:
            return change(manager, catalog, input);
        case 1:
            return report(manager, input);
        case 2:
            return manager.resetParamsToDefaults();
        case 3:
            return manager.sendParamsToDevice();
        case 4:
            return lookAtStates(manager, catalog);
        case 5:
            return lookAtUnit(manager, catalog);
        case 6:
            static_cast<void>(manager.openInterfaceAgain());
            return;
        default: {
            tavelo::PreferencesDictionary profile = tavelo::camera_settings::defaults(manager);
            tavelo::camera_settings::storeCurrent(profile, manager, false);
            for (const auto& each : tavelo::camera_settings::valuesToWrite(profile, manager))
                expect(manager.record(each.control->control)->supported());
            static_cast<void>(tavelo::camera_settings::areDefaults(profile, manager));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tavelo::ControlCatalog catalog{described()};
    FuzzInput input(data, size);
    Silent diagnostics;
    const std::uint8_t choice = input.byte();
    tavelo::fuzz::FuzzedPlatform platform(transport(choice / 4, input, diagnostics), recordFor(choice % 4));
    tavelo::KTUVCManager manager(tavelo::KTUVCEnvironment{.usb = &platform});
    manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
    expect(manager.refreshDataWithLocationID({{location, location, location}}));
    lookAtRecords(manager);
    constexpr int mostSteps = 32;
    for (int step = 0; step < mostSteps && !input.isEmpty(); ++step)
        doNext(manager, catalog, input);
    return 0;
}
