// SPDX-License-Identifier: MIT
// The described controls of the camera's extension units.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "all-controls/control_model.h"
#include "commands/control_catalog.h"
#include "commands/control_change.h"
#include "commands/control_state.h"
#include "platform/bundle.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// What the model works with.  All must outlive it, the manager and the catalog also every task of the global
/// pool.
struct UnitControlParts {
    KTUVCManager& manager; ///< bound to the shown camera, if that can be controlled
    const Bundle& bundle;
    const ControlCatalog& catalog;
    /// Sends a value to the camera.
    /// @return what the camera took; nothing if it did not
    std::function<std::optional<std::int64_t>(const PlannedWrite& write, bool held)> write;
};

/// No record holds these controls, so there are none until ask() has an answer, and what another program
/// writes is seen at the next ask().
class UnitControlModel final : public ControlModel {
    Q_OBJECT

public:
    explicit UnitControlModel(UnitControlParts parts);
    ~UnitControlModel() override;

    std::vector<ControlGroup> groups() const override;
    bool write(const QString& key, std::int64_t value, bool held) override;

    /// Reads all of them from the camera, on the global pool; changed() follows.
    void ask();

private:
    bool isAnswered() const;
    void takeAnswer(BindingIdentity binding, std::uint64_t writes, std::vector<ControlState> states);

    const UnitControlParts parts_;
    std::vector<ControlState> states_;
    BindingIdentity binding_ = 0; // that states_ are of; 0: none
    std::uint64_t writes_ = 0;    // an answer from before a write is no answer any more
    bool asks_ = false;
    bool asksAgain_ = false; // the answer that is awaited may be too old
};

} // namespace tavelo
