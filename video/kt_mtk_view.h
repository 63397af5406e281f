// SPDX-License-Identifier: MIT
// The preview's renderer: a window that shows the camera's picture.
#pragma once

#include <QImage>
#include <QPointer>
#include <QRect>
#include <QWidget>
#include <QWindow>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/diagnostics.h"
#include "platform/media_time.h"
#include "platform/pixel_buffer.h"
#include "platform/serial_queue.h"
#include "video/kt_asset_writer_manager.h"
#include "video/passes/frame_geometry.h"
#include "video/render_backend.h"
#include "video/renderer_choice.h"
#include "video/snapshot.h"

namespace tavelo {

/// Copies each camera frame into memory shared with the GPU, runs the correction pass (which mirrors) and
/// draws the corrected frame, scaled as videoGravity says.  It draws when a frame comes or when it is told
/// to, never by a timer.
///
/// A window of the main thread with a thread of its own for drawing, the render queue.  The main thread may
/// wait for the render queue, and so may the capture queue; the render queue waits for neither.  Where the
/// comments name no thread a call is thread-safe.  A window that is embedded belongs to its container.
class KTMTKView : public QWindow {
    Q_OBJECT

public:
    /// Makes what draws on the render queue of the view.
    using BackendFactory = std::function<RenderBackend(QWindow& window, SerialQueue& renderQueue)>;
    /// Makes it again, as remakeRenderBackend() does.
    using BackendRemaker =
        std::function<RenderBackend(Renderer renderer, QWindow& window, SerialQueue& renderQueue)>;

    explicit KTMTKView(const QRect& frame = {}, RendererChoice choice = RendererChoice::automatic);
    KTMTKView(const QRect& frame, const BackendFactory& makeBackend,
              BackendRemaker remakeBackend = remakeRenderBackend);
    /// No call of another thread may be under way, and no pixel buffer of the view may be used after.
    ~KTMTKView() override;

    /// The renderer in use.  OpenGL that fails is made again; after three failures the processor takes over.
    Renderer renderer() const { return renderer_; }

    /// Told in one line when the processor takes over.  On the main thread; must outlive the view.
    void setDiagnostics(Diagnostics& diagnostics) { diagnostics_ = &diagnostics; }

    // Frames

    /// Copies the frame on the caller's thread (the capture queue: one caller at a time) and asks for a draw.
    /// At most one draw waits: a frame that finds one waiting takes its place, or, while a movie is recorded,
    /// waits for its turn.  A null frame is ignored.
    void drawPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& frame,
                                             const MediaTime& time);

    /// Makes the picture black, after every draw that waits already.  The camera is gone, so a movie under
    /// way is finished with its last frame.
    void drawBlack();

    /// Replaces both pixel buffers by ones of the frame's size.  Waits for the render queue; called where
    /// frames are copied, or while none comes.  A frame that is null or has no area changes nothing.
    void createTextureWithPixelBuffer(const std::shared_ptr<PixelBuffer>& frame);

    /// Copies rows, each as long as the shorter one of both.  Planar sources advance by each side's own row
    /// length; otherwise the destination advances by what was copied, so its rows must be as long as the
    /// source's.
    static void copyDataFromPixelBufferToPixelBuffer(const PixelBuffer& source, PixelBuffer& destination);

    /// Drops both pixel buffers, after every draw that waits already.
    void freePictureData();

    /// Camera frames whose draw is done.  One that could not be drawn does not count.
    std::uint64_t drawnFrames() const { return drawnFrames_; }

    /// The view's picture as it stands, with the viewport's size; null before the first frame.  Waits for the
    /// render queue.
    QImage grabPicture();

    // Settings

    bool shouldFlipHorizontal() const { return shouldFlipHorizontal_; }
    void setShouldFlipHorizontal(bool flip) { shouldFlipHorizontal_ = flip; }
    bool shouldFlipVertical() const { return shouldFlipVertical_; }
    void setShouldFlipVertical(bool flip) { shouldFlipVertical_ = flip; }
    VideoGravity videoGravity() const { return videoGravity_; }
    void setVideoGravity(VideoGravity gravity) { videoGravity_ = gravity; }

    // Stills and movies: each call returns at once, what it asks for happens on the render queue between
    // draws

    /// Writes the corrected frame as a PNG file, which appears whole or not at all.  The handler, which may
    /// be empty, runs on the render queue; it is not called where there is no frame yet.
    void screenShotWithFilePathCompletionHandler(const std::string& filePath, SnapshotHandler handler);

    /// Records into a new file, from the next frame on.  Before the first frame there is nothing to record.
    /// @param audioOutputSettings without them the movie has no audio track
    /// @param completionHandler runs once, when the movie is finished or has failed; must not be empty
    void startRecordWithFilePathAudioOutputSettingsCompletionHandler(
        const std::string& filePath, const std::optional<AudioSettings>& audioOutputSettings,
        KTAssetWriterManager::CompletionHandler completionHandler);
    void stopRecord();

    /// Takes effect on the render queue, after what waits there.
    void setAssetWriteManager(std::shared_ptr<KTAssetWriterManager> manager);
    /// Waits for the render queue.
    std::shared_ptr<KTAssetWriterManager> assetWriteManager();

    // Geometry

    ViewportSize viewportSize() const;
    /// The drawable's size became width x height pixels; fractions are cut off, negative sizes count as 0.
    void mtkViewDrawableSizeWillChange(double width, double height);
    FloatMatrix getRenderModelViewMatrixBuffer() const;
    static FloatMatrix getMetalMatrixFromCAMatrix(const Transform& transform);
    GroupExtent correctGroupSize() const;
    GroupExtent correctGroupCount() const;

    // State

    std::shared_ptr<PixelBuffer> pixelBuffer() const;
    std::shared_ptr<PixelBuffer> correctPixelBuffer() const;
    std::shared_ptr<FrameTexture> texture() const;
    std::shared_ptr<FrameTexture> correctTexture() const;
    /// Of the frame drawn last.
    MediaTime presentationTime() const;
    SerialQueue& renderQueue() { return *renderQueue_; }

    // Embedding, on the main thread

    /// The widget that embeds this window; it carries the hidden state from now on.
    void setContainer(QWidget* container);
    bool isHidden() const { return hidden_; }
    /// While hidden the frames are still corrected, and recorded where a recording is under way.
    void setHidden(bool hidden);

protected:
    bool event(QEvent* event) override;
    void exposeEvent(QExposeEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    /// What one draw works on, taken at once.
    struct Pictures {
        std::shared_ptr<PixelBuffer> pixelBuffer;
        std::shared_ptr<FrameTexture> texture;
        std::shared_ptr<PixelBuffer> correctPixelBuffer;
        std::shared_ptr<FrameTexture> correctTexture;
    };

    FloatMatrix matrixFor(const Pictures& pictures, ViewportSize viewport) const;

    // On the main thread
    void initMetal(const BackendFactory& makeBackend);
    void recover();
    void letGoOfBackend();
    void takeBackend(RenderBackend backend);
    void handOverToProcessor();
    void setDrawable(bool drawable);
    void updateDrawableSize();
    void redisplay();

    // On the capture queue
    bool fits(const PixelBuffer& frame) const;
    void awaitTurn();
    void copyIntoPicture(const PixelBuffer& frame);

    // On the render queue
    void releasePictures();
    bool makeCurrent();
    void drawWaitingFrame();
    bool drawInMTKView();
    bool correctionPass(const Pictures& pictures);
    void displayPass(const Pictures& pictures);
    void didDraw();
    void didFailToDraw();
    void letNextFrameCome();
    bool mayPresent();
    void noteRecording();
    Pictures pictures() const;

    const std::unique_ptr<SerialQueue> renderQueue_;
    const BackendRemaker remakeBackend_;
    RenderBackend backend_; // passes: render queue; empty for moments while it is made again
    std::atomic<Renderer> renderer_ = Renderer::cpu;

    std::atomic<bool> shouldFlipHorizontal_ = false;
    std::atomic<bool> shouldFlipVertical_ = false;
    std::atomic<VideoGravity> videoGravity_ = VideoGravity::resizeAspect;
    std::atomic<std::uint64_t> drawnFrames_ = 0;
    std::atomic<int> failures_ = 0;             // of OpenGL, since it last drew for a while
    std::atomic<bool> keepsEveryFrame_ = false; // a movie is recorded

    mutable std::mutex stateMutex_; // guards the members up to the blank line; held for moments only
    Pictures pictures_;
    GroupExtent correctGroupSize_;
    GroupExtent correctGroupCount_;
    ViewportSize viewportSize_;
    MediaTime presentationTime_;
    MediaTime waitingTime_;
    bool drawWaits_ = false;
    bool frameWaits_ = false;   // in pixelBuffer, not corrected yet
    bool captureWaits_ = false; // with a frame, until that one is
    bool redisplayWaits_ = false;

    std::condition_variable frameTaken_;

    // On the render queue
    std::shared_ptr<KTAssetWriterManager> assetWriteManager_;
    int picturesLeftOut_ = 0; // of the preview, in a row
    int goodDraws_ = 0;       // since the last failure
    bool recovering_ = false;

    // On the main thread
    Diagnostics* diagnostics_ = nullptr;
    QPointer<QWidget> container_;
    bool hidden_ = false;
    bool drawable_ = false;
};

} // namespace tavelo
