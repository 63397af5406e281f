// SPDX-License-Identifier: MIT
#include "video/cpu/raster_surface.h"

#include <QPainter>
#include <QWindow>

namespace tavelo {

RasterSurface::RasterSurface(QWindow& window, CpuFramePasses& passes)
    : window_(window),
      passes_(passes),
      backingStore_(&window),
      waker_([this] { flush(); }) {}

bool RasterSurface::beginDisplay(ViewportSize viewport) {
    if (!drawable_ || viewport.width == 0 || viewport.height == 0) return false;
    const QSize size(int(viewport.width), int(viewport.height));
    if (drawn_.size() != size) drawn_ = QImage(size, QImage::Format_RGB32);
    if (drawn_.isNull()) return false; // out of memory
    passes_.setTarget({drawn_.bits(), viewport.width, viewport.height, std::size_t(drawn_.bytesPerLine())});
    return true;
}

void RasterSurface::present() {
    {
        const std::lock_guard lock(mutex_);
        drawn_.swap(ready_);
        fresh_ = true;
    }
    waker_.wake();
}

bool RasterSurface::takeReady() {
    const std::lock_guard lock(mutex_);
    if (fresh_) ready_.swap(shown_);
    fresh_ = false;
    return !shown_.isNull();
}

void RasterSurface::flush() {
    if (!window_.isExposed()) return;
    const bool picture = takeReady();
    const QRect all(QPoint(0, 0), window_.size());
    if (backingStore_.size() != window_.size()) backingStore_.resize(window_.size());
    backingStore_.beginPaint(all);
    {
        QPainter painter(backingStore_.paintDevice());
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        const double scale = window_.devicePixelRatio();
        // The picture is smaller for a moment while the window grows, and always by a fraction of a pixel if
        // the scale is not a whole number.
        if (!picture || QSizeF(shown_.size()) != QSizeF(window_.size()) * scale)
            painter.fillRect(all, Qt::black);
        if (picture) {
            shown_.setDevicePixelRatio(scale);
            painter.drawImage(QPoint(0, 0), shown_);
        }
    }
    backingStore_.endPaint();
    backingStore_.flush(all);
}

} // namespace tavelo
