// SPDX-License-Identifier: MIT
// Questions to a camera whose answers are wanted as they are, without what a transport otherwise mends.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tavelo {

/// What came of a question.
enum class AnswerKind : std::uint8_t {
    answered, ///< with `bytes`, which may be none
    stalled,  ///< the camera refused it
    timedOut, ///< no answer in time
    notAsked, ///< this transport cannot ask it
    skipped,  ///< not asked, since the camera did not answer before
    failed,   ///< the link failed
    gone,     ///< the camera was unplugged
};

struct RawAnswer {
    AnswerKind kind = AnswerKind::notAsked;
    std::vector<std::uint8_t> bytes;

    friend bool operator==(const RawAnswer&, const RawAnswer&) = default;
};

/// A read of a control of an entity (a terminal or a unit).
struct RawQuestion {
    std::uint8_t entity = 0;
    std::uint8_t selector = 0;
    std::uint8_t bRequest = 0;
    std::uint16_t wLength = 0; ///< the most bytes to answer with
};

/// A control of the operating system's driver, in the driver's own units.
struct DriverControl {
    std::uint32_t id = 0; ///< V4L2_CID_...
    std::string name;     ///< printable
    std::int64_t minimum = 0;
    std::int64_t maximum = 0;
    std::int64_t step = 0;
    std::int64_t defaultValue = 0;
    std::uint32_t flags = 0; ///< V4L2_CTRL_FLAG_...

    friend bool operator==(const DriverControl&, const DriverControl&) = default;
};

/// What the driver makes of a control of the camera.
struct DriverView {
    /// notAsked: no driver is in between, or it has no opinion on such entities; stalled: the camera refused
    /// what the driver asked.
    AnswerKind kind = AnswerKind::notAsked;
    std::vector<DriverControl> controls; ///< if answered; none: the driver lacks it

    friend bool operator==(const DriverView&, const DriverView&) = default;
};

/// Who answers.
enum class AnswerSource : std::uint8_t {
    camera,
    driver, ///< the driver translates what it knows of the camera
};

/// An opened video-control interface to read from.  Nothing here changes the camera.
///
/// One thread at a time.  Calls block until the camera answers or the transport gives up, several seconds at
/// worst.  The destructor closes the interface.
class CameraInspector {
public:
    virtual ~CameraInspector() = default;

    virtual RawAnswer ask(const RawQuestion& question) = 0;
    virtual AnswerSource sourceOf(std::uint8_t entity) const = 0;
    virtual DriverView driverView(std::uint8_t entity, std::uint8_t selector) = 0;

    /// "kernel", "usb" or "virtual".
    virtual std::string transport() const = 0;
    /// "/dev/video0"; empty if no node is in between.
    virtual std::string node() const = 0;
};

} // namespace tavelo
