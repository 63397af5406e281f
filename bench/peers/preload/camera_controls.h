// SPDX-License-Identifier: MIT
// A few picture controls, which change nothing in the picture.
#pragma once

#include <linux/videodev2.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace tavelo::bench {

/// Each opening of the node has values of its own.  Thread-bound.
class CameraControls {
public:
    CameraControls();

    /// An errno, 0, or ENOTTY if the request is not about controls.
    int answer(unsigned long request, void* argument);

private:
    static constexpr std::size_t count = 4;

    int describe(v4l2_queryctrl& query) const;
    int describeExtended(v4l2_query_ext_ctrl& query) const;
    int get(v4l2_control& control) const;
    int set(const v4l2_control& control);
    int forEach(v4l2_ext_controls& list, unsigned long request);

    std::array<std::int32_t, count> values_{};
};

} // namespace tavelo::bench
