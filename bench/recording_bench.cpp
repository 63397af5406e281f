// SPDX-License-Identifier: MIT
// Measures the cost of stills and movies: recording_bench [SECONDS].
//
// Prints how long a snapshot delays the preview at 1920x1080, and the CPU time per recorded frame at 1280x720
// (conversion, encoding, file and final copy), compared with the ffmpeg program with the same encoder
// settings and frames.  With SECONDS it also records a virtual camera with its preview in real time for that
// long, and prints how many frames were lost.
#include <sys/resource.h>
#include <sys/wait.h>

#include <QApplication>
#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/movie/ffmpeg_asset_writer_platform.h"
#include "platform/virtual/backend.h"
#include "video/kt_display_view.h"
#include "video/snapshot.h"

namespace tavelo::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int framesPerSecond = 30;
constexpr int differentFrames = 90;
constexpr int recordedFrames = 600;

class NoMainQueue final : public MainQueue {
public:
    void post(Task /*task*/) override {}
};

class PrintedDiagnostics final : public Diagnostics {
public:
    void report(std::string_view, std::string_view reason) noexcept override {
        std::printf("  %.*s\n", int(reason.size()), reason.data());
    }
};

class Folder {
public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "tavelo-bench-XXXXXX").string();
        if (mkdtemp(name.data()) != nullptr) path_ = name;
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string file(const char* name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

CaptureFormatRequest formatOf(std::uint32_t width, std::uint32_t height) {
    CaptureFormatRequest format;
    format.size = {width, height};
    format.framesPerSecond = framesPerSecond;
    return format;
}

/// Collects copies of a virtual camera's frames.
class FrameCollector final : public FrameSink {
public:
    explicit FrameCollector(std::size_t count) : count_(count) {}

    void consume(const SampleBuffer& sample) override {
        const std::lock_guard lock(mutex_);
        if (frames_.size() == count_) return;
        const PixelBuffer& from = *sample.imageBuffer;
        auto copy = PixelBuffer::create(PixelFormat::bgra32, from.width(), from.height());
        KTMTKView::copyDataFromPixelBufferToPixelBuffer(from, *copy);
        frames_.push_back(std::move(copy));
        full_.notify_one();
    }
    std::vector<std::shared_ptr<PixelBuffer>> take() {
        std::unique_lock lock(mutex_);
        full_.wait(lock, [this] { return frames_.size() == count_; });
        return frames_;
    }

private:
    const std::size_t count_;
    std::mutex mutex_; // guards the frames
    std::condition_variable full_;
    std::vector<std::shared_ptr<PixelBuffer>> frames_;
};

std::vector<std::shared_ptr<PixelBuffer>> cameraFrames(std::uint32_t width, std::uint32_t height,
                                                       std::size_t count) {
    NoMainQueue mainQueue;
    const VirtualBackend cameras = makeVirtualBackend(1, formatOf(width, height), mainQueue);
    Error error;
    const auto input = cameras.capture->devicesWithMediaType(MediaType::video).at(0)->makeInput(error);
    FrameCollector collector(count);
    input->start(collector);
    auto frames = collector.take();
    input->stop();
    return frames;
}

/// Like a sensor in a dim room; the worst case for a PNG encoder.
void addNoise(PixelBuffer& frame) {
    std::minstd_rand random(1);
    for (std::size_t y = 0; y < frame.height(); ++y) {
        std::uint8_t* row = frame.baseAddress() + y * frame.bytesPerRow();
        for (std::size_t i = 0; i < frame.width() * 4; ++i)
            row[i] = std::uint8_t(std::clamp(int(row[i]) + int(random() % 13) - 6, 0, 255));
    }
}

void benchSnapshot(const Folder& folder, bool noise) {
    const auto frames = cameraFrames(1920, 1080, 10);
    std::vector<double> times;
    std::uintmax_t bytes = 0;
    for (const auto& frame : frames) {
        if (noise) addNoise(*frame);
        const auto start = Clock::now();
        if (writeSnapshot(*frame, folder.file("still.png"))) return;
        times.push_back(Milliseconds(Clock::now() - start).count());
        bytes = std::filesystem::file_size(folder.file("still.png"));
    }
    std::sort(times.begin(), times.end());
    std::printf("snapshot 1920x1080: %.0f ms (longest %.0f), %.1f MB\n", times[times.size() / 2],
                times.back(), double(bytes) / 1e6);
}

Milliseconds processorTime(int who) {
    rusage usage{};
    getrusage(who, &usage);
    const auto of = [](const timeval& time) {
        return Milliseconds(double(time.tv_sec) * 1000 + double(time.tv_usec) / 1000);
    };
    return of(usage.ru_utime) + of(usage.ru_stime);
}

struct Cost {
    double millisecondsPerFrame = 0;
    std::uintmax_t bytes = 0;
};

Cost benchWriter(const Folder& folder, const std::vector<std::shared_ptr<PixelBuffer>>& frames) {
    PrintedDiagnostics diagnostics;
    const auto platform = makeFfmpegAssetWriterPlatform(diagnostics);
    const std::string path = folder.file("ours.mp4");
    Error error;
    const auto before = processorTime(RUSAGE_SELF);
    const auto writer = platform->makeWriter(path, MovieFileType::mpeg4, error);
    VideoSettings settings;
    settings.width = std::uint32_t(frames.front()->width());
    settings.height = std::uint32_t(frames.front()->height());
    settings.compressionProperties.maxKeyFrameInterval = 60;
    const auto video = platform->makeVideoInput(settings);
    writer->addInput(video);
    const auto time = [](int frame) {
        return MediaTime::fromNanoseconds(
            std::chrono::hours(1) + std::chrono::nanoseconds(1'000'000'000LL * frame / framesPerSecond));
    };
    if (!writer->startWriting()) return {};
    writer->startSessionAtSourceTime(time(0));
    for (int i = 0; i < recordedFrames; ++i) {
        while (!video->isReadyForMoreMediaData())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        video->appendSampleBuffer({frames[std::size_t(i) % frames.size()], time(i)});
    }
    std::promise<void> finished;
    writer->finishWritingWithCompletionHandler([&] { finished.set_value(); });
    finished.get_future().wait();
    const auto used = processorTime(RUSAGE_SELF) - before;
    return {used.count() / recordedFrames, std::filesystem::file_size(path)};
}

Cost benchProgram(const Folder& folder, const std::vector<std::shared_ptr<PixelBuffer>>& frames) {
    const std::string raw = folder.file("frames.bgra");
    {
        std::ofstream file(raw, std::ios::binary);
        for (const auto& frame : frames)
            for (std::size_t y = 0; y < frame->height(); ++y)
                file.write(reinterpret_cast<const char*>(frame->baseAddress() + y * frame->bytesPerRow()),
                           std::streamsize(frame->width() * 4));
    }
    const unsigned threads = std::clamp(std::thread::hardware_concurrency(), 1U, 4U);
    const std::string path = folder.file("theirs.mp4");
    const std::string command =
        "ffmpeg -v error -nostdin -y -stream_loop -1 -f rawvideo -pixel_format bgra -video_size " +
        std::to_string(frames.front()->width()) + "x" + std::to_string(frames.front()->height()) +
        " -framerate 30 -i " + raw + " -frames:v " + std::to_string(recordedFrames) +
        " -pix_fmt nv12 -c:v libx264 -preset veryfast -profile:v main -crf 23 -g 60 -bf 0 -threads " +
        std::to_string(threads) +
        " -x264-params sliced-threads=1:rc-lookahead=0:sync-lookahead=0:mbtree=0 -movflags +faststart " +
        path;
    const auto before = processorTime(RUSAGE_CHILDREN);
    if (std::system(command.c_str()) != 0) return {};
    const auto used = processorTime(RUSAGE_CHILDREN) - before;
    return {used.count() / recordedFrames, std::filesystem::file_size(path)};
}

void benchMovie(const Folder& folder) {
    const auto frames = cameraFrames(1280, 720, differentFrames);
    std::printf("movie 1280x720, %d frames:\n", recordedFrames);
    const Cost ours = benchWriter(folder, frames);
    const Cost theirs = benchProgram(folder, frames);
    if (ours.bytes == 0 || theirs.bytes == 0) {
        std::printf("  not to be had here\n");
        return;
    }
    std::printf("  ours    %.2f ms of processor time a frame, %.1f MB\n", ours.millisecondsPerFrame,
                double(ours.bytes) / 1e6);
    std::printf("  ffmpeg  %.2f ms of processor time a frame, %.1f MB\n", theirs.millisecondsPerFrame,
                double(theirs.bytes) / 1e6);
    std::printf("  ratio   %.2f\n", ours.millisecondsPerFrame / theirs.millisecondsPerFrame);
}

/// Counts the frames that the renderer passes on, and those that the writer accepted.
class CountingRecorder final : public KTAssetWriterManager {
public:
    using KTAssetWriterManager::KTAssetWriterManager;

    void recordPixelBufferWithPresentationTime(const std::shared_ptr<PixelBuffer>& pixelBuffer,
                                               const MediaTime& presentationTime) override {
        if (fed == 0) first = presentationTime.value;
        last = presentationTime.value;
        ++fed;
        if (!isFirstSample() && !movieVideoInput()->isReadyForMoreMediaData()) ++busy;
        KTAssetWriterManager::recordPixelBufferWithPresentationTime(pixelBuffer, presentationTime);
    }

    long fed = 0;
    long busy = 0;
    std::int64_t first = 0;
    std::int64_t last = 0;
};

void recordCamera(const Folder& folder, int seconds) {
    NoMainQueue mainQueue;
    PrintedDiagnostics diagnostics;
    const VirtualBackend cameras = makeVirtualBackend(1, formatOf(1280, 720), mainQueue);
    const auto view = KTDisplayView::create(QRect(0, 0, 536, 301), *cameras.capture, RendererChoice::cpu);
    KTMTKView& renderer = *view->mtkView();
    const auto recorder = std::make_shared<CountingRecorder>(makeFfmpegAssetWriterPlatform(diagnostics));
    renderer.setAssetWriteManager(recorder);
    view->show();
    view->showDevice(cameras.capture->devicesWithMediaType(MediaType::video).at(0));
    const auto awaitFrames = [&](std::uint64_t count) {
        const std::uint64_t goal = renderer.drawnFrames() + count;
        while (renderer.drawnFrames() < goal) {
            QApplication::processEvents();
            std::this_thread::sleep_for(std::chrono::milliseconds(2)); // leaves the CPU to the recording
        }
    };
    awaitFrames(5);
    std::printf("virtual camera 1280x720, %d frames/s, recorded for %d s beside the preview:\n",
                framesPerSecond, seconds);
    const auto before = processorTime(RUSAGE_SELF);
    std::promise<bool> finished;
    renderer.startRecordWithFilePathAudioOutputSettingsCompletionHandler(
        folder.file("camera.mp4"), {}, [&](bool success, const Error&) { finished.set_value(success); });
    awaitFrames(std::uint64_t(seconds) * framesPerSecond);
    renderer.stopRecord();
    const bool success = finished.get_future().get();
    const auto used = processorTime(RUSAGE_SELF) - before;
    const std::int64_t given =
        ((recorder->last - recorder->first) * framesPerSecond + 500'000'000) / 1'000'000'000 + 1;
    std::printf("  %s: %ld frames; lost on the way to the recorder %ld, lost in the recorder %ld\n",
                success ? "recorded" : "failed", recorder->fed, long(given) - recorder->fed, recorder->busy);
    std::printf("  camera, preview and movie: %.1f ms of processor time a frame\n",
                used.count() / double(recorder->fed));
}

} // namespace
} // namespace tavelo::bench

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const tavelo::bench::Folder folder;
    tavelo::bench::benchSnapshot(folder, false);
    tavelo::bench::benchSnapshot(folder, true);
    tavelo::bench::benchMovie(folder);
    if (argc > 1) tavelo::bench::recordCamera(folder, std::atoi(argv[1]));
    return 0;
}
