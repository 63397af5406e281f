// SPDX-License-Identifier: MIT
// V4L2 controls in memory that follow the driver's rules and fail on request.
#pragma once

#include <linux/uvcvideo.h>
#include <linux/videodev2.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "fake_control_events.h"
#include "platform/linux/v4l2/v4l2_controls.h"

namespace tavelo::test {

class FakeControlNode final : public V4l2Node {
public:
    struct Control {
        V4l2ControlInfo info;
        std::int32_t value = 0;
        std::set<std::uint32_t> menu;
        // Errors to return; 0 for none.
        int queryError = 0;
        int menuError = 0;
        int getError = 0;
        int setError = 0;
    };

    /// Set up before use.
    std::map<std::uint32_t, Control> controls;

    /// What an extension unit answers to a read; as many bytes are asked as there are here.
    struct UnitAnswer {
        std::vector<std::uint8_t> bytes;
        int error = 0;
    };
    /// By unit, selector and request.  Set up before use; what is missing is unknown to the driver.
    std::map<std::tuple<std::uint8_t, std::uint8_t, std::uint8_t>, UnitAnswer> units;
    /// SET_CUR, by unit and selector: the last value, whose length a write must have.  What is missing is
    /// unknown.
    std::map<std::pair<std::uint8_t, std::uint8_t>, UnitAnswer> unitValues;

    /// The name of every control.
    std::string name = "A control";

    /// Of this node.
    std::uint32_t capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;

    /// What other programs do reaches them; its own writes do not, as in the driver.
    FakeControlEvents events;

    /// Another program sets a control.
    void changeElsewhere(std::uint32_t id, std::int32_t value);
    /// Every request fails from now on, as after unplugging.
    void vanish();

    /// Every write, in order, as it was asked.
    std::vector<std::vector<V4l2ControlValue>> writes() const;

    int control(unsigned long request, void* argument) override;
    V4l2Mapping map(std::size_t length, std::uint32_t offset) override;
    int descriptor() const override { return events.descriptor(); }

private:
    int query(v4l2_queryctrl& query) const;
    int queryUnit(const uvc_xu_control_query& query);
    int queryMenu(const v4l2_querymenu& query) const;
    int get(std::span<v4l2_ext_control> values);
    int set(std::span<v4l2_ext_control> values);

    mutable std::mutex mutex_; // guards values and the rest
    bool isGone_ = false;
    std::vector<std::vector<V4l2ControlValue>> writes_;
};

/// Every control mapped by the kernel, with typical ranges.
std::map<std::uint32_t, FakeControlNode::Control> everyControl();

} // namespace tavelo::test
