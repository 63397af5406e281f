// SPDX-License-Identifier: MIT
#include "virtual-camera/request_log.h"

#include <chrono>
#include <cstdio>

namespace tavelo {
namespace {

std::string hexadecimal(const std::vector<std::uint8_t>& bytes) {
    constexpr char digits[] = "0123456789abcdef";
    if (bytes.empty()) return "-";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

std::string outcomeOf(const RequestRecord& record) {
    switch (record.outcome) {
        case UsbReplyKind::stall:
            return "stall:" + std::to_string(record.errorCode);
        case UsbReplyKind::silence:
            return "silence";
        case UsbReplyKind::done:
            break;
    }
    return "ok";
}

std::string monotonicTime() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
    char text[32];
    std::snprintf(text, sizeof text, "%lld.%06lld", static_cast<long long>(microseconds / 1'000'000),
                  static_cast<long long>(microseconds % 1'000'000));
    return text;
}

} // namespace

std::string describeRequest(int camera, const RequestRecord& record) {
    const UsbSetup& setup = record.setup;
    char text[64];
    std::snprintf(text, sizeof text, "%d %02x %02x %04x %04x %u", camera, unsigned{setup.bmRequestType},
                  unsigned{setup.bRequest}, unsigned{setup.wValue}, unsigned{setup.wIndex},
                  unsigned{setup.wLength});
    return std::string(text) + ' ' + hexadecimal(record.data) + ' ' + outcomeOf(record);
}

void RequestLog::write(int camera, const RequestRecord& record) {
    const std::string line = monotonicTime() + ' ' + describeRequest(camera, record) + '\n';
    const std::scoped_lock lock(mutex_);
    file_ << line << std::flush;
}

} // namespace tavelo
