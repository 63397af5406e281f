// SPDX-License-Identifier: MIT
#include "platform/linux/v4l2/v4l2_node.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include <cerrno>
#include <utility>

#include "platform/common/file_descriptor.h"

namespace tavelo {
namespace {

class KernelNode final : public V4l2Node {
public:
    explicit KernelNode(FileDescriptor file) : file_(std::move(file)) {}

    int control(unsigned long request, void* argument) override {
        for (;;) {
            if (::ioctl(file_.get(), request, argument) == 0) return 0;
            if (errno != EINTR) return errno;
        }
    }

    V4l2Mapping map(std::size_t length, std::uint32_t offset) override {
        void* memory = ::mmap(nullptr, length, PROT_READ, MAP_SHARED, file_.get(), off_t(offset));
        if (memory == MAP_FAILED) return nullptr;
        return {static_cast<const std::uint8_t*>(memory),
                [memory, length](auto) { ::munmap(memory, length); }};
    }

    int descriptor() const override { return file_.get(); }

private:
    FileDescriptor file_;
};

} // namespace

int queryCapabilities(V4l2Node& node, std::uint32_t& capabilities) {
    v4l2_capability told{};
    if (const int error = node.control(VIDIOC_QUERYCAP, &told)) return error;
    const bool perNode = (told.capabilities & V4L2_CAP_DEVICE_CAPS) != 0;
    capabilities = perNode ? told.device_caps : told.capabilities;
    return 0;
}

std::unique_ptr<V4l2Node> KernelNodeOpener::open(const std::string& path, int& error) {
    FileDescriptor file(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    error = file.isOpen() ? 0 : errno;
    if (!file.isOpen()) return nullptr;
    return std::make_unique<KernelNode>(std::move(file));
}

} // namespace tavelo
