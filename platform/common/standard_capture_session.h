// SPDX-License-Identifier: MIT
// The session that every backend uses: one input, one output, late frames discarded.
#pragma once

#include <memory>

#include "platform/capture.h"

namespace tavelo {

/// A session as platform/capture.h describes it.
///
/// One sample at most is on its way to the delegate: waiting on the output's queue, or being handled there.
/// What comes meanwhile is told to captureOutputDidDropSampleBufferFromConnection afterwards, on the same
/// queue, with its time and without its picture (a picture held back there would starve the camera of
/// buffers).
///
/// stopRunning waits for the input, never for the delegate: a delegate call that had begun may still be under
/// way when it returns.  It may be called from the delegate itself.
///
/// Takes outputs that want BGRA or name no format.  Adding what cannot be added, and removing what was never
/// added, changes nothing.  Allocates nothing per frame.
std::unique_ptr<CaptureSession> makeStandardCaptureSession();

} // namespace tavelo
