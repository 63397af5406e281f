// SPDX-License-Identifier: MIT
// Why a still or a movie failed, for the user.
#pragma once

#include <string>

#include "platform/capture.h"
#include "platform/error.h"

namespace tavelo {

class KTDisplayView;

/// Why the view shows no pictures of a camera; no code if that is unknown.
Error streamTrouble(const KTDisplayView& view, CaptureDevice& camera);

/// Whether waiting does not help: another program streams, or permission is missing.
bool cameraIsUnavailable(const KTDisplayView& view);

/// Half a sentence for streamTrouble().
std::string noPictureReason(const Error& trouble);

/// What the file of an unfinished movie still holds.
std::string stateOfUnfinishedFile(const Error& error);

} // namespace tavelo
