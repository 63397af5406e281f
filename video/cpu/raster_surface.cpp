// SPDX-License-Identifier: MIT
#include "video/cpu/raster_surface.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPainter>
#include <QWindow>

namespace tavelo {

RasterSurface::RasterSurface(QWindow& window, CpuFramePasses& passes)
    : window_(window),
      passes_(passes),
      backingStore_(&window) {}

bool RasterSurface::beginDisplay(ViewportSize viewport) {
    if (!drawable_ || viewport.width == 0 || viewport.height == 0) return false;
    const QSize size(int(viewport.width), int(viewport.height));
    if (drawn_.size() != size) drawn_ = QImage(size, QImage::Format_RGB32);
    if (drawn_.isNull()) return false; // no memory for a window of that size
    passes_.setTarget({drawn_.bits(), viewport.width, viewport.height, std::size_t(drawn_.bytesPerLine())});
    return true;
}

void RasterSurface::present() {
    {
        const std::lock_guard lock(mutex_);
        drawn_.swap(ready_);
        fresh_ = true;
    }
    if (!flushWaits_.exchange(true))
        QCoreApplication::postEvent(&window_, new QEvent(QEvent::UpdateRequest), Qt::HighEventPriority);
}

bool RasterSurface::takeReady() {
    const std::lock_guard lock(mutex_);
    if (fresh_) ready_.swap(shown_);
    fresh_ = false;
    return !shown_.isNull();
}

void RasterSurface::flush() {
    flushWaits_ = false; // before the picture is taken: one that comes after it asks again
    if (!window_.isExposed()) return;
    const bool picture = takeReady();
    const QRect all(QPoint(0, 0), window_.size());
    if (backingStore_.size() != window_.size()) backingStore_.resize(window_.size());
    backingStore_.beginPaint(all);
    {
        QPainter painter(backingStore_.paintDevice());
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        if (picture) shown_.setDevicePixelRatio(window_.devicePixelRatio());
        // While the window grows the picture is smaller for a moment.
        if (!picture || shown_.deviceIndependentSize().toSize() != window_.size())
            painter.fillRect(all, Qt::black);
        if (picture) painter.drawImage(QPoint(0, 0), shown_);
    }
    backingStore_.endPaint();
    backingStore_.flush(all);
}

} // namespace tavelo
