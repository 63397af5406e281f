// SPDX-License-Identifier: MIT
// Thread priorities as desktops grant them.
#pragma once

#include <QDBusConnection>
#include <functional>
#include <memory>

#include "platform/thread_priority.h"

namespace tavelo {

/// Asks RealtimeKit on the system bus, which grants ordinary users a nice value below zero; if it does
/// not, the kernel is asked, which does so for whoever has the right.  Waits for answers on a thread of its
/// own; its destructor may wait two seconds for one.  Needs a QCoreApplication.
/// @param connect called once, on that thread; the system bus but in tests
std::shared_ptr<ThreadPriority> makeRealtimeKitPriority(std::function<QDBusConnection()> connect = {});

/// What is asked for.  No realtime scheduling: a thread that spins must not take the machine with it.
inline constexpr int pictureThreadNiceness = -10;

} // namespace tavelo
