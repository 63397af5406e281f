// SPDX-License-Identifier: MIT
// All controls that have a name: the class's and those of described extension units.
#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "commands/control_names.h"
#include "platform/bus_prober.h"

namespace tavelo {

/// Finds a control by its name; null if there is none.
using FindControl = std::function<const NamedControl*(std::string_view name)>;

/// Several units may give one name to a control: the camera decides which is meant.  A name of the class is
/// never a unit's.  Constant once made; reentrant.
class ControlCatalog {
public:
    /// Of the class only.
    ControlCatalog() = default;
    explicit ControlCatalog(std::vector<ExtensionControl> extensions);

    // Others point into it.
    ControlCatalog(const ControlCatalog&) = delete;
    ControlCatalog& operator=(const ControlCatalog&) = delete;

    /// As controlNamed() does.
    /// @param camera whose control is meant; null, or a camera without any of these units: the first one's
    const NamedControl* find(std::string_view name, const BusProberDevice* camera) const;
    /// Whether find() depends on the camera.
    bool needsCamera(std::string_view name) const;

    /// What a camera may have: all of the class, and those of its units, each name once.
    /// @param camera may be null
    std::vector<const NamedControl*> controlsOf(const BusProberDevice* camera) const;

private:
    const std::vector<ExtensionControl> extensions_ = {};
    std::vector<std::vector<ChoiceWord>> words_; // of each
    std::vector<NamedControl> named_;            // each
};

/// The unit of a camera that lists a described control; null if it has none.
/// @param camera may be null
const ExtensionUnit* unitOf(const BusProberDevice* camera, const ExtensionControl& control);

} // namespace tavelo
