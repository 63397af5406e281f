// SPDX-License-Identifier: MIT
// Formats, sizes, rates and endpoints of streaming interfaces.
#include "platform/linux/usb/stream/streaming_descriptors.h"

#include <algorithm>

#include "fuzz_expect.h"

// Input as in sysfs "descriptors": 18 bytes of device descriptor, then the configuration.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tavelo::fuzz::expect;
    const auto configuration = std::span(data, size).subspan(std::min<std::size_t>(size, 18));
    for (const std::uint8_t number : {std::uint8_t{1}, std::uint8_t{3}, std::uint8_t{255}}) {
        const tavelo::UvcStreamingInterface found = tavelo::streamingInterfaceOf(configuration, number);
        // A frame descriptor has at least 26 bytes, an endpoint descriptor 7.
        expect(found.offers.size() <= size / 26 && found.settings.size() <= size / 7);
        for (const tavelo::UvcFrameOffer& offer : found.offers) {
            expect(offer.format != 0 && offer.size.width > 0 && offer.size.height > 0);
            for (const tavelo::FrameIntervalRange& range : offer.intervals)
                expect(range.shortest.numerator > 0 && range.shortest.numerator <= range.longest.numerator);
        }
        for (const tavelo::UvcStreamSetting& setting : found.settings)
            expect(setting.packetSize > 0 && setting.packetSize <= 16U * 6 * 1024);
        for (const std::uint32_t payload : {0U, 3072U, 0xFFFF'FFFFU}) {
            const tavelo::UvcStreamSetting* setting = tavelo::settingFor(found, payload);
            expect(setting == nullptr || setting->kind == tavelo::UvcEndpointKind::bulk ||
                   setting->packetSize >= payload);
        }
    }
    return 0;
}
