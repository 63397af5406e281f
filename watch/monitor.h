// SPDX-License-Identifier: MIT
// Tells what happens to cameras, in lines for people or programs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "watch/watched_cameras.h"

namespace tavelo {

/// Something that happened.
struct MonitorEvent {
    enum class Kind : std::uint8_t { came, went, changed };

    Kind kind = Kind::came;
    std::string camera; ///< its identifier
    std::string name;   ///< as the system lists it
    // Of a change, in the units of the control's record.
    KTUVCControl control{};
    std::int64_t before = 0;
    std::int64_t value = 0;
};

struct MonitorOptions {
    /// The lines for an event, without line breaks; none for an event that is not told.
    std::function<std::vector<std::string>(const MonitorEvent& event)> linesOf;
    std::function<void(const std::string& line)> print;
    /// How many lines to print; absent means without end.
    std::optional<std::size_t> count;
    /// Called once, later on the main thread, after the last line; may be empty.  Not called after the
    /// monitor is destroyed.
    std::function<void()> finished;
};

/// Prints from the first change on; cameras that are there already are no event.  Changes that the monitor's
/// own process makes through another interface are told too.  Main thread.
class Monitor {
public:
    Monitor(const WatchedCamerasParts& parts, MonitorOptions options);

    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

private:
    WatchedCamerasEvents events();
    void tell(const MonitorEvent& event);

    MainQueue& mainQueue_;
    const MonitorOptions options_;
    std::size_t printed_ = 0;
    const std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true); // for the late call
    WatchedCameras cameras_; // last: its events use everything above
};

} // namespace tavelo
