// SPDX-License-Identifier: MIT
// Camera packs, which people send each other.
#include <string>

#include "fuzz_expect.h"
#include "platform/uvc/camera_record.h"
#include "probe/json/pack.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tavelo::fuzz::expect;
    tavelo::Error error;
    const auto record = tavelo::readPack(std::string_view(reinterpret_cast<const char*>(data), size), error);
    if (!record) {
        expect(!error.text.empty() && error.text.find('\n') == std::string::npos);
        return 0;
    }
    // What is read can be handed on, and says the same then.
    const std::string written = tavelo::writePack(*record);
    const auto again = tavelo::readPack(written, error);
    expect(again.has_value() && tavelo::writePack(*again) == written);
    return 0;
}
