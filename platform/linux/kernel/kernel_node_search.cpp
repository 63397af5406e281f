// SPDX-License-Identifier: MIT
#include "platform/linux/kernel/kernel_node_search.h"

#include <cerrno>
#include <chrono>
#include <system_error>
#include <vector>

#include "platform/linux/v4l2/v4l2_controls.h"

namespace tavelo {

namespace {

constexpr std::chrono::milliseconds betweenTries(20);
constexpr int mostTries = 5;

// The rights or the node itself may appear a moment later.
bool mayPass(int error) {
    return error == EACCES || error == EPERM || error == ENOENT;
}

// Tries the next node only if this one opens but cannot capture.
OpenedControlNode tryNodes(const ControlNodeOptions& options, const std::vector<std::string>& nodes,
                           int& error) {
    OpenedControlNode opened;
    for (const std::string& node : nodes) {
        opened.path = (options.devices / node).string();
        opened.device = openForControls(*options.opener, opened.path, error);
        if (opened.device || error != ENOTTY) return opened;
    }
    return opened;
}

std::string reasonNotOpened(int error) {
    if (error == ENOTTY) return "cannot be used: it captures no pictures";
    return "cannot be opened: " + std::generic_category().message(error);
}

} // namespace

OpenedControlNode openControlNode(const ControlNodeOptions& options, const SysfsUsbDevice& device,
                                  std::uint8_t interfaceNumber, Diagnostics& diagnostics) {
    const std::vector<std::string> nodes = videoNodesOfInterface(device, interfaceNumber);
    if (nodes.empty()) {
        diagnostics.report("USB device " + device.name,
                           "no video node: the kernel's driver does not hold this camera");
        return {};
    }
    int error = 0;
    OpenedControlNode opened = tryNodes(options, nodes, error);
    for (int tries = 1; tries < mostTries && !opened.device && mayPass(error); ++tries) {
        options.pause(betweenTries);
        opened = tryNodes(options, nodes, error);
    }
    if (!opened.device) diagnostics.report(opened.path, reasonNotOpened(error));
    return opened;
}

} // namespace tavelo
