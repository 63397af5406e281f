// SPDX-License-Identifier: MIT
// A window drawn by the processor.
#pragma once

#include <QBackingStore>
#include <QImage>
#include <mutex>

#include "video/cpu/cpu_frame_passes.h"
#include "video/cpu/main_thread_bell.h"
#include "video/passes/frame_surface.h"

class QWindow;

namespace tavelo {

/// Hands finished pictures from the render queue to the main thread, which alone may touch a raster window.
///
/// Three pictures go round: one is drawn, one is ready, one is shown; so neither thread waits for the other.
/// A picture that becomes ready while one waits replaces it.
class RasterSurface final : public FrameSurface {
public:
    /// Both must outlive the surface.
    RasterSurface(QWindow& window, CpuFramePasses& passes);

    void setDrawable(bool drawable) override { drawable_ = drawable; }
    bool makeCurrent() override { return true; }
    bool beginDisplay(ViewportSize viewport) override;
    void present() override;
    void flush() override;

private:
    bool takeReady();

    QWindow& window_;

    // On the render queue
    CpuFramePasses& passes_;
    QImage drawn_;
    bool drawable_ = false;

    // Between both
    std::mutex mutex_; // guards the two below
    QImage ready_;
    bool fresh_ = false;

    // On the main thread
    QImage shown_;
    QBackingStore backingStore_;
    MainThreadBell bell_; // rung by the render queue
};

} // namespace tavelo
