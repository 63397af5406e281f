// SPDX-License-Identifier: MIT
// Movies: a writer, its inputs, and the settings of what they write.
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
    resizeAspectFill ///< the picture fills the movie; what stands over on two sides is cut off
};

struct VideoCompressionProperties {
    std::optional<int> maxKeyFrameInterval; ///< in frames, at least 1
    std::optional<H264ProfileLevel> profileLevel;
    std::optional<std::int64_t> averageBitRate; ///< bits a second; absent: constant quality
};

/// What a video input writes; what is absent is chosen, apart from the size, which must be there.
struct VideoSettings {
    VideoCodec codec = VideoCodec::h264;
    VideoScalingMode scalingMode = VideoScalingMode::resizeAspectFill;
    std::optional<std::uint32_t> width;  ///< in pixels, at least 2; an odd size loses its last column or row
    std::optional<std::uint32_t> height; ///< likewise
    VideoCompressionProperties compressionProperties;
};

/// What an audio input writes, which is AAC; what is absent is chosen.
struct AudioSettings {
    std::optional<std::uint32_t> sampleRate; ///< frames a second; 48000
    std::optional<std::uint32_t> channels;   ///< 1 or 2; 2
    std::optional<std::int64_t> bitRate;     ///< bits a second; 64000 a channel
};

/// One track of a movie to be.
///
/// Its calls come on the thread that feeds the writer; isReadyForMoreMediaData() is thread-safe.
class AssetWriterInput {
public:
    virtual ~AssetWriterInput() = default;

    virtual MediaType mediaType() const = 0;

    /// A hint that samples come at the pace of a clock.  Set before the writer starts; false until then.
    virtual void setExpectsMediaDataInRealTime(bool realTime) = 0;
    virtual bool expectsMediaDataInRealTime() const = 0;

    /// False before the writer starts, while its queue is full, and once the input is finished.  True once
    /// the writer has failed, so that the next sample learns of it.
    virtual bool isReadyForMoreMediaData() const = 0;

    /// Takes a picture or a piece of sound, as the input's type wants.  Pixels are copied before it returns;
    /// sound is shared and must not change any more.  What lies before the session's start is not written.
    /// @return false if the sample cannot be written: the writer has failed then, and says why.  A picture
    /// whose time is not later than that of the one before is such a sample, and so is any that comes while
    /// the input is not ready.  After a failure nothing can be written any more.
    virtual bool appendSampleBuffer(const SampleBuffer& sample) = 0;

    /// No sample follows.
    virtual void markAsFinished() = 0;
};

/// Appends pictures to a video input.  Belongs to the input's thread.
class PixelBufferAdaptor {
public:
    /// What the pictures are announced to be.  A hint: each picture says itself what it is.
    struct SourceAttributes {
        std::uint32_t pixelFormatType = 0; ///< 32: four bytes a pixel, alpha and three colours
        std::size_t width = 0;
        std::size_t height = 0;
    };

    PixelBufferAdaptor(std::shared_ptr<AssetWriterInput> input, SourceAttributes attributes)
        : input_(std::move(input)),
          sourcePixelBufferAttributes_(attributes) {}

    const std::shared_ptr<AssetWriterInput>& assetWriterInput() const { return input_; }
    const SourceAttributes& sourcePixelBufferAttributes() const { return sourcePixelBufferAttributes_; }

    /// As the input's appendSampleBuffer().
    bool appendPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                               const MediaTime& presentationTime) {
        return input_->appendSampleBuffer({pixelBuffer, presentationTime, nullptr});
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
/// A failure while writing makes it failed at once; it is finished all the same.  Until it is, the file at
/// the path plays up to about the last second, even if the program is killed.
///
/// Calls come on one thread; status() and error() are thread-safe.  The destructor waits for a writer that is
/// finishing, which then does only what a movie needs to be whole and to play; steps that would merely
/// improve it are skipped.  It must not run on the writer's own thread.
class AssetWriter {
public:
    using FinishHandler = std::function<void()>;

    virtual ~AssetWriter() = default;

    /// Whether this writer could write that input's samples.  False once it has started.
    virtual bool canAddInput(const AssetWriterInput& input) const = 0;
    /// The input must be one that can be added, made by the same platform.
    virtual void addInput(std::shared_ptr<AssetWriterInput> input) = 0;

    /// Makes the file, which must not exist yet.  What takes time, as encoders do, happens on the writer's
    /// own thread, and may still fail there.
    /// @return false if the file cannot be made, or if there is no input: the writer has failed then
    virtual bool startWriting() = 0;

    /// The movie's time line begins at that time.  Once, after startWriting() and before the first sample.
    virtual void startSessionAtSourceTime(const MediaTime& time) = 0;

    /// Writes what is queued and closes the file.  `handler` runs once, on the writer's own thread, when
    /// status() is completed or failed.  A writer that never started has nothing to finish and fails.  Once.
    virtual void finishWritingWithCompletionHandler(FinishHandler handler) = 0;

    virtual AssetWriterStatus status() const = 0;
    /// Why the writer failed; without a code while it has not.  Once it has finished, with what was kept.
    virtual Error error() const = 0;
};

/// The movie half of a platform.  Thread-safe.
class AssetWriterPlatform {
public:
    virtual ~AssetWriterPlatform() = default;

    /// Null with the reason where no movie can be made at `path`: its folder is missing or cannot be written,
    /// or something is there already.  Creates nothing yet.
    virtual std::unique_ptr<AssetWriter> makeWriter(const std::string& path, MovieFileType type,
                                                    Error& error) = 0;

    /// Never null.  An input without settings is accepted by no writer.
    virtual std::shared_ptr<AssetWriterInput> makeVideoInput(
        const std::optional<VideoSettings>& settings) = 0;
    virtual std::shared_ptr<AssetWriterInput> makeAudioInput(
        const std::optional<AudioSettings>& settings) = 0;
};

} // namespace tavelo
