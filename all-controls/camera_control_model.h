// SPDX-License-Identifier: MIT
// The controls of the camera's terminal and of its processing unit.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "all-controls/control_model.h"
#include "commands/control_change.h"
#include "commands/control_state.h"
#include "platform/bundle.h"
#include "uvc/kt_uvc_manager.h"

namespace tavelo {

/// What the model works with.  All must outlive it, the manager also every task of the global pool.
struct CameraControlParts {
    KTUVCManager& manager; ///< bound to the shown camera, if that can be controlled
    const Bundle& bundle;
    /// Sends a value to the camera.
    /// @return whether the camera took it
    std::function<bool(const PlannedWrite& write, bool held)> write;
};

/// Steps, and which of the exposure modes the camera has, are only known once ask() has an answer; until then
/// numbers go by ones and every mode is there.
class CameraControlModel final : public ControlModel {
    Q_OBJECT

public:
    explicit CameraControlModel(CameraControlParts parts);
    ~CameraControlModel() override;

    std::vector<ControlGroup> groups() const override;
    bool write(const QString& key, std::int64_t value, bool held) override;

    /// Asks the camera, on the global pool, for what the records do not hold; changed() follows.  Does
    /// nothing if it is known.
    void ask();

private:
    struct Answers {
        BindingIdentity binding = 0;
        std::vector<ControlState> states;
    };

    ControlState withAnswers(ControlState state) const;
    ControlDescription described(const ControlState& state) const;
    std::vector<ShownChoice> choicesOf(const ControlState& state) const;
    QString choiceText(const NamedControl& control, const ChoiceWord& choice) const;
    QString titleOf(const NamedControl& control) const;
    QString text(std::string_view key) const;

    const CameraControlParts parts_;
    std::shared_ptr<const Answers> answers_;
    bool asks_ = false;
};

} // namespace tavelo
