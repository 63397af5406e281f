// SPDX-License-Identifier: MIT
// The entities and controls that the prober reads.
#include "platform/uvc/descriptors.h"

#include <algorithm>

#include "fuzz_expect.h"
#include "platform/uvc/matching_interfaces.h"

// Input as in sysfs "descriptors": 18 bytes of device descriptor, then the configuration.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tavelo::fuzz::expect;
    const std::span<const std::uint8_t> bytes(data, size);
    const std::size_t split = size < 18 ? size : 18;
    const auto configuration = tavelo::configurationWithValue(bytes.subspan(split), 1);
    const auto device = tavelo::probeDescriptors(bytes.first(split), configuration);
    expect(device.terminalID == -1 || (device.terminalID > 0 && device.terminalID <= 255));
    expect(device.unitID == -1 || (device.unitID > 0 && device.unitID <= 255));
    expect(device.terminalID != -1 || !device.supportZoom);
    expect(device.unitID != -1 || !device.supportBright);
    const auto numbers = tavelo::videoControlInterfaces(configuration);
    expect(!numbers.empty() || device.terminalID == -1);
    constexpr tavelo::UsbInterfaceMatch videoControl{0x0E, 0x01};
    for (const std::uint8_t number : tavelo::matchingInterfaces(configuration, videoControl))
        expect(std::ranges::find(numbers, number) != numbers.end());
    for (const std::uint8_t number : numbers)
        expect(tavelo::probeDescriptors(bytes.first(split), configuration, number).controlInterface ==
               number);
    return 0;
}
