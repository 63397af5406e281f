// SPDX-License-Identifier: MIT
// The controls of the chosen camera, directly or through the panel that holds it.
#pragma once

#include <QJsonArray>
#include <QJsonValue>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/session.h"

namespace tavelo {

/// A value that the camera took.
struct TakenValue {
    std::string control;
    QJsonValue value;
    bool isOther = false; ///< than the one that was asked for, as far as that is known
};

/// Main thread; throws Failure.
class ChosenControls {
public:
    virtual ~ChosenControls() = default;

    /// The camera's identifier.
    virtual std::string camera() const = 0;
    /// @param name of a control, as the user wrote it
    virtual std::pair<std::string, QJsonValue> value(const std::string& name) = 0;
    /// Sets some of them, in their order as far as possible.
    /// @param changes as parseControlChange() takes them
    /// @param taken called for each value, also for those before one that the camera refuses
    virtual void set(const std::vector<std::string>& changes, bool force,
                     const std::function<void(const TakenValue& taken)>& taken) = 0;
    /// All of them, as `controls` prints them.
    virtual QJsonArray described() = 0;
};

/// If the camera cannot be reached since it is not there or busy, and a panel of this session has it, then
/// through that: a panel that uses a camera directly over USB takes its node away.
std::unique_ptr<ChosenControls> reachControls(Session& session);

} // namespace tavelo
