// SPDX-License-Identifier: MIT
#include "fuzzed_node.h"

#include <linux/uvcvideo.h>
#include <linux/videodev2.h>

namespace tavelo::fuzz {
namespace {

template <typename Argument>
void replace(Argument& argument, FuzzInput& input) {
    const auto bytes = input.bytes(std::min<std::size_t>(input.byte(), sizeof argument));
    std::memcpy(&argument, bytes.data(), bytes.size());
}

} // namespace

void FuzzedNode::answer(unsigned long request, void* argument) {
    switch (request) {
        case VIDIOC_G_EXT_CTRLS:
        case VIDIOC_S_EXT_CTRLS: {
            const auto& list = *static_cast<const v4l2_ext_controls*>(argument);
            for (v4l2_ext_control& control : std::span(list.controls, list.count))
                control.value = static_cast<std::int32_t>(input_.number());
            return;
        }
        case UVCIOC_CTRL_QUERY: {
            const auto& query = *static_cast<const uvc_xu_control_query*>(argument);
            const auto bytes = input_.bytes(query.size);
            if ((query.query & 0x80U) != 0) std::ranges::copy(bytes, query.data);
            return;
        }
        case VIDIOC_QUERYCTRL: {
            // Mostly whole numbers: the text before them would use up the input.
            auto& control = *static_cast<v4l2_queryctrl*>(argument);
            if ((input_.byte() & 1U) != 0) return replace(control, input_);
            for (std::int32_t* number :
                 {&control.minimum, &control.maximum, &control.step, &control.default_value})
                *number = static_cast<std::int32_t>(input_.number());
            control.flags = input_.number(2);
            return;
        }
        case VIDIOC_QUERYCAP:
            return replace(*static_cast<v4l2_capability*>(argument), input_);
        case VIDIOC_QUERYMENU:
            return replace(*static_cast<v4l2_querymenu*>(argument), input_);
        case VIDIOC_ENUM_FMT:
            return replace(*static_cast<v4l2_fmtdesc*>(argument), input_);
        case VIDIOC_ENUM_FRAMESIZES:
            return replace(*static_cast<v4l2_frmsizeenum*>(argument), input_);
        case VIDIOC_ENUM_FRAMEINTERVALS:
            return replace(*static_cast<v4l2_frmivalenum*>(argument), input_);
        case VIDIOC_G_FMT:
        case VIDIOC_S_FMT:
            return replace(static_cast<v4l2_format*>(argument)->fmt.pix, input_);
        case VIDIOC_S_PARM:
            return replace(*static_cast<v4l2_streamparm*>(argument), input_);
        case VIDIOC_REQBUFS:
            return replace(*static_cast<v4l2_requestbuffers*>(argument), input_);
        case VIDIOC_QUERYBUF:
        case VIDIOC_DQBUF:
            return replace(*static_cast<v4l2_buffer*>(argument), input_);
        case VIDIOC_DQEVENT:
            return replace(*static_cast<v4l2_event*>(argument), input_);
        default:
            return;
    }
}

} // namespace tavelo::fuzz
