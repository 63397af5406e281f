// SPDX-License-Identifier: MIT
// Where a camera's descriptors, its answers and the class disagree.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/uvc/camera_record.h"
#include "probe/camera_description.h"

namespace tavelo {

struct Finding {
    std::uint8_t entity = 0;   ///< 0: the camera as a whole
    std::uint8_t selector = 0; ///< 0: the entity as a whole
    std::string text;          ///< a sentence without its subject: "GET_INFO is refused"

    friend bool operator==(const Finding&, const Finding&) = default;
};

/// In the order of the controls; those of an entity before those of its controls.  Pure and reentrant.
std::vector<Finding> findingsOf(const CameraDescription& camera, const CameraRecord& record);

} // namespace tavelo
