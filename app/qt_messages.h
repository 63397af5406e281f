// SPDX-License-Identifier: MIT
// Qt's own messages.
#pragma once

namespace tavelo {

/// Prints them as lines of the program on the standard error stream: all of them when verbose, otherwise only
/// what keeps the program from working.  Before the application object is made.
void installQtMessages(bool verbose);

} // namespace tavelo
