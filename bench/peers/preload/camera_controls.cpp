// SPDX-License-Identifier: MIT
#include "bench/peers/preload/camera_controls.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string_view>

namespace tavelo::bench {
namespace {

struct Control {
    std::uint32_t id;
    std::string_view name;
    std::int32_t least;
    std::int32_t greatest;
    std::int32_t usual;
};

// In the order of their numbers, as programs walk them.
constexpr std::array<Control, 4> controls{{
    {V4L2_CID_BRIGHTNESS, "Brightness", -64, 64, 0},
    {V4L2_CID_CONTRAST, "Contrast", 0, 64, 32},
    {V4L2_CID_SATURATION, "Saturation", 0, 128, 64},
    {V4L2_CID_SHARPNESS, "Sharpness", 0, 6, 3},
}};

std::optional<std::size_t> placeOf(std::uint32_t id) {
    const auto found = std::ranges::find(controls, id, &Control::id);
    if (found == controls.end()) return std::nullopt;
    return std::size_t(found - controls.begin());
}

// The control of a query: the one that it names, or the next after it.
const Control* queried(std::uint32_t id) {
    const std::uint32_t plain = id & V4L2_CTRL_ID_MASK;
    const bool next = (id & V4L2_CTRL_FLAG_NEXT_CTRL) != 0;
    const auto found = std::ranges::find_if(
        controls, [=](const Control& control) { return next ? control.id > plain : control.id == id; });
    return found == controls.end() ? nullptr : &*found;
}

template <typename Field>
void setName(Field& field, std::string_view name) {
    std::copy(name.begin(), name.end(), field);
}

// What both kinds of query tell.
template <typename Query>
int describeControl(Query& query) {
    const Control* const control = queried(query.id);
    if (control == nullptr) return EINVAL;
    query = {};
    query.id = control->id;
    query.type = V4L2_CTRL_TYPE_INTEGER;
    query.minimum = control->least;
    query.maximum = control->greatest;
    query.step = 1;
    query.default_value = control->usual;
    setName(query.name, control->name);
    return 0;
}

} // namespace

CameraControls::CameraControls() {
    std::ranges::transform(controls, values_.begin(), &Control::usual);
}

int CameraControls::answer(unsigned long request, void* argument) {
    switch (request) {
        case VIDIOC_QUERYCTRL:
            return describe(*static_cast<v4l2_queryctrl*>(argument));
        case VIDIOC_QUERY_EXT_CTRL:
            return describeExtended(*static_cast<v4l2_query_ext_ctrl*>(argument));
        case VIDIOC_G_CTRL:
            return get(*static_cast<v4l2_control*>(argument));
        case VIDIOC_S_CTRL:
            return set(*static_cast<const v4l2_control*>(argument));
        case VIDIOC_G_EXT_CTRLS:
        case VIDIOC_S_EXT_CTRLS:
        case VIDIOC_TRY_EXT_CTRLS:
            return forEach(*static_cast<v4l2_ext_controls*>(argument), request);
        default:
            return ENOTTY;
    }
}

int CameraControls::describe(v4l2_queryctrl& query) const {
    return describeControl(query);
}

int CameraControls::describeExtended(v4l2_query_ext_ctrl& query) const {
    const int error = describeControl(query);
    if (error != 0) return error;
    query.elem_size = sizeof(std::int32_t);
    query.elems = 1;
    return 0;
}

int CameraControls::get(v4l2_control& control) const {
    const auto place = placeOf(control.id);
    if (!place) return EINVAL;
    control.value = values_[*place];
    return 0;
}

int CameraControls::set(const v4l2_control& control) {
    const auto place = placeOf(control.id);
    if (!place) return EINVAL;
    values_[*place] = std::clamp(control.value, controls[*place].least, controls[*place].greatest);
    return 0;
}

int CameraControls::forEach(v4l2_ext_controls& list, unsigned long request) {
    for (std::uint32_t at = 0; at < list.count; ++at) {
        v4l2_ext_control& entry = list.controls[at];
        v4l2_control control{entry.id, entry.value};
        int error = placeOf(entry.id) ? 0 : EINVAL;
        if (request == VIDIOC_S_EXT_CTRLS) error = set(control);
        if (request == VIDIOC_G_EXT_CTRLS) error = get(control);
        if (error != 0) {
            list.error_idx = at;
            return error;
        }
        entry.value = control.value;
    }
    return 0;
}

} // namespace tavelo::bench
