// SPDX-License-Identifier: MIT
// Shows pictures drawn by the CPU in a window.
#pragma once

#include <QBackingStore>
#include <QImage>
#include <mutex>

#include "video/cpu/cpu_frame_passes.h"
#include "video/cpu/main_thread_waker.h"
#include "video/passes/frame_surface.h"

class QWindow;

namespace tavelo {

/// Passes finished pictures from the render queue to the main thread, because only the main thread may draw
/// into a raster window.
///
/// Three buffers rotate (being drawn, ready, being shown), so that neither thread waits for the other.  A new
/// ready picture replaces one that was not shown yet.
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

    // On both
    std::mutex mutex_; // guards the two below
    QImage ready_;
    bool fresh_ = false;

    // On the main thread
    QImage shown_;
    QBackingStore backingStore_;
    MainThreadWaker waker_; // the render queue wakes the main thread
};

} // namespace tavelo
