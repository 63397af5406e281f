// SPDX-License-Identifier: MIT
#include <cstdlib>

#include "platform/common/uvc_descriptors.h"

namespace {

// Ends the run where an answer makes no sense; the sanitizers end it where a read goes astray.
void expect(bool sane) {
    if (!sane) std::abort();
}

} // namespace

// The first 18 bytes are the device descriptor, as in the kernel's own file of a device's descriptors.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
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
    for (const std::uint8_t number : numbers)
        tavelo::probeDescriptors(bytes.first(split), configuration, number);
    return 0;
}
