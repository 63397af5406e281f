// SPDX-License-Identifier: MIT
// Thread priorities through the desktop's RealtimeKit.
#pragma once

#include <QDBusConnection>
#include <functional>
#include <memory>

#include "platform/thread_priority.h"

namespace tavelo {

/// Asks RealtimeKit on the system bus, which grants ordinary users a negative nice value; if it does not,
/// asks the kernel, which grants one to privileged users.  Waits for answers on its own thread; the
/// destructor may wait two seconds for one.  Needs a QCoreApplication.
/// @param connect called once, on that thread; the system bus except in tests
std::shared_ptr<ThreadPriority> makeRealtimeKitPriority(std::function<QDBusConnection()> connect = {});

/// The requested nice value.  No realtime scheduling: a thread that spins must not hang the machine.
inline constexpr int pictureThreadNiceness = -10;

} // namespace tavelo
