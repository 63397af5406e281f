// SPDX-License-Identifier: MIT
// Movie writing: the writer, its inputs and their settings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/capture.h"
#include "platform/error.h"
#include "platform/media_time.h"
#include "platform/pixel_buffer.h"

namespace tavelo {

enum class MovieFileType : std::uint8_t { mpeg4, quickTimeMovie };

enum class VideoCodec : std::uint8_t { h264 };
enum class H264ProfileLevel : std::uint8_t { mainAutoLevel };
enum class VideoScalingMode : std::uint8_t {
    resizeAspectFill ///< the picture fills the frame; what overhangs is cropped
};

struct VideoCompressionProperties {
    std::optional<int> maxKeyFrameInterval; ///< in frames, at least 1
    std::optional<H264ProfileLevel> profileLevel;
    std::optional<std::int64_t> averageBitRate; ///< bits per second; absent: constant quality
};

/// Encoding of a video input.  Absent values get a default, except for the size, which is required.
struct VideoSettings {
    VideoCodec codec = VideoCodec::h264;
    VideoScalingMode scalingMode = VideoScalingMode::resizeAspectFill;
    std::optional<std::uint32_t> width;  ///< in pixels, at least 2; an odd size loses its last column or row
    std::optional<std::uint32_t> height; ///< same
    VideoCompressionProperties compressionProperties;
};

/// Encoding of an audio input, always AAC.  Absent values get the default.
struct AudioSettings {
    std::optional<std::uint32_t> sampleRate; ///< frames per second; default 48000
    std::optional<std::uint32_t> channels;   ///< 1 or 2; default 2
    std::optional<std::int64_t> bitRate;     ///< bits per second; default 64000 per channel
};

/// One track of a movie.
///
/// Called on the thread that feeds the writer; isReadyForMoreMediaData() is thread-safe.
class AssetWriterInput {
public:
    virtual ~AssetWriterInput() = default;

    virtual MediaType mediaType() const = 0;

    /// A hint that samples arrive in real time.  Set it before the writer starts; false by default.
    virtual void setExpectsMediaDataInRealTime(bool realTime) = 0;
    virtual bool expectsMediaDataInRealTime() const = 0;

    /// False before the writer starts, while its queue is full, and once the input is finished.  True once
    /// the writer has failed, so that the next append reports the failure.
    virtual bool isReadyForMoreMediaData() const = 0;

    /// Takes a picture or sound, depending on the input's type.  Pixels are copied before it returns; sound
    /// is shared and must not change any more.  Samples before the session's start are not written.  Instead
    /// of a picture a sample may have a camera frame with a movie's picture, of the movie's size.
    /// @return false if the sample cannot be written; the writer has then failed and its error() says why.  A
    /// picture that is not later than the one before cannot be written, nor any sample while the input is not
    /// ready.  After a failure nothing more can be written.
    virtual bool appendSampleBuffer(const SampleBuffer& sample) = 0;

    /// No more samples follow.
    virtual void markAsFinished() = 0;
};

/// Appends pictures to a video input.  Used on the input's thread.
class PixelBufferAdaptor {
public:
    /// The expected format of the pictures.  A hint: each picture carries its own.
    struct SourceAttributes {
        std::uint32_t pixelFormatType = 0; ///< 32: four bytes per pixel, alpha and three colours
        std::size_t width = 0;
        std::size_t height = 0;
    };

    PixelBufferAdaptor(std::shared_ptr<AssetWriterInput> input, SourceAttributes attributes)
        : input_(std::move(input)),
          sourcePixelBufferAttributes_(attributes) {}

    const std::shared_ptr<AssetWriterInput>& assetWriterInput() const { return input_; }
    const SourceAttributes& sourcePixelBufferAttributes() const { return sourcePixelBufferAttributes_; }

    /// Same as the input's appendSampleBuffer().
    bool appendPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                               const MediaTime& presentationTime) {
        return input_->appendSampleBuffer({pixelBuffer, presentationTime, nullptr});
    }

    /// The frame must have a movie's picture, of the attributes' size.
    bool appendCameraFrameWithPresentationTime(const std::shared_ptr<const CameraFrame>& frame,
                                               Mirroring mirroring, const MediaTime& presentationTime) {
        return input_->appendSampleBuffer({nullptr, presentationTime, nullptr, frame, nullptr, mirroring});
    }

private:
    std::shared_ptr<AssetWriterInput> input_;
    SourceAttributes sourcePixelBufferAttributes_;
};

enum class AssetWriterStatus : std::uint8_t { unknown, writing, completed, failed };

/// Writes one movie file.
///
///     unknown --startWriting--> writing --finishWriting...--> completed or failed
///
/// A failure while writing sets the status to failed at once; the writer can still be finished.  Until
/// it is finished, the file plays up to about the last second, even if the program is killed.
///
/// Used by one thread; status() and error() are thread-safe.  The destructor waits for a writer that is
/// finishing, which then does only what the movie needs to be complete and playable and skips optional
/// improvements.  The destructor must not run on the writer's own thread.
class AssetWriter {
public:
    using FinishHandler = std::function<void()>;

    virtual ~AssetWriter() = default;

    /// Whether the writer can write this input's samples.  False once it has started.
    virtual bool canAddInput(const AssetWriterInput& input) const = 0;
    /// The input must be accepted by canAddInput() and made by the same platform.
    virtual void addInput(std::shared_ptr<AssetWriterInput> input) = 0;

    /// Creates the file, which must not exist yet.  Slow steps such as opening encoders run on the writer's
    /// own thread and may still fail there.
    /// @return false if the file cannot be created or there is no input; the writer has then failed
    virtual bool startWriting() = 0;

    /// Starts the movie's time line at `time`.  Call it once, after startWriting() and before the first
    /// sample.
    virtual void startSessionAtSourceTime(const MediaTime& time) = 0;

    /// Writes what is queued and closes the file.  Call it once.  `handler` runs once, on the writer's own
    /// thread, when status() is completed or failed.  A writer that never started fails.
    virtual void finishWritingWithCompletionHandler(FinishHandler handler) = 0;

    virtual AssetWriterStatus status() const = 0;
    /// Why the writer failed; without a code if it has not.  Once finished, says how much was kept.
    virtual Error error() const = 0;
};

/// The movie half of a platform.  Thread-safe.
class AssetWriterPlatform {
public:
    virtual ~AssetWriterPlatform() = default;

    /// Null with `error` set if no movie can be made at `path`: the folder is missing or not writable, or the
    /// path already exists.  Does not create anything yet.
    virtual std::unique_ptr<AssetWriter> makeWriter(const std::string& path, MovieFileType type,
                                                    Error& error) = 0;

    /// Never null.  Call it after makeWriter() has made a writer.  No writer accepts an input without
    /// settings.
    virtual std::shared_ptr<AssetWriterInput> makeVideoInput(
        const std::optional<VideoSettings>& settings) = 0;
    virtual std::shared_ptr<AssetWriterInput> makeAudioInput(
        const std::optional<AudioSettings>& settings) = 0;
};

} // namespace tavelo
