// SPDX-License-Identifier: MIT
#include "video/kt_asset_writer_manager.h"

#include <QDateTime>
#include <QStandardPaths>
#include <system_error>
#include <utility>

namespace tavelo {
namespace {

constexpr int maxKeyFrameInterval = 60;
constexpr std::uint32_t argb32 = 32;
constexpr std::int32_t wallClockTimescale = 600;

VideoSettings videoSettingsFor(const PixelBuffer* frame) {
    VideoSettings settings;
    if (frame != nullptr) {
        settings.width = std::uint32_t(frame->width());
        settings.height = std::uint32_t(frame->height());
    }
    settings.compressionProperties.maxKeyFrameInterval = maxKeyFrameInterval;
    settings.compressionProperties.profileLevel = H264ProfileLevel::mainAutoLevel;
    return settings;
}

std::filesystem::path documentsFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation).toStdString();
}

} // namespace

KTAssetWriterManager::Options KTAssetWriterManager::madeOfCameraFrames() {
    Options options;
    options.takesCameraFrames = true;
    return options;
}

KTAssetWriterManager::KTAssetWriterManager() : KTAssetWriterManager(nullptr) {}

KTAssetWriterManager::KTAssetWriterManager(std::shared_ptr<AssetWriterPlatform> platform)
    : KTAssetWriterManager(std::move(platform), Options()) {}

KTAssetWriterManager::KTAssetWriterManager(std::shared_ptr<AssetWriterPlatform> platform, Options options)
    : platform_(std::move(platform)),
      options_(std::move(options)) {}

KTAssetWriterManager::~KTAssetWriterManager() {
    stopRecord();
    // Destroyed without the lock: it waits for its writer, whose thread takes the lock.
    std::unique_ptr<Movie> last;
    const std::lock_guard lock(mutex_);
    last = std::move(movie_);
}

void KTAssetWriterManager::startRecordWithPixelBufferFilePathAudioOutputSettingsCompletionHandler(
    const std::shared_ptr<PixelBuffer>& pixelBuffer, const std::string& filePath,
    const std::optional<AudioSettings>& audioOutputSettings, CompletionHandler completionHandler) {
    Error error;
    if (!makeMovie(filePath, MovieFileType::mpeg4, error)) {
        if (completionHandler) completionHandler(false, error);
        return;
    }
    makeVideoInput(videoSettingsFor(pixelBuffer.get()), false);
    makeAudioInput(audioOutputSettings);
    setCompletionHandler(std::move(completionHandler));
    startDate_ = options_.now();
    begin(0);
}

void KTAssetWriterManager::startRecordWithVideoSettingsAudioSettings(
    const VideoSettings& videoSettings, const std::optional<AudioSettings>& /*audioSettings*/) {
    Error unreported;
    if (!makeMovie(getNewURL(), MovieFileType::quickTimeMovie, unreported)) return;
    makeVideoInput(videoSettings, true);
    movieAudioInput_.reset();
    begin(1);
}

bool KTAssetWriterManager::makeMovie(const std::filesystem::path& url, MovieFileType type, Error& error) {
    stopRecord();
    movieURL_ = url;
    if (!platform_) {
        error = {ErrorCode::none, "no movies can be written here"};
        return false;
    }
    auto movie = std::make_unique<Movie>();
    movie->writer = platform_->makeWriter(url.string(), type, error);
    if (!movie->writer) return false;
    {
        const std::lock_guard lock(mutex_);
        std::swap(movie_, movie);
    }
    if (movie) earlierMovies_.push_back(std::move(movie));
    std::erase_if(earlierMovies_, [](const auto& earlier) { return earlier->finished.load(); });
    return true;
}

void KTAssetWriterManager::makeVideoInput(const VideoSettings& settings, bool realTime) {
    movieVideoInput_ = platform_->makeVideoInput(settings);
    if (realTime) movieVideoInput_->setExpectsMediaDataInRealTime(true);
    moviePixelBufferAdaptor_ = std::make_shared<PixelBufferAdaptor>(
        movieVideoInput_, PixelBufferAdaptor::SourceAttributes{argb32, settings.width.value_or(0),
                                                               settings.height.value_or(0)});
    if (movie_->writer->canAddInput(*movieVideoInput_)) movie_->writer->addInput(movieVideoInput_);
}

void KTAssetWriterManager::makeAudioInput(const std::optional<AudioSettings>& settings) {
    movieAudioInput_ = platform_->makeAudioInput(settings);
    movieAudioInput_->setExpectsMediaDataInRealTime(true);
    if (movie_->writer->canAddInput(*movieAudioInput_)) movie_->writer->addInput(movieAudioInput_);
}

void KTAssetWriterManager::begin(std::int64_t currentFrame) {
    currentFrame_ = currentFrame;
    firstSample_ = true;
    recording_ = true;
}

bool KTAssetWriterManager::startSessionOnce(const MediaTime& time) {
    if (!firstSample_) return true;
    if (!movie_->writer->startWriting()) {
        stopRecord();
        return false;
    }
    movie_->writer->startSessionAtSourceTime(time);
    firstSample_ = false;
    return true;
}

void KTAssetWriterManager::recordPixelBufferWithPresentationTime(
    const std::shared_ptr<PixelBuffer>& pixelBuffer, const MediaTime& presentationTime) {
    if (mayAppend(presentationTime) &&
        !moviePixelBufferAdaptor_->appendPixelBufferWithPresentationTime(pixelBuffer, presentationTime))
        stopRecord();
}

bool KTAssetWriterManager::takesCameraFrames(std::size_t width, std::size_t height) const {
    if (!options_.takesCameraFrames || !moviePixelBufferAdaptor_) return false;
    const auto& movie = moviePixelBufferAdaptor_->sourcePixelBufferAttributes();
    return movie.width == width && movie.height == height;
}

void KTAssetWriterManager::recordCameraFrameWithPresentationTime(
    const std::shared_ptr<const CameraFrame>& frame, Mirroring mirroring, const MediaTime& presentationTime) {
    if (mayAppend(presentationTime) &&
        !moviePixelBufferAdaptor_->appendCameraFrameWithPresentationTime(frame, mirroring, presentationTime))
        stopRecord();
}

// Starts the writer with the first frame.
bool KTAssetWriterManager::mayAppend(const MediaTime& time) {
    return recording_ && movie_ && time.value != 0 && startSessionOnce(time) &&
           moviePixelBufferAdaptor_->assetWriterInput()->isReadyForMoreMediaData();
}

void KTAssetWriterManager::recordPixelBuffer(const std::shared_ptr<PixelBuffer>& pixelBuffer) {
    if (!pixelBuffer) return;
    const std::chrono::duration<double> elapsed =
        startDate_ ? options_.now() - *startDate_ : Clock::duration::zero();
    auto frame = std::int64_t(elapsed.count() * wallClockTimescale);
    if (currentFrame_ >= frame) frame = currentFrame_ + 1;
    currentFrame_ = frame;
    recordPixelBufferWithPresentationTime(pixelBuffer, {frame, wallClockTimescale, MediaTime::flagValid, 0});
}

void KTAssetWriterManager::recordSampleBuffer(const SampleBuffer& sampleBuffer) {
    if (!recording_ || !movie_) return;
    const auto type = sampleBuffer.mediaType();
    if (type == MediaType::video) {
        if (!startSessionOnce(sampleBuffer.presentationTimeStamp)) return;
        if (movieVideoInput_->isReadyForMoreMediaData() &&
            !movieVideoInput_->appendSampleBuffer(sampleBuffer))
            stopRecord();
    } else if (type == MediaType::audio) {
        if (!firstSample_ && movieAudioInput_ && movieAudioInput_->isReadyForMoreMediaData())
            movieAudioInput_->appendSampleBuffer(sampleBuffer);
    }
}

void KTAssetWriterManager::stopRecord() {
    if (!movie_ || movie_->finishing) return;
    recording_ = false;
    movie_->finishing = true;
    movieVideoInput_->markAsFinished();
    // Both outlive the call: a movie's destructor waits for its writer.
    AssetWriter& writer = *movie_->writer;
    writer.finishWritingWithCompletionHandler(
        [this, &writer, movie = movie_.get()] { movieDidFinish(*movie, writer); });
}

// On the writer's thread.
void KTAssetWriterManager::movieDidFinish(Movie& movie, const AssetWriter& writer) {
    const bool completed = writer.status() == AssetWriterStatus::completed;
    CompletionHandler handler;
    {
        const std::lock_guard lock(mutex_);
        handler = std::exchange(movie.completionHandler, nullptr);
        if (completed && &movie == movie_.get()) firstSample_ = true;
    }
    if (handler) handler(completed, completed ? Error() : writer.error());
    movie.finished = true;
}

AssetWriter* KTAssetWriterManager::movieWriter() const {
    return movie_ ? movie_->writer.get() : nullptr;
}

KTAssetWriterManager::CompletionHandler KTAssetWriterManager::completionHandler() const {
    const std::lock_guard lock(mutex_);
    return movie_ ? movie_->completionHandler : nullptr;
}

void KTAssetWriterManager::setCompletionHandler(CompletionHandler handler) {
    const std::lock_guard lock(mutex_);
    if (movie_) movie_->completionHandler = std::move(handler);
}

std::filesystem::path KTAssetWriterManager::getNewURL() {
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(options_.now().time_since_epoch());
    const std::string text = QDateTime::fromMSecsSinceEpoch(milliseconds.count())
                                 .toString(QStringLiteral("yyyyMMddHHmmss"))
                                 .toStdString();
    const auto folder =
        (options_.documents.empty() ? documentsFolder() : options_.documents) / text.substr(0, 8);
    std::error_code ignored;
    std::filesystem::create_directory(folder, ignored);
    auto file = folder / (text.substr(8) + ".mp4");
    std::filesystem::remove(file, ignored);
    return file;
}

} // namespace tavelo
