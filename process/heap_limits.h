// SPDX-License-Identifier: MIT
// What a program keeps in its heaps.
#pragma once

namespace tavelo {

/// Pictures get memory of their own, which the system has back as soon as they are freed.  Call it early: it
/// does not move what is allocated already.
void keepPicturesOutOfHeaps();

} // namespace tavelo
