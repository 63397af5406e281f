// SPDX-License-Identifier: MIT
// Where the window's controls come from.
#pragma once

#include <QObject>
#include <QString>
#include <cstdint>
#include <vector>

#include "all-controls/control_description.h"

namespace tavelo {

/// Groups of controls of the shown camera.  Thread-bound to the main thread.
class ControlModel : public QObject {
    Q_OBJECT

public:
    /// With the values of now; sends no request.
    virtual std::vector<ControlGroup> groups() const = 0;

    /// Writes a value that the user chose; groups() then has what the camera took.
    /// @param key of one of its controls
    /// @param held whether the user is dragging, so that more values may follow
    /// @return whether the camera took it
    virtual bool write(const QString& key, std::int64_t value, bool held) = 0;

Q_SIGNALS:
    /// groups() may be different.
    void changed();
};

} // namespace tavelo
