// SPDX-License-Identifier: MIT
// The backend that leaves the cameras to the kernel's driver.
#pragma once

#include <filesystem>

#include "platform/backend.h"
#include "platform/linux/kernel/kernel_node_search.h"

namespace tavelo {

/// The machine; tests pass a tree and nodes of their own.
struct KernelBackendOptions {
    std::filesystem::path sysfs = "/sys";
    ControlNodeOptions nodes;
};

/// Devices are found in sysfs; controls and pictures go through the video nodes, which other programs may
/// use at the same time.  Needs no permission beyond that for the nodes.
///
/// Never fails: if there is nothing to list, the lists are empty.  Main thread.
Backend makeKernelBackend(const BackendOptions& options);
Backend makeKernelBackend(const BackendOptions& options, KernelBackendOptions machine);

} // namespace tavelo
