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
/// A writer that will not start, or fails while it writes, goes to finishing by itself.  A recording that is
/// still finishing does not stand in the way of the next; starting while one is under way stops that one
/// first.
///
/// Thread-bound to the render queue, but for the flags and the completion handler, which are thread-safe: the
/// writer's own thread ends a recording.  Some calls are virtual so that a test can watch the renderer.
class KTAssetWriterManager {
public:
    using Clock = std::chrono::system_clock;

    /// Runs once for each start: on the caller's thread where nothing was begun, otherwise on the writer's
    /// own.  It must neither throw nor wait for the render queue.
    using CompletionHandler = std::function<void(bool success, const Error& error)>;

    /// What a recorder asks about the world; a test answers otherwise.
    struct Surroundings {
        std::function<Clock::time_point()> now = [] { return Clock::now(); };
        /// The user's documents; nowhere by default means the desktop's own folder.
        std::filesystem::path documents;
    };

    /// Without a platform no movie can be made.
    KTAssetWriterManager();
    explicit KTAssetWriterManager(std::shared_ptr<AssetWriterPlatform> platform);
    KTAssetWriterManager(std::shared_ptr<AssetWriterPlatform> platform, Surroundings surroundings);
    /// Stops a recording under way, and waits for every movie that is finishing.
    virtual ~KTAssetWriterManager();

    KTAssetWriterManager(const KTAssetWriterManager&) = delete;
    KTAssetWriterManager& operator=(const KTAssetWriterManager&) = delete;

    // Recording

    /// Prepares a movie of the buffer's size; it begins with the next frame.
    /// @param audioOutputSettings without them the movie has no audio track
    /// @param completionHandler may be empty
    void startRecordWithPixelBufferFilePathAudioOutputSettingsCompletionHandler(
        const std::shared_ptr<PixelBuffer>& pixelBuffer, const std::string& filePath,
        const std::optional<AudioSettings>& audioOutputSettings, CompletionHandler completionHandler);

    /// The same under a name of its own (getNewURL), as a QuickTime movie and without a report.
    /// @param audioSettings not used
    void startRecordWithVideoSettingsAudioSettings(const VideoSettings& videoSettings,
                                                   const std::optional<AudioSettings>& audioSettings);

    /// Appends a frame; the time line begins with the first.  Ignored while idle, and where the time's value
    /// is 0.  A frame that finds the writer busy is dropped.  The pixels may be overwritten after the call.
    virtual void recordPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                                       const MediaTime& presentationTime);

    /// Appends a frame timed by the wall clock, in 1/600 s since the start; no two frames share a time.
    void recordPixelBuffer(const std::shared_ptr<PixelBuffer>& pixelBuffer);

    /// Appends a captured sample: pictures as above, sound once the first picture has come.
    void recordSampleBuffer(const SampleBuffer& sampleBuffer);

    /// Finishes the movie in the background.  Ignored where there is none, or it is finishing already.
    void stopRecord();

    /// documents/yyyyMMdd/HHmmss.mp4 of this moment.  Makes the folder, deletes a file that bears the name.
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
    /// The last frame that recordPixelBuffer() timed, in 1/600 s.
    std::int64_t currentFrame() const { return currentFrame_; }
    void setCurrentFrame(std::int64_t frame) { currentFrame_ = frame; }
    std::optional<Clock::time_point> startDate() const { return startDate_; }
    void setStartDate(std::optional<Clock::time_point> date) { startDate_ = date; }

private:
    /// One movie, from its start until its handler has run.
    struct Movie {
        CompletionHandler completionHandler;
        bool finishing = false;
        std::atomic<bool> finished = false;
        std::unique_ptr<AssetWriter> writer; // last: it uses the others while it dies
    };

    bool makeMovie(const std::filesystem::path& url, MovieFileType type, Error& error);
    void makeVideoInput(const VideoSettings& settings, bool realTime);
    void makeAudioInput(const std::optional<AudioSettings>& settings);
    void begin(std::int64_t currentFrame);
    bool startSessionOnce(const MediaTime& time);
    void movieDidFinish(Movie& movie, const AssetWriter& writer);

    const std::shared_ptr<AssetWriterPlatform> platform_;
    const Surroundings surroundings_;

    std::atomic<bool> recording_ = false;
    std::atomic<bool> firstSample_ = false;
    std::filesystem::path movieURL_;
    std::shared_ptr<PixelBufferAdaptor> moviePixelBufferAdaptor_;
    std::shared_ptr<AssetWriterInput> movieVideoInput_;
    std::shared_ptr<AssetWriterInput> movieAudioInput_;
    std::int64_t currentFrame_ = 0;
    std::optional<Clock::time_point> startDate_;

    mutable std::mutex mutex_; // guards what movie_ points to for the writers' threads, and every handler
    std::unique_ptr<Movie> movie_;
    std::vector<std::unique_ptr<Movie>> earlierMovies_; // not yet finished when the next began
};

} // namespace tavelo
