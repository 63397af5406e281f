// SPDX-License-Identifier: MIT
// Says over the preview why it is black, or what can be done with the picture.
#pragma once

#include <QWidget>

#include "app/picture_status.h"
#include "platform/diagnostics.h"

namespace tavelo {

/// A tool tip, and a line for --verbose when the user can do something about it.  Main thread.
class PreviewTip {
public:
    /// All must outlive this object.
    /// @param preview may be null
    PreviewTip(QWidget* preview, const Bundle& bundle, Diagnostics& diagnostics);

    /// Call when the status or the language has changed.
    void show(const PictureStatus& status);

private:
    QWidget* const preview_;
    const Bundle& bundle_;
    Diagnostics& diagnostics_;
    std::string reported_; // the advice given last
};

} // namespace tavelo
