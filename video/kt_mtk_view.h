// SPDX-License-Identifier: MIT
// The preview's renderer, a window that shows the camera's picture.
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

#include "platform/capture.h"
#include "platform/diagnostics.h"
#include "platform/media_time.h"
#include "platform/pixel_buffer.h"
#include "platform/serial_queue.h"
#include "video/drawn_pictures.h"
#include "video/kt_asset_writer_manager.h"
#include "video/passes/frame_geometry.h"
#include "video/render_backend.h"
#include "video/renderer_choice.h"
#include "video/share_slot.h"
#include "video/snapshot.h"

namespace tavelo {

/// Copies each camera frame into memory shared with the GPU, runs the correction pass (which mirrors) and
/// draws the corrected frame, scaled according to videoGravity.  It draws when a frame arrives or on request,
/// never by a timer.
///
/// Works for what is looked at: while frames come with a reduced picture (demand()), both passes run on that,
/// and pixelBuffer() and correctPixelBuffer() are made of the last frame when somebody asks for them.
///
/// A window of the main thread that draws on a thread of its own, the render queue.  The main thread and the
/// capture queue may wait for the render queue; the render queue waits for neither.  Calls are thread-safe
/// unless their comments name a thread.  An embedded window is owned by its container.
class KTMTKView : public QWindow {
    Q_OBJECT

public:
    /// Creates the view's renderer.
    using BackendFactory = std::function<RenderBackend(QWindow& window, SerialQueue& renderQueue)>;
    /// Creates it again; see remakeRenderBackend().
    using BackendRemaker =
        std::function<RenderBackend(Renderer renderer, QWindow& window, SerialQueue& renderQueue)>;

    explicit KTMTKView(const QRect& frame = {}, RendererChoice choice = RendererChoice::automatic);
    KTMTKView(const QRect& frame, const BackendFactory& makeBackend,
              BackendRemaker remakeBackend = remakeRenderBackend);
    /// No other thread may be in a call, and the view's pixel buffers must not be used afterwards.
    ~KTMTKView() override;

    /// The renderer in use.  If OpenGL fails it is created again; after three failures the CPU takes over.
    Renderer renderer() const { return renderer_; }

    /// Gets one message when the CPU takes over.  Main thread.
    /// @param diagnostics must outlive the view
    void setDiagnostics(Diagnostics& diagnostics) { diagnostics_ = &diagnostics; }

    // Frames

    /// Copies the frame on the caller's thread (the capture queue: one caller at a time) and requests a draw.
    /// If a frame is still waiting to be drawn, the new one replaces it; during a recording it waits for the
    /// other to be drawn instead.  A null frame is ignored.
    void drawPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& frame,
                                             const MediaTime& time);

    /// What is wanted of the next frames: as large as shown, and what a movie and a share take.
    PictureDemand demand() const;

    /// Whether it needs whole pictures in any case.  A frame that nobody looks at is not decoded, so a
    /// damaged one is noticed only by the still that is made of it.
    void setNeedsWholePictures(bool needs) { needsWholePictures_ = needs; }

    /// The same for a sample with any pictures.  One without counts as drawn: nobody looks.
    void drawSample(const SampleBuffer& sample);

    /// Makes the picture black after all draws requested so far.  Called when the camera is gone, so it also
    /// finishes a recording.
    void drawBlack();

    /// Replaces both pixel buffers by ones of the frame's size.  Waits for the render queue.  Must not run
    /// while another thread copies a frame.  A frame that is null or has no area changes nothing.
    void createTextureWithPixelBuffer(const std::shared_ptr<PixelBuffer>& frame);

    /// Copies row by row, with the shorter of both row lengths.  For planar sources each side advances by its
    /// own row length.  Otherwise the destination advances by the bytes copied, so its rows must be as long
    /// as the source's.
    static void copyDataFromPixelBufferToPixelBuffer(const PixelBuffer& source, PixelBuffer& destination);

    /// Drops both pixel buffers after all draws requested so far.
    void freePictureData();

    /// The number of camera frames drawn, or taken while nobody looks, or the same as the one before; without
    /// those whose draw failed.
    std::uint64_t drawnFrames() const { return drawnFrames_; }

    /// The view's current picture in the viewport's size, shown or not; null before the first frame.  Waits
    /// for the render queue.  Main thread.
    QImage grabPicture();

    // Settings

    bool shouldFlipHorizontal() const { return shouldFlipHorizontal_; }
    void setShouldFlipHorizontal(bool flip) { shouldFlipHorizontal_ = flip; }
    bool shouldFlipVertical() const { return shouldFlipVertical_; }
    void setShouldFlipVertical(bool flip) { shouldFlipVertical_ = flip; }
    VideoGravity videoGravity() const { return videoGravity_; }
    void setVideoGravity(VideoGravity gravity) { videoGravity_ = gravity; }

    // Stills and movies: calls return at once and take effect on the render queue between draws

    /// Writes the corrected frame to a PNG file, atomically.  The handler, which may be empty, is called on
    /// the render queue, but not at all if there is no frame yet.
    void screenShotWithFilePathCompletionHandler(const std::string& filePath, SnapshotHandler handler);

    /// Records into a new file, from the next frame on.  Before the first frame there is nothing to record.
    /// @param audioOutputSettings if absent, the movie has no audio track
    /// @param completionHandler called once, when the movie is finished or has failed; must not be empty
    void startRecordWithFilePathAudioOutputSettingsCompletionHandler(
        const std::string& filePath, const std::optional<AudioSettings>& audioOutputSettings,
        KTAssetWriterManager::CompletionHandler completionHandler);
    void stopRecord();

    /// Takes effect on the render queue, after the tasks that already wait there.
    void setAssetWriteManager(std::shared_ptr<KTAssetWriterManager> manager);
    /// Waits for the render queue.
    std::shared_ptr<KTAssetWriterManager> assetWriteManager();

    /// Of the share that gets the pictures as they are shown.
    ShareSlot& shareSlot() { return shareSlot_; }

    // Geometry

    ViewportSize viewportSize() const;
    /// Call when the drawable's size becomes width x height pixels.  Fractions are truncated, negative sizes
    /// count as 0.
    void mtkViewDrawableSizeWillChange(double width, double height);
    FloatMatrix getRenderModelViewMatrixBuffer() const;
    static FloatMatrix getMetalMatrixFromCAMatrix(const Transform& transform);
    GroupExtent correctGroupSize() const;
    GroupExtent correctGroupCount() const;

    // State

    /// Of the camera's frames; zero before the first.
    ViewportSize frameSize() const;
    /// These two may wait for the render queue, which makes them.
    std::shared_ptr<PixelBuffer> pixelBuffer();
    std::shared_ptr<PixelBuffer> correctPixelBuffer();
    std::shared_ptr<FrameTexture> texture() const;
    std::shared_ptr<FrameTexture> correctTexture() const;
    /// Of the last frame drawn.
    MediaTime presentationTime() const;
    SerialQueue& renderQueue() { return *renderQueue_; }

    // Embedding, on the main thread

    /// Sets the widget that embeds this window, and that setHidden() hides from now on.
    void setContainer(QWidget* container);
    bool isHidden() const { return hidden_; }
    /// While hidden, frames are still corrected and recorded.
    void setHidden(bool hidden);

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void exposeEvent(QExposeEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    using Pictures = DrawnPictures;

    /// What pictures_ hold of the last frame.
    enum class Whole : std::uint8_t {
        corrected,
        copied, ///< not yet corrected
        kept    ///< nothing, but cameraFrame_ is it
    };
    enum class Shown : std::uint8_t { whole, reduced, nothing };

    FloatMatrix matrixFor(ViewportSize viewport) const;

    // On the main thread
    void initMetal(const BackendFactory& makeBackend);
    void recover();
    void releaseBackend();
    void useBackend(RenderBackend backend);
    void switchToCpu();
    void watchTopLevel();
    void exposureDidChange();
    void setDrawable(bool drawable);
    void updateDrawableSize();
    void redisplay();

    // On the capture queue
    void waitForPreviousFrame();
    void takeWhole(const std::shared_ptr<PixelBuffer>& frame);
    void takeReduced(const PixelBuffer& reduced);
    void copyInto(const Pictures& which, const PixelBuffer& frame);
    bool isShownAlready(const SampleBuffer& sample) const;
    void requestDraw(const SampleBuffer& sample);
    void countUndrawn(const MediaTime& time);

    // On any thread
    void makePictures(Pictures& which, std::size_t width, std::size_t height, std::size_t rowLength);
    void release(Pictures& which);
    void setFrameSize(std::size_t width, std::size_t height);
    std::shared_ptr<const CameraFrame> keptFrame() const;
    void makeWholeUnlessDrawn();

    // On the render queue
    bool makeWhole();
    bool drawKeptFrame(const CameraFrame& frame);
    void makeWholePicturesFor(const CameraFrame& frame);
    void makeBlack();
    std::shared_ptr<PixelBuffer> wholePicture();
    std::shared_ptr<PixelBuffer> currentPicture();
    bool correctWaiting();
    void didShow(Shown shown);
    bool makeCurrent();
    SampleBuffer toRecord();
    void record(const SampleBuffer& sample);
    SampleBuffer toShare(PictureShare& share);
    void drawWaitingFrame();
    bool drawInMTKView();
    bool correctionPass(const Pictures& pictures);
    void displayPass();
    void didDraw();
    void didFailToDraw();
    void allowNextFrame();
    bool mayPresent();
    void noteRecording();
    bool hasFrame() const;
    Pictures pictures() const;
    Pictures shownPictures() const;

    const std::unique_ptr<SerialQueue> renderQueue_;
    const BackendRemaker remakeBackend_;
    ShareSlot shareSlot_;
    RenderBackend backend_; // passes: render queue only; empty while it is created again
    std::atomic<Renderer> renderer_ = Renderer::cpu;

    std::atomic<bool> shouldFlipHorizontal_ = false;
    std::atomic<bool> shouldFlipVertical_ = false;
    std::atomic<VideoGravity> videoGravity_ = VideoGravity::resizeAspect;
    std::atomic<std::uint64_t> drawnFrames_ = 0;
    std::atomic<int> failures_ = 0;                 // of OpenGL, without enough good draws in between
    std::atomic<bool> keepsEveryFrame_ = false;     // during a recording
    std::atomic<bool> recordsCameraFrames_ = false; // during one that needs no whole pictures
    std::atomic<bool> drawable_ = false;
    std::atomic<bool> needsWholePictures_ = false;

    mutable std::mutex stateMutex_; // guards the members up to the blank line; held briefly
    Pictures pictures_;             // whole
    Pictures reduced_;
    Whole whole_ = Whole::corrected;
    std::shared_ptr<const CameraFrame> cameraFrame_; // of the last frame, if `kept`
    std::shared_ptr<PixelBuffer> reducedSource_;     // what reduced_ holds a copy of, if it is drawn
    Shown waiting_ = Shown::whole;                   // what the waiting frame has
    Shown shown_ = Shown::whole;                     // what the display pass draws
    ViewportSize frameSize_;
    CorrectionParameters correction_; // of the last frame
    GroupExtent correctGroupSize_;
    GroupExtent correctGroupCount_;
    ViewportSize viewportSize_;
    MediaTime presentationTime_;
    MediaTime waitingTime_;
    bool drawWaits_ = false;
    bool frameWaits_ = false;   // pixelBuffer holds a frame that is not corrected yet
    bool captureWaits_ = false; // the capture queue waits with the next frame
    bool redisplayWaits_ = false;

    std::condition_variable frameTaken_;

    // Held while whole pictures are written, so that an older frame never replaces a newer one.  Taken before
    // the locks of pictures and state; on other threads than the render queue never while waiting for that.
    std::mutex wholeMutex_;

    // On the render queue
    std::shared_ptr<KTAssetWriterManager> assetWriteManager_;
    int skippedPictures_ = 0; // skipped in the preview, in a row
    int goodDraws_ = 0;       // since the last failure
    bool recovering_ = false;

    // On the main thread
    Diagnostics* diagnostics_ = nullptr;
    QPointer<QWidget> container_;
    QPointer<QWindow> topLevel_; // the window that this one is in, if it is in one
    bool hidden_ = false;
};

} // namespace tavelo
