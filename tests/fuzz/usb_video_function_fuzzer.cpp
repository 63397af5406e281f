// SPDX-License-Identifier: MIT
// The video functions that the USB transport reads from a configuration, compared with the prober's parser.
#include "platform/uvc/usb_video_function.h"

#include <algorithm>
#include <set>

#include "fuzz_expect.h"
#include "platform/uvc/descriptors.h"

namespace {

using tavelo::fuzz::expect;

void look(std::span<const std::uint8_t> configuration, std::uint8_t number) {
    const tavelo::UsbVideoFunction function = tavelo::videoFunctionOf(configuration, number);
    expect(function.controlInterface == number);
    const std::set<std::uint8_t> distinct(function.streamingInterfaces.begin(),
                                          function.streamingInterfaces.end());
    expect(distinct.size() == function.streamingInterfaces.size());
    const auto interfaces = tavelo::interfacesOf(configuration);
    for (const std::uint8_t streaming : function.streamingInterfaces)
        expect(std::ranges::find(interfaces, streaming, &tavelo::UsbInterfaceDescriptor::number) !=
               interfaces.end());
    for (const auto& [id, entity] : function.entities) {
        expect(function.kindOf(id) == entity.kind);
        expect(!entity.selectors[0]);
    }
    // The camera terminal and the processing unit that the prober found must be known here too.
    const auto record = tavelo::probeDescriptors({}, configuration, number);
    if (!record.controlInterface) return;
    for (const std::int32_t id : {record.terminalID, record.unitID})
        expect(id == -1 || function.entities.contains(static_cast<std::uint8_t>(id)));
}

} // namespace

// Input as in sysfs "descriptors": 18 bytes of device descriptor, then the configuration.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto configuration = std::span(data, size).subspan(std::min<std::size_t>(size, 18));
    const auto numbers = tavelo::videoControlInterfaces(configuration);
    for (const std::uint8_t number : numbers)
        look(configuration, number);
    look(configuration, 0);
    return 0;
}
