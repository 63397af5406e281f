// SPDX-License-Identifier: MIT
// Makes the controls accessible to screen readers.
#pragma once

namespace tavelo {

/// Registers the controls with Qt's accessibility.  Every control's constructor calls it; repeated calls do
/// nothing.  Thread-bound to the main thread.
void installWidgetAccessibility();

} // namespace tavelo
