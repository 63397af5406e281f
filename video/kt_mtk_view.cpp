// SPDX-License-Identifier: MIT
#include "video/kt_mtk_view.h"

#include <QExposeEvent>
#include <QPlatformSurfaceEvent>
#include <algorithm>
#include <limits>
#include <utility>

#include "video/cpu/bilinear_scaler.h"

namespace tavelo {
namespace {

std::uint32_t truncatedPixels(double length) {
    constexpr auto largest = double(std::numeric_limits<std::uint32_t>::max());
    return length > 0 ? std::uint32_t(std::min(length, largest)) : 0;
}

} // namespace

KTMTKView::KTMTKView(const QRect& frame, RendererChoice choice)
    : KTMTKView(frame, [choice](QWindow& window, SerialQueue& renderQueue) {
          return makeRenderBackend(choice, window, renderQueue);
      }) {}

KTMTKView::KTMTKView(const QRect& frame, const BackendFactory& makeBackend, BackendRemaker remakeBackend)
    : renderQueue_(std::make_unique<SerialQueue>("KT.Metal.RenderQueue")),
      remakeBackend_(std::move(remakeBackend)),
      assetWriteManager_(std::make_shared<KTAssetWriterManager>()) {
    // The panel handles mouse events over the picture: they move its window or open its menu.
    setFlags(Qt::WindowTransparentForInput | Qt::WindowDoesNotAcceptFocus);
    initMetal(makeBackend);
    setGeometry(frame);
}

KTMTKView::~KTMTKView() {
    freePictureData();
    renderQueue_->sync([this] {
        assetWriteManager_.reset();
        backend_.surface->setDrawable(false);
        release(pictures_);
        release(reduced_);
        backend_.passes.reset();
    });
    destroy(); // destroys the native window, before the surface that drew into it
    backend_.surface.reset();
}

void KTMTKView::initMetal(const BackendFactory& makeBackend) {
    backend_ = makeBackend(*this, *renderQueue_);
    renderer_ = backend_.renderer;
    setSurfaceType(backend_.surfaceType);
    setFormat(backend_.format);
}

void KTMTKView::setAssetWriteManager(std::shared_ptr<KTAssetWriterManager> manager) {
    renderQueue_->async(
        [this, manager = std::move(manager)]() mutable { assetWriteManager_ = std::move(manager); });
}

std::shared_ptr<KTAssetWriterManager> KTMTKView::assetWriteManager() {
    std::shared_ptr<KTAssetWriterManager> manager;
    renderQueue_->sync([&] { manager = assetWriteManager_; });
    return manager;
}

ViewportSize KTMTKView::viewportSize() const {
    const std::lock_guard lock(stateMutex_);
    return viewportSize_;
}

GroupExtent KTMTKView::correctGroupSize() const {
    const std::lock_guard lock(stateMutex_);
    return correctGroupSize_;
}

GroupExtent KTMTKView::correctGroupCount() const {
    const std::lock_guard lock(stateMutex_);
    return correctGroupCount_;
}

std::shared_ptr<FrameTexture> KTMTKView::texture() const {
    return pictures().texture;
}
std::shared_ptr<FrameTexture> KTMTKView::correctTexture() const {
    return pictures().correctTexture;
}

MediaTime KTMTKView::presentationTime() const {
    const std::lock_guard lock(stateMutex_);
    return presentationTime_;
}

FloatMatrix KTMTKView::getRenderModelViewMatrixBuffer() const {
    return matrixFor(viewportSize());
}

FloatMatrix KTMTKView::matrixFor(ViewportSize viewport) const {
    // Of the frame, since a reduced picture has its proportions only nearly.
    const ViewportSize frame = shownPictures().pixelBuffer ? frameSize() : ViewportSize();
    return getMetalMatrixFromCAMatrix(modelViewTransform(videoGravity_, frame.width, frame.height, viewport));
}

FloatMatrix KTMTKView::getMetalMatrixFromCAMatrix(const Transform& transform) {
    FloatMatrix matrix{};
    std::transform(transform.begin(), transform.end(), matrix.begin(),
                   [](double element) { return float(element); });
    return matrix;
}

void KTMTKView::mtkViewDrawableSizeWillChange(double width, double height) {
    renderQueue_->async([this, size = ViewportSize{truncatedPixels(width), truncatedPixels(height)}] {
        const std::lock_guard lock(stateMutex_);
        viewportSize_ = size;
    });
}

QImage KTMTKView::grabPicture() {
    const ViewportSize before = viewportSize();
    if (before.width == 0 || before.height == 0) updateDrawableSize(); // was never on a screen
    QImage image;
    renderQueue_->sync([&] {
        const auto corrected = currentPicture();
        const ViewportSize viewport = viewportSize();
        if (!corrected || viewport.width == 0 || viewport.height == 0) return;
        image = QImage(int(viewport.width), int(viewport.height), QImage::Format_RGB32);
        const ViewportSize frame = frameSize();
        const FloatMatrix matrix = getMetalMatrixFromCAMatrix(
            modelViewTransform(videoGravity_, frame.width, frame.height, viewport));
        const auto lock = corrected->lock();
        BilinearScaler().draw(
            {corrected->baseAddress(), corrected->width(), corrected->height(), corrected->bytesPerRow()},
            {image.bits(), viewport.width, viewport.height, std::size_t(image.bytesPerLine())},
            double(matrix[0]), double(matrix[5]));
    });
    return image;
}

void KTMTKView::setContainer(QWidget* container) {
    container_ = container;
    setHidden(hidden_);
}

void KTMTKView::setHidden(bool hidden) {
    hidden_ = hidden;
    if (container_) container_->setVisible(!hidden);
}

bool KTMTKView::event(QEvent* event) {
    if (event->type() == QEvent::PlatformSurface &&
        static_cast<QPlatformSurfaceEvent*>(event)->surfaceEventType() ==
            QPlatformSurfaceEvent::SurfaceAboutToBeDestroyed)
        setDrawable(false);
    return QWindow::event(event);
}

void KTMTKView::exposeEvent(QExposeEvent*) {
    watchTopLevel();
    exposureDidChange();
}

// When a window is minimised, the window system says nothing about those in it.
void KTMTKView::watchTopLevel() {
    QWindow* top = this;
    while (top->parent() != nullptr)
        top = top->parent();
    if (top == this) top = nullptr;
    if (top == topLevel_) return;
    if (topLevel_) topLevel_->removeEventFilter(this);
    topLevel_ = top;
    if (topLevel_) topLevel_->installEventFilter(this);
}

bool KTMTKView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == topLevel_ && event->type() == QEvent::Expose) exposureDidChange();
    return QWindow::eventFilter(watched, event);
}

void KTMTKView::exposureDidChange() {
    setDrawable(isExposed() && (!topLevel_ || topLevel_->isExposed()));
    if (!drawable_) return;
    updateDrawableSize(); // the scale of the screen may have changed too
    redisplay();
    backend_.surface->flush();
}

void KTMTKView::resizeEvent(QResizeEvent*) {
    updateDrawableSize();
    redisplay();
}

void KTMTKView::setDrawable(bool drawable) {
    if (drawable == drawable_) return;
    drawable_ = drawable;
    const auto tell = [this, drawable] {
        if (backend_.surface) backend_.surface->setDrawable(drawable);
    };
    // If not drawable, the window may be destroyed next, so wait until the render queue has released it.
    if (drawable)
        renderQueue_->async(tell);
    else
        renderQueue_->sync(tell);
}

void KTMTKView::updateDrawableSize() {
    mtkViewDrawableSizeWillChange(width() * devicePixelRatio(), height() * devicePixelRatio());
}

} // namespace tavelo
