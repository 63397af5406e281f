// SPDX-License-Identifier: MIT
// Virtual cameras, a clock that the test sets and preferences in memory.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/virtual/backend.h"
#include "profiles/camera_settings.h"
#include "support/manual_clock.h"
#include "support/manual_main_queue.h"
#include "support/memory_preferences_store.h"
#include "watch/watched_cameras.h"

namespace tavelo {

class WatchTest : public ::testing::Test {
protected:
    WatchedCamerasParts parts() { return {backend, mainQueue, clock, {}}; }

    std::shared_ptr<VirtualCameraFirmware> firmware(int number = 1) { return backend.bus->camera(number); }

    std::shared_ptr<CaptureDevice> device(std::size_t index = 0) {
        return backend.capture->devicesWithMediaType(MediaType::video).at(index);
    }

    /// Lets time pass, with all that is due on the main thread.
    void pass(std::chrono::milliseconds time) {
        mainQueue.drain();
        clock.pass(time);
        mainQueue.drain();
    }

    void fault(FaultKind kind, ControlAddress control, UvcRequest request) {
        FirmwareFault fault;
        fault.kind = kind;
        fault.control = control;
        fault.request = request;
        firmware()->order(fault);
    }

    testing::ManualMainQueue mainQueue;
    testing::ManualClock clock;
    VirtualBackend backend = makeVirtualBackend(2, {}, mainQueue);
    MemoryPreferencesStore store{mainQueue};
    std::vector<std::string> lines;
};

} // namespace tavelo
