// SPDX-License-Identifier: MIT
// The application object.
#pragma once

#include <QApplication>
#include <QVariantMap>

#include "platform/bundle.h"

namespace tavelo {

/// Thread-bound to the main thread; one per process.
class KTApplication final : public QApplication {
    Q_OBJECT

public:
    /// Qt keeps references to both arguments.
    KTApplication(int& argc, char** argv);

    /// Shows the about panel, with the credits.
    /// @param options ignored
    void orderFrontStandardAboutPanelWithOptions(const QVariantMap& options, const Bundle& bundle);

    /// A localised heading, a line break, and the list of the open-source software used.
    static QString credits(const Bundle& bundle);
};

} // namespace tavelo
