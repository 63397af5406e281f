// SPDX-License-Identifier: MIT
#include "fake_control_node.h"

#include <algorithm>
#include <cerrno>

namespace tavelo::test {

namespace {

// Like the driver: rounds to the nearest step, then clamps to the range.
std::int32_t nearest(const V4l2ControlInfo& info, std::int32_t value) {
    if (info.maximum < info.minimum) return value;
    const std::int64_t step = std::max(info.step, 1);
    const std::int64_t steps = (std::int64_t{value} - info.minimum + step / 2) / step;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(info.minimum + steps * step, info.minimum, info.maximum));
}

} // namespace

std::vector<std::vector<V4l2ControlValue>> FakeControlNode::writes() const {
    const std::lock_guard lock(mutex_);
    return writes_;
}

void FakeControlNode::changeElsewhere(std::uint32_t id, std::int32_t value) {
    {
        const std::lock_guard lock(mutex_);
        controls[id].value = value;
    }
    events.happen(id);
}

void FakeControlNode::vanish() {
    {
        const std::lock_guard lock(mutex_);
        isGone_ = true;
    }
    events.hangUp();
}

int FakeControlNode::control(unsigned long request, void* argument) {
    {
        const std::lock_guard lock(mutex_);
        if (isGone_) return ENODEV;
    }
    const auto entries = [&] {
        const auto& list = *static_cast<v4l2_ext_controls*>(argument);
        return std::span(list.controls, list.count);
    };
    switch (request) {
        case VIDIOC_QUERYCAP: {
            auto& told = *static_cast<v4l2_capability*>(argument);
            told.capabilities = V4L2_CAP_DEVICE_CAPS | V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
            told.device_caps = capabilities;
            return 0;
        }
        case VIDIOC_QUERYCTRL:
            return query(*static_cast<v4l2_queryctrl*>(argument));
        case VIDIOC_QUERYMENU:
            return queryMenu(*static_cast<v4l2_querymenu*>(argument));
        case VIDIOC_G_EXT_CTRLS:
            return get(entries());
        case VIDIOC_S_EXT_CTRLS:
            return set(entries());
        case UVCIOC_CTRL_QUERY:
            return queryUnit(*static_cast<uvc_xu_control_query*>(argument));
        default:
            return events.control(request, argument);
    }
}

V4l2Mapping FakeControlNode::map(std::size_t /*length*/, std::uint32_t /*offset*/) {
    return nullptr;
}

int FakeControlNode::query(v4l2_queryctrl& query) const {
    const auto found = controls.find(query.id);
    if (found == controls.end()) return EINVAL;
    if (found->second.queryError != 0) return found->second.queryError;
    const V4l2ControlInfo& info = found->second.info;
    query.minimum = info.minimum;
    query.maximum = info.maximum;
    query.step = info.step;
    query.default_value = info.defaultValue;
    query.flags = info.flags;
    for (std::size_t i = 0; i < std::min(name.size(), sizeof query.name); ++i)
        query.name[i] = static_cast<std::uint8_t>(name[i]);
    return 0;
}

int FakeControlNode::queryUnit(const uvc_xu_control_query& query) {
    constexpr std::uint8_t setCur = 0x01;
    if (query.query == setCur) {
        const auto value = unitValues.find({query.unit, query.selector});
        if (value == unitValues.end()) return ENOENT;
        if (value->second.error != 0) return value->second.error;
        if (query.size != value->second.bytes.size()) return ENOBUFS;
        value->second.bytes.assign(query.data, query.data + query.size);
        return 0;
    }
    const auto found = units.find({query.unit, query.selector, query.query});
    if (found == units.end()) return ENOENT;
    if (found->second.error != 0) return found->second.error;
    if (query.size != found->second.bytes.size()) return ENOBUFS;
    std::ranges::copy(found->second.bytes, query.data);
    return 0;
}

int FakeControlNode::queryMenu(const v4l2_querymenu& query) const {
    const auto found = controls.find(query.id);
    if (found == controls.end()) return EINVAL;
    if (found->second.menuError != 0) return found->second.menuError;
    return found->second.menu.contains(query.index) ? 0 : EINVAL;
}

int FakeControlNode::get(std::span<v4l2_ext_control> values) {
    const std::lock_guard lock(mutex_);
    for (v4l2_ext_control& value : values) {
        const auto found = controls.find(value.id);
        if (found == controls.end()) return EINVAL;
        if (found->second.getError != 0) return found->second.getError;
        value.value = found->second.value;
    }
    return 0;
}

int FakeControlNode::set(std::span<v4l2_ext_control> values) {
    const std::lock_guard lock(mutex_);
    std::vector<V4l2ControlValue> asked;
    for (const v4l2_ext_control& value : values) {
        const auto found = controls.find(value.id);
        if (found == controls.end()) return EINVAL;
        if (found->second.setError != 0) return found->second.setError;
        asked.push_back({value.id, value.value});
    }
    writes_.push_back(std::move(asked));
    for (v4l2_ext_control& value : values) {
        Control& control = controls[value.id];
        control.value = value.value = nearest(control.info, value.value);
        events.happen(value.id, V4L2_EVENT_CTRL_CH_VALUE, true);
    }
    return 0;
}

std::map<std::uint32_t, FakeControlNode::Control> everyControl() {
    using Control = FakeControlNode::Control;
    const auto range = [](std::int32_t minimum, std::int32_t maximum, std::int32_t step, std::int32_t def) {
        return Control{{minimum, maximum, step, def, 0}, def, {}};
    };
    const Control flag = range(0, 1, 1, 1);
    Control exposure{{0, 3, 1, 3, 0}, 3, {1, 3}};
    Control powerLine{{0, 2, 1, 1, 0}, 1, {0, 1, 2}};
    return {{V4L2_CID_BRIGHTNESS, range(-64, 64, 1, -3)},
            {V4L2_CID_CONTRAST, range(0, 95, 1, 32)},
            {V4L2_CID_SATURATION, range(0, 128, 1, 60)},
            {V4L2_CID_HUE, range(-180, 180, 2, 0)},
            {V4L2_CID_AUTO_WHITE_BALANCE, flag},
            {V4L2_CID_GAMMA, range(100, 500, 1, 220)},
            {V4L2_CID_GAIN, range(0, 255, 1, 16)},
            {V4L2_CID_POWER_LINE_FREQUENCY, powerLine},
            {V4L2_CID_HUE_AUTO, flag},
            {V4L2_CID_WHITE_BALANCE_TEMPERATURE, range(2800, 6500, 10, 4600)},
            {V4L2_CID_SHARPNESS, range(0, 60000, 1, 40000)},
            {V4L2_CID_BACKLIGHT_COMPENSATION, range(0, 2, 1, 1)},
            {V4L2_CID_EXPOSURE_AUTO, exposure},
            {V4L2_CID_EXPOSURE_ABSOLUTE, range(3, 2047000, 1, 250)},
            {V4L2_CID_EXPOSURE_AUTO_PRIORITY, flag},
            {V4L2_CID_PAN_ABSOLUTE, range(-36000, 36000, 3600, -7200)},
            {V4L2_CID_TILT_ABSOLUTE, range(-18000, 18000, 3600, 3600)},
            {V4L2_CID_FOCUS_ABSOLUTE, range(0, 250, 5, 30)},
            {V4L2_CID_FOCUS_AUTO, flag},
            {V4L2_CID_ZOOM_ABSOLUTE, range(100, 500, 1, 100)},
            {V4L2_CID_IRIS_ABSOLUTE, range(1, 40, 1, 8)}};
}

} // namespace tavelo::test
