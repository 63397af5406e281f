// SPDX-License-Identifier: MIT
#include "platform/linux/v4l2/v4l2_control_device.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "platform/linux/file_descriptor.h"

namespace tavelo {

namespace {

int request(const FileDescriptor& file, unsigned long code, void* argument) {
    for (;;) {
        if (::ioctl(file.get(), code, argument) == 0) return 0;
        if (errno != EINTR) return errno;
    }
}

v4l2_ext_controls listOf(std::vector<v4l2_ext_control>& entries) {
    v4l2_ext_controls list{};
    list.which = V4L2_CTRL_WHICH_CUR_VAL;
    list.count = static_cast<std::uint32_t>(entries.size());
    list.controls = entries.data();
    return list;
}

std::vector<v4l2_ext_control> entriesFor(std::span<const V4l2ControlValue> values) {
    std::vector<v4l2_ext_control> entries(values.size());
    std::ranges::transform(values, entries.begin(), [](const V4l2ControlValue& value) {
        v4l2_ext_control entry{};
        entry.id = value.id;
        entry.value = value.value;
        return entry;
    });
    return entries;
}

// The driver locks its controls itself, so calls may come from any thread.
class KernelControlDevice final : public V4l2ControlDevice {
public:
    explicit KernelControlDevice(FileDescriptor file) : file_(std::move(file)) {}

    int queryControl(std::uint32_t id, V4l2ControlInfo& info) override {
        v4l2_queryctrl query{};
        query.id = id;
        if (const int error = request(file_, VIDIOC_QUERYCTRL, &query)) return error;
        info = {query.minimum, query.maximum, query.step, query.default_value, query.flags};
        return 0;
    }

    int queryMenu(std::uint32_t id, std::uint32_t index) override {
        v4l2_querymenu query{};
        query.id = id;
        query.index = index;
        return request(file_, VIDIOC_QUERYMENU, &query);
    }

    int get(std::span<V4l2ControlValue> values) override {
        std::vector<v4l2_ext_control> entries = entriesFor(values);
        v4l2_ext_controls list = listOf(entries);
        if (const int error = request(file_, VIDIOC_G_EXT_CTRLS, &list)) return error;
        takeOver(entries, values);
        return 0;
    }

    int set(std::span<V4l2ControlValue> values) override {
        std::vector<v4l2_ext_control> entries = entriesFor(values);
        v4l2_ext_controls list = listOf(entries);
        if (const int error = request(file_, VIDIOC_S_EXT_CTRLS, &list)) return error;
        takeOver(entries, values);
        return 0;
    }

private:
    static void takeOver(const std::vector<v4l2_ext_control>& entries, std::span<V4l2ControlValue> values) {
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i].value = entries[i].value;
    }

    FileDescriptor file_;
};

class KernelControlDeviceOpener final : public V4l2ControlDeviceOpener {
public:
    std::shared_ptr<V4l2ControlDevice> open(const std::string& path, int& error) override {
        FileDescriptor file(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
        error = file.isOpen() ? 0 : errno;
        if (!file.isOpen()) return nullptr;
        v4l2_capability capability{};
        error = request(file, VIDIOC_QUERYCAP, &capability);
        if (error != 0) return nullptr;
        // The metadata node of the same camera has no working controls.
        const std::uint32_t able = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0
                                       ? capability.device_caps
                                       : capability.capabilities;
        if ((able & (V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE)) == 0) error = ENOTTY;
        return error == 0 ? std::make_shared<KernelControlDevice>(std::move(file)) : nullptr;
    }
};

} // namespace

std::unique_ptr<V4l2ControlDeviceOpener> makeControlDeviceOpener() {
    return std::make_unique<KernelControlDeviceOpener>();
}

} // namespace tavelo
