// SPDX-License-Identifier: MIT
// Knows whether the preview shows the camera's own picture.
#pragma once

#include <cstdint>

namespace tavelo {

class KTMTKView;

/// After a switch the preview still holds the picture of the camera before.  Main thread.
class ShownPicture {
public:
    /// @param view must outlive this object
    explicit ShownPicture(const KTMTKView& view);

    /// Call when another camera is shown.
    void cameraDidChange();

    /// The number of drawn pictures from which on they are those of this camera.
    std::uint64_t firstOwn() const;

private:
    const KTMTKView& view_;
    std::uint64_t drawnBefore_;
};

} // namespace tavelo
