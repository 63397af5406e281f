// SPDX-License-Identifier: MIT
// What the panel needs from its window.
#pragma once

#include <QObject>

namespace tavelo {

class PanelWindow {
public:
    virtual ~PanelWindow() = default;

    virtual void close() = 0;
    /// @param sender the control that the user operated
    virtual void miniaturize(QObject* sender) = 0;
};

} // namespace tavelo
