// SPDX-License-Identifier: MIT
// The application object.
#pragma once

#include <QApplication>
#include <QVariantMap>

#include "platform/bundle.h"

namespace tavelo {

/// Thread-bound to the main thread; one a process.
class KTApplication final : public QApplication {
    Q_OBJECT

public:
    /// Qt keeps references to both arguments.
    KTApplication(int& argc, char** argv);

    /// Shows the about panel; its credits name the open-source software used.
    /// @param options ignored
    void orderFrontStandardAboutPanelWithOptions(const QVariantMap& options, const Bundle& bundle);

    /// The credits: a localised heading, a line break, the list.
    static QString credits(const Bundle& bundle);
};

} // namespace tavelo
