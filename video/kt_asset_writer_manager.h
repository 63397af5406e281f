// SPDX-License-Identifier: MIT
// The preview's movie recorder.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/asset_writer.h"

namespace tavelo {

/// Writes the corrected frames into a movie file.
///
///     idle --start--> prepared --first frame--> writing --stopRecord--> finishing --> idle
///
/// If the writer does not start, or fails while it writes, the recording enters finishing by itself.  A new
/// recording can start while the previous one is still finishing.  Starting during a recording stops that one
/// first.
///
/// Thread-bound to the render queue, except the flags and the completion handler, which are thread-safe
/// because the writer's own thread ends a recording.  Some calls are virtual for tests.
class KTAssetWriterManager {
public:
    using Clock = std::chrono::system_clock;

    /// Called once for each start: on the caller's thread if the recording could not begin, otherwise on the
    /// writer's thread.  It must neither throw nor wait for the render queue.
    using CompletionHandler = std::function<void(bool success, const Error& error)>;

    /// Replaced by tests.
    struct Options {
        std::function<Clock::time_point()> now = [] { return Clock::now(); };
        /// The user's documents folder; empty (the default) means the desktop's.
        std::filesystem::path documents;
        /// Whether movies are made of camera frames, if these have a movie's picture.  False: of whole
        /// pictures, which recordPixelBufferWithPresentationTime() then gets for every frame.
        bool takesCameraFrames = false;
    };

    /// Options of the recorders that the programs use.
    static Options madeOfCameraFrames();

    /// Without a platform every start fails.
    KTAssetWriterManager();
    explicit KTAssetWriterManager(std::shared_ptr<AssetWriterPlatform> platform);
    KTAssetWriterManager(std::shared_ptr<AssetWriterPlatform> platform, Options options);
    /// Stops the recording, and waits for all movies that are finishing.
    virtual ~KTAssetWriterManager();

    KTAssetWriterManager(const KTAssetWriterManager&) = delete;
    KTAssetWriterManager& operator=(const KTAssetWriterManager&) = delete;

    // Recording

    /// Prepares a movie of the buffer's size, which begins with the next frame.
    /// @param audioOutputSettings if absent, the movie has no audio track
    /// @param completionHandler may be empty
    void startRecordWithPixelBufferFilePathAudioOutputSettingsCompletionHandler(
        const std::shared_ptr<PixelBuffer>& pixelBuffer, const std::string& filePath,
        const std::optional<AudioSettings>& audioOutputSettings, CompletionHandler completionHandler);

    /// Likewise, but writes a QuickTime movie to getNewURL(), and reports nothing.
    /// @param audioSettings not used
    void startRecordWithVideoSettingsAudioSettings(const VideoSettings& videoSettings,
                                                   const std::optional<AudioSettings>& audioSettings);

    /// Appends a frame; the movie's time starts with the first one.  Ignored while idle, and if the time's
    /// value is 0.  Dropped if the writer is busy.  The pixels may be overwritten after the call.
    virtual void recordPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                                       const MediaTime& presentationTime);

    /// Whether camera frames of this size may be given instead of pictures.
    bool takesCameraFrames(std::size_t width, std::size_t height) const;

    /// The same for a camera frame with a movie's picture, of a size that is taken.
    virtual void recordCameraFrameWithPresentationTime(const std::shared_ptr<const CameraFrame>& frame,
                                                       Mirroring mirroring,
                                                       const MediaTime& presentationTime);

    /// Appends a frame with a timestamp from the wall clock, in 1/600 s since the start.  Timestamps are
    /// unique.
    void recordPixelBuffer(const std::shared_ptr<PixelBuffer>& pixelBuffer);

    /// Appends a captured sample: pictures as above, sound only after the first picture.
    void recordSampleBuffer(const SampleBuffer& sampleBuffer);

    /// Finishes the movie in the background.  Ignored if there is none, or if it is already finishing.
    void stopRecord();

    /// documents/yyyyMMdd/HHmmss.mp4 for the current time.  Creates the folder and deletes an existing file
    /// of that name.
    std::filesystem::path getNewURL();

    // State

    virtual bool isRecording() const { return recording_; }
    void setRecording(bool recording) { recording_ = recording; }
    /// Whether the next frame starts the writer.
    bool isFirstSample() const { return firstSample_; }
    void setFirstSample(bool firstSample) { firstSample_ = firstSample; }

    const std::filesystem::path& movieURL() const { return movieURL_; }
    void setMovieURL(std::filesystem::path url) { movieURL_ = std::move(url); }
    /// Null before the first recording; valid until the next start.
    AssetWriter* movieWriter() const;
    const std::shared_ptr<PixelBufferAdaptor>& moviePixelBufferAdaptor() const {
        return moviePixelBufferAdaptor_;
    }
    void setMoviePixelBufferAdaptor(std::shared_ptr<PixelBufferAdaptor> adaptor) {
        moviePixelBufferAdaptor_ = std::move(adaptor);
    }
    const std::shared_ptr<AssetWriterInput>& movieVideoInput() const { return movieVideoInput_; }
    void setMovieVideoInput(std::shared_ptr<AssetWriterInput> input) { movieVideoInput_ = std::move(input); }
    const std::shared_ptr<AssetWriterInput>& movieAudioInput() const { return movieAudioInput_; }
    void setMovieAudioInput(std::shared_ptr<AssetWriterInput> input) { movieAudioInput_ = std::move(input); }
    CompletionHandler completionHandler() const;
    void setCompletionHandler(CompletionHandler handler);
    /// The timestamp of recordPixelBuffer()'s last frame, in 1/600 s.
    std::int64_t currentFrame() const { return currentFrame_; }
    void setCurrentFrame(std::int64_t frame) { currentFrame_ = frame; }
    std::optional<Clock::time_point> startDate() const { return startDate_; }
    void setStartDate(std::optional<Clock::time_point> date) { startDate_ = date; }

private:
    /// A movie, from its start until its handler has returned.
    struct Movie {
        CompletionHandler completionHandler;
        bool finishing = false;
        std::atomic<bool> finished = false;
        std::unique_ptr<AssetWriter> writer; // last: its destructor uses the others
    };

    bool makeMovie(const std::filesystem::path& url, MovieFileType type, Error& error);
    void makeVideoInput(const VideoSettings& settings, bool realTime);
    void makeAudioInput(const std::optional<AudioSettings>& settings);
    void begin(std::int64_t currentFrame);
    bool startSessionOnce(const MediaTime& time);
    bool mayAppend(const MediaTime& time);
    void movieDidFinish(Movie& movie, const AssetWriter& writer);

    const std::shared_ptr<AssetWriterPlatform> platform_;
    const Options options_;

    std::atomic<bool> recording_ = false;
    std::atomic<bool> firstSample_ = false;
    std::filesystem::path movieURL_;
    std::shared_ptr<PixelBufferAdaptor> moviePixelBufferAdaptor_;
    std::shared_ptr<AssetWriterInput> movieVideoInput_;
    std::shared_ptr<AssetWriterInput> movieAudioInput_;
    std::int64_t currentFrame_ = 0;
    std::optional<Clock::time_point> startDate_;

    mutable std::mutex mutex_; // guards what movie_ points to from the writers' threads, and all handlers
    std::unique_ptr<Movie> movie_;
    std::vector<std::unique_ptr<Movie>> earlierMovies_; // were still finishing when the next one began
};

} // namespace tavelo
