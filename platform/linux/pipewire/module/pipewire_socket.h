// SPDX-License-Identifier: MIT
// Tells whether PipeWire's daemon may be there, without its library.
#pragma once

namespace tavelo {

/// Whether the daemon's socket exists, where PipeWire's environment variables say.  The daemon that made it
/// may have died, or be started by the first who connects.
bool pipewireMayRun();

} // namespace tavelo
