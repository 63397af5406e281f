// SPDX-License-Identifier: MIT
// The session that every backend uses: one input, one output, late frames discarded.
#pragma once

#include <memory>

#include "platform/capture.h"

namespace tavelo {

/// At most one sample is on its way to the delegate: waiting on the output's queue or being handled there.
/// Samples that arrive meanwhile are reported to captureOutputDidDropSampleBufferFromConnection afterwards,
/// on the same queue, with their time but without their picture (keeping the picture would starve the camera
/// of buffers).
///
/// stopRunning waits for the input, never for the delegate: a delegate call that has begun may still be in
/// progress when it returns.  It may be called from the delegate itself.
///
/// Accepts outputs that want BGRA or name no format.  Adding what cannot be added, or removing what was never
/// added, has no effect.  Allocates nothing per frame.
std::unique_ptr<CaptureSession> makeStandardCaptureSession();

} // namespace tavelo
