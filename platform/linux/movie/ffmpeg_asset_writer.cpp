// SPDX-License-Identifier: MIT
#include "platform/linux/movie/ffmpeg_asset_writer.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/linux/movie/ffmpeg_error.h"

namespace tavelo {
namespace {

constexpr std::size_t queuedPictures = 8;
constexpr int mostQueuedSounds = 64;
constexpr std::uint32_t smallestSide = 2;
constexpr std::uint32_t largestSide = 16384;
constexpr int defaultMaxKeyFrameInterval = 60;
constexpr std::array<std::uint32_t, 12> aacSampleRates{96000, 88200, 64000, 48000, 44100, 32000,
                                                       24000, 22050, 16000, 12000, 11025, 8000};

bool isSide(const std::optional<std::uint32_t>& side) {
    return side && *side >= smallestSide && *side <= largestSide;
}

bool canWrite(const VideoSettings& settings) {
    const auto& compression = settings.compressionProperties;
    return isSide(settings.width) && isSide(settings.height) &&
           compression.maxKeyFrameInterval.value_or(1) >= 1 && compression.averageBitRate.value_or(1) > 0;
}

bool canWrite(const AudioSettings& settings) {
    const std::uint32_t channels = settings.channels.value_or(2);
    const std::uint32_t rate = settings.sampleRate.value_or(aacSampleRates[3]);
    return (channels == 1 || channels == 2) && settings.bitRate.value_or(1) > 0 &&
           std::find(aacSampleRates.begin(), aacSampleRates.end(), rate) != aacSampleRates.end();
}

VideoEncoderSettings encoderSettings(const VideoSettings& settings) {
    const auto even = [](std::uint32_t side) { return int(side & ~1U); };
    const auto& compression = settings.compressionProperties;
    return {even(*settings.width), even(*settings.height),
            compression.maxKeyFrameInterval.value_or(defaultMaxKeyFrameInterval), compression.averageBitRate};
}

AVRational unitOf(const MediaTime& time) {
    return {1, time.timescale};
}

std::int64_t ticksOf(const MediaTime& time) {
    return av_rescale_q(time.value, unitOf(time), videoTimeBase);
}

bool isLater(const MediaTime& time, const MediaTime& than) {
    return av_compare_ts(time.value, unitOf(time), than.value, unitOf(than)) > 0;
}

std::chrono::nanoseconds nanosecondsOf(const MediaTime& time) {
    return std::chrono::nanoseconds(av_rescale_q(time.value, unitOf(time), {1, std::nano::den}));
}

} // namespace

FfmpegAssetWriter::FfmpegAssetWriter(std::string path, MovieFileType type, MovieTools tools,
                                     Diagnostics& diagnostics)
    : description_{std::move(path), type, {}, {}},
      tools_(std::move(tools)),
      diagnostics_(diagnostics) {}

FfmpegAssetWriter::~FfmpegAssetWriter() {
    hurry_.request_stop();
    if (videoInput_) videoInput_->setTaker(nullptr);
    if (audioInput_) audioInput_->setTaker(nullptr);
}

bool FfmpegAssetWriter::canAddInput(const AssetWriterInput& input) const {
    const auto* ours = dynamic_cast<const FfmpegAssetWriterInput*>(&input);
    if (ours == nullptr || status() != AssetWriterStatus::unknown) return false;
    if (const auto* settings = ours->videoSettings()) return !videoInput_ && canWrite(*settings);
    if (const auto* settings = ours->audioSettings()) return !audioInput_ && canWrite(*settings);
    return false;
}

void FfmpegAssetWriter::addInput(std::shared_ptr<AssetWriterInput> input) {
    if (!canAddInput(*input)) return;
    auto ours = std::static_pointer_cast<FfmpegAssetWriterInput>(std::move(input));
    ours->setTaker(this);
    if (const auto* settings = ours->videoSettings()) {
        description_.video = encoderSettings(*settings);
        videoInput_ = std::move(ours);
    } else {
        description_.audio = *ours->audioSettings();
        audioInput_ = std::move(ours);
    }
}

bool FfmpegAssetWriter::startWriting() {
    if (status() != AssetWriterStatus::unknown) return false;
    if (!videoInput_ && !audioInput_) return fail(movieError(ErrorCode::invalid, "the movie has no track"));
    if (!prepareFrames()) return fail(ffmpegError(AVERROR(ENOMEM), "the movie cannot be begun"));
    Error error;
    pipeline_ = MoviePipeline::create(description_, tools_, diagnostics_, error);
    if (!pipeline_) return fail(error);
    {
        const std::lock_guard lock(stateMutex_);
        status_ = AssetWriterStatus::writing;
    }
    // Opened here: the thread that draws the preview must not wait for encoders.
    queue_.async([this] {
        if (const auto failed = pipeline_->open()) fail(*failed);
    });
    return true;
}

bool FfmpegAssetWriter::prepareFrames() {
    if (!description_.video) return true;
    const auto [width, height] = std::pair(description_.video->width, description_.video->height);
    converter_.emplace(width, height);
    return frames_.allocate(queuedPictures, width, height);
}

void FfmpegAssetWriter::startSessionAtSourceTime(const MediaTime& time) {
    if (!sessionStart_ && time.timescale > 0) sessionStart_ = time;
}

bool FfmpegAssetWriter::isReady(MediaType type) const {
    switch (status()) {
        case AssetWriterStatus::writing:
            return type == MediaType::video ? frames_.hasFree() : queuedSounds_ < mostQueuedSounds;
        case AssetWriterStatus::failed:
            return true;
        default:
            return false;
    }
}

bool FfmpegAssetWriter::append(MediaType type, const SampleBuffer& sample) {
    if (status() != AssetWriterStatus::writing) return false;
    const MediaTime& time = sample.presentationTimeStamp;
    if (!sessionStart_ || time.timescale <= 0)
        return fail(movieError(ErrorCode::invalid, "a sample has no place on the movie's time line"));
    if (!isReady(type)) return fail(movieError(ErrorCode::busy, "a sample came while none could be taken"));
    return type == MediaType::video ? appendPicture(sample) : appendSound(sample.audioBuffer, time);
}

bool FfmpegAssetWriter::acceptsTime(const MediaTime& time) {
    if (lastTime_ && !isLater(time, *lastTime_)) return false;
    lastTime_ = time;
    return true;
}

bool FfmpegAssetWriter::drawInto(AVFrame& frame, const SampleBuffer& sample) {
    if (const PixelBuffer* picture = sample.imageBuffer.get()) {
        const auto lock = picture->lock();
        return converter_->convert(*picture, frame);
    }
    return sample.cameraFrame && converter_->draw(*sample.cameraFrame, sample.mirroring, frame);
}

bool FfmpegAssetWriter::appendPicture(const SampleBuffer& sample) {
    const MediaTime& time = sample.presentationTimeStamp;
    if (!acceptsTime(time))
        return fail(movieError(ErrorCode::invalid, "a frame is not later than the one before it"));
    const std::int64_t ticks = ticksOf(time) - ticksOf(*sessionStart_);
    if (ticks < 0) return true;
    AVFrame* frame = frames_.take();
    if (frame == nullptr) return fail(ffmpegError(AVERROR(ENOMEM), "a frame cannot be taken"));
    if (!drawInto(*frame, sample)) {
        frames_.giveBack(frame);
        return fail(movieError(ErrorCode::invalid, "a frame has a format that cannot be recorded"));
    }
    // Two different times may be equal on the movie's coarser scale.
    lastTicks_ = std::max(ticks, lastTicks_ + 1);
    frame->pts = lastTicks_;
    queue_.async([this, frame] {
        if (const auto error = pipeline_->encodeVideo(*frame)) fail(*error);
        frames_.giveBack(frame);
    });
    return true;
}

bool FfmpegAssetWriter::appendSound(const std::shared_ptr<const AudioBuffer>& sound, const MediaTime& time) {
    if (!sound) return fail(movieError(ErrorCode::invalid, "a sample of the sound track has no sound"));
    const std::chrono::nanoseconds start = nanosecondsOf(time) - nanosecondsOf(*sessionStart_);
    ++queuedSounds_;
    queue_.async([this, sound, start] {
        if (const auto error = pipeline_->encodeAudio(*sound, start)) fail(*error);
        --queuedSounds_;
    });
    return true;
}

bool FfmpegAssetWriter::fail(const Error& error) {
    const std::lock_guard lock(stateMutex_);
    if (status_ != AssetWriterStatus::failed) error_ = error; // the first error is the cause
    status_ = AssetWriterStatus::failed;
    return false;
}

void FfmpegAssetWriter::finishWritingWithCompletionHandler(FinishHandler handler) {
    queue_.async([this, handler = std::move(handler)] { finish(handler); });
}

void FfmpegAssetWriter::finish(const FinishHandler& handler) {
    if (pipeline_) {
        if (const auto error = pipeline_->finish(hurry_.get_token())) fail(*error);
        const auto kept = pipeline_->kept();
        pipeline_.reset();
        const std::lock_guard lock(stateMutex_);
        error_.kept = kept;
    } else if (status() == AssetWriterStatus::unknown) {
        fail(movieError(ErrorCode::invalid, "nothing was recorded"));
    }
    {
        const std::lock_guard lock(stateMutex_);
        if (status_ == AssetWriterStatus::writing) status_ = AssetWriterStatus::completed;
        if (status_ == AssetWriterStatus::completed) error_ = {};
    }
    if (handler) handler();
}

AssetWriterStatus FfmpegAssetWriter::status() const {
    const std::lock_guard lock(stateMutex_);
    return status_;
}

Error FfmpegAssetWriter::error() const {
    const std::lock_guard lock(stateMutex_);
    return error_;
}

} // namespace tavelo
