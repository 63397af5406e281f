// SPDX-License-Identifier: MIT
// A real camera's node: everything goes to its driver, and frames are logged.
#pragma once

#include "bench/peers/preload/device_file.h"
#include "bench/peers/preload/frame_log.h"

namespace tavelo::bench {

class ObservedFile final : public DeviceFile {
public:
    explicit ObservedFile(FrameLog& log) : log_(log) {}

    int control(int file, unsigned long request, void* argument) override;
    void* map(void* where, std::size_t length, int protection, int flags, int file, off_t offset) override;
    ssize_t read(int file, void* buffer, std::size_t length) override;

private:
    FrameLog& log_;
};

} // namespace tavelo::bench
