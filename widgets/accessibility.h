// SPDX-License-Identifier: MIT
// Screen readers' view of the controls.
#pragma once

namespace tavelo {

/// Makes the controls known to Qt's accessibility.  Every control calls it when it is made; may be called any
/// number of times.  Thread-bound to the main thread.
void installWidgetAccessibility();

} // namespace tavelo
