// SPDX-License-Identifier: MIT
// Turns SIGTERM, SIGINT and SIGHUP into an orderly end of the program.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <array>

namespace tavelo {

/// While it exists, these signals emit asked() instead of killing the program.  SIGHUP stays ignored if it
/// was ignored before.  SIGPIPE is ignored from now on.  One per process, on the main thread.
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
    bool handlesHangUp_ = false; // SIGHUP was not ignored before
    QSocketNotifier notifier_;
};

} // namespace tavelo
