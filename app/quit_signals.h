// SPDX-License-Identifier: MIT
// SIGTERM and SIGINT as an orderly end of the program.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <array>

namespace tavelo {

/// While it lives, both signals are told instead of killing the program.  One a process, on the main thread.
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
    QSocketNotifier notifier_;
};

} // namespace tavelo
