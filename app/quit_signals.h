// SPDX-License-Identifier: MIT
// SIGTERM, SIGINT and SIGHUP as an orderly end of the program.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <array>

namespace tavelo {

/// While it lives, these signals lead to asked() and do not kill the program.  SIGHUP stays ignored if it was
/// so before, and SIGPIPE is ignored from now on.  One a process, on the main thread.
class QuitSignals final : public QObject {
    Q_OBJECT

public:
    QuitSignals();
    ~QuitSignals() override;

Q_SIGNALS:
    void asked();

private:
    void drain();

    std::array<int, 2> pipe_{-1, -1};
    bool hangsUp_ = false; // SIGHUP is ours
    QSocketNotifier notifier_;
};

} // namespace tavelo
