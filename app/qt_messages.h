// SPDX-License-Identifier: MIT
// Prints Qt's own messages.
#pragma once

namespace tavelo {

/// Prints Qt's messages on the standard error stream, in the program's own format: all of them if verbose,
/// otherwise only critical and fatal ones.  Call before the application object is created.
void installQtMessages(bool verbose);

} // namespace tavelo
