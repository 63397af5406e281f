// SPDX-License-Identifier: MIT
// Prints what other programs change on a camera behind the kernel's driver.
//
// Usage: control_watch_check /dev/videoN
// Sets the contrast to its minimum, which must not be reported.  Prints "watching", then a line for each
// change
// ("terminal" or "unit", selector, value in hexadecimal digits), and "ended" once the camera is gone.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <semaphore>
#include <string>

#include "platform/linux/bus/sysfs_usb.h"
#include "platform/linux/kernel/backend.h"
#include "support/manual_main_queue.h"
#include "support/standard_error_diagnostics.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {
namespace {

int fail(const std::string& reason) {
    std::fprintf(stderr, "control_watch_check: %s\n", reason.c_str());
    return 2;
}

void print(const ChangedControl& change) {
    std::printf("%s %d ", change.control.entity == UvcEntity::cameraTerminal ? "terminal" : "unit",
                int(change.control.selector));
    for (const std::uint8_t byte : change.value)
        std::printf("%02x", unsigned{byte});
    std::puts("");
    std::fflush(stdout);
}

int watch(const std::string& node) {
    const auto identity = usbIdentityOfVideoNode("/sys", node);
    if (!identity) return fail(node + " is no USB camera");
    testing::StandardErrorDiagnostics diagnostics;
    testing::ManualMainQueue mainQueue;
    const Backend backend = makeKernelBackend({mainQueue, diagnostics});
    KTUVCManager manager({backend.usb.get(), nullptr});
    manager.initProberWithBusProberScopeProberDelegate(2, nullptr);
    if (!manager.refreshDataWithUniqueIDString(identity->captureIdentifier()) || !manager.interface())
        return fail(node + " cannot be bound");
    std::binary_semaphore ended(0);
    const auto watch = manager.interface()->watchControls({print, [&ended] { ended.release(); }});
    if (!watch) return fail("its driver tells nothing");
    manager.setContrastWithComplitionHandle(manager.contrast()->min(), {});
    std::puts("watching");
    std::fflush(stdout);
    ended.acquire();
    std::puts("ended");
    return 0;
}

} // namespace
} // namespace tavelo

int main(int argc, char** argv) {
    if (argc != 2) return tavelo::fail("usage: control_watch_check /dev/videoN");
    return tavelo::watch(argv[1]);
}
