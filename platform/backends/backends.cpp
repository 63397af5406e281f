// SPDX-License-Identifier: MIT
#include "platform/backends/backends.h"

#include <utility>

#include "platform/virtual/virtual_backend.h"

namespace tavelo {

Backends makeBackends(const BackendOptions& options, MainQueue& mainQueue, Diagnostics& /*diagnostics*/) {
    VirtualBackend backend = makeVirtualBackend(options.virtualCameras, options.format, mainQueue);
    return {std::move(backend.usb), std::move(backend.capture)};
}

}  // namespace tavelo
