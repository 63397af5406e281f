// SPDX-License-Identifier: MIT
// Measures the cost of a preview frame, from the camera's bytes to the drawn picture, for each renderer,
// format and size: of the whole picture, of as much as is shown, and of that beside a movie.
//
// Columns, all per frame: microseconds for the conversion to BGRA, the copy into the renderer's memory, the
// correction pass, the display pass and the movie's picture; allocations, conversion included; bytes that the
// CPU copied after the conversion, in whole frames.  The correction pass of the CPU's renderer, which is such
// a copy, is not counted.
#include <benchmark/benchmark.h>

#include <QGuiApplication>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "camera_bytes.h"
#include "counters.h"
#include "platform/linux/pictures/frame_converter.h"
#include "renderers.h"
#include "video/kt_mtk_view.h"

namespace tavelo::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int warmUpFrames = 5;

/// Times and other costs of the stages, summed over frames.
struct FrameCosts {
    Clock::duration convert{};
    Clock::duration copy{};
    Clock::duration compute{};
    Clock::duration display{};
    Clock::duration movie{};
    std::uint64_t allocations = 0;
    std::uint64_t copiedBytes = 0;
};

enum class Kind : std::uint8_t { whole, shown, besideAMovie };

constexpr const char* nameOf(Kind kind) {
    return kind == Kind::whole ? "whole" : kind == Kind::shown ? "shown" : "beside_a_movie";
}

/// As the view asks for it.
PictureDemand demandOf(Kind kind, const Transform& scale) {
    if (kind == Kind::whole) return {};
    const auto side = [](std::uint32_t viewport, double share) {
        return std::uint32_t(std::lround(viewport * share));
    };
    return {false, side(previewSize.width, scale[0]), side(previewSize.height, scale[5]),
            kind == Kind::besideAMovie};
}

/// The stages that a frame passes through.
class Pipeline {
public:
    Pipeline(FramePasses& passes, Fourcc format, FrameSize size, Kind kind) : passes_(passes), kind_(kind) {
        for (std::size_t i = 0; i < bytes_.size(); ++i) {
            bytes_[i] = cameraBytes(format, size);
            bytes_[i].push_back(std::uint8_t(i)); // the same frame again would not be decoded
        }
        converter_.setFormat({format, size, 0, YuvMatrix::bt601, false});
        const Transform scale =
            modelViewTransform(VideoGravity::resizeAspect, size.width, size.height, previewSize);
        demand_ = demandOf(kind, scale);
        const SampleBuffer first = converter_.convert(bytes_[0], demand_);
        const PixelBuffer* picture = pictureOf(first);
        if (picture == nullptr) return;
        const auto make = [&](PictureUse use) {
            return passes.makePicture(use, picture->width(), picture->height(), picture->bytesPerRow());
        };
        camera_ = make(PictureUse::cameraFrame);
        corrected_ = make(PictureUse::correctedFrame);
        movie_ = PixelBuffer::create(PixelFormat::nv12, size.width, size.height);
        matrix_ = KTMTKView::getMetalMatrixFromCAMatrix(scale);
        parameters_.shouldFlipHorizontal = 1; // the slower case
        groupCount_ = correctionGroupCount(picture->width(), picture->height());
    }

    bool isReady() const { return camera_.texture && corrected_.texture; }

    void frame(FrameCosts& costs) {
        const auto start = Clock::now();
        const Counts before = counts();
        const SampleBuffer sample = converter_.convert(bytes_[++number_ % bytes_.size()], demand_);
        const auto converted = Clock::now();
        const Counts afterConversion = counts();
        KTMTKView::copyDataFromPixelBufferToPixelBuffer(*pictureOf(sample), *camera_.pixelBuffer);
        const auto copied = Clock::now();
        passes_.correct(*camera_.texture, *corrected_.texture, parameters_, groupCount_);
        const auto computed = Clock::now();
        passes_.display(corrected_.texture.get(), previewSize, matrix_);
        const auto displayed = Clock::now();
        if (kind_ == Kind::besideAMovie)
            sample.cameraFrame->drawForMovie({movie_->planes()[0], movie_->planes()[1]}, {true, false});
        const auto recorded = Clock::now();
        const Counts after = counts();

        costs.convert += converted - start;
        costs.copy += copied - converted;
        costs.compute += computed - copied;
        costs.display += displayed - computed;
        costs.movie += recorded - displayed;
        costs.allocations += (after - before).allocations;
        costs.copiedBytes += (after - afterConversion).copiedBytes;
    }

private:
    static const PixelBuffer* pictureOf(const SampleBuffer& sample) {
        return (sample.reducedBuffer ? sample.reducedBuffer : sample.imageBuffer).get();
    }

    FramePasses& passes_;
    const Kind kind_;
    std::array<std::vector<std::uint8_t>, 2> bytes_;
    std::size_t number_ = 0;
    FrameConverter converter_;
    PictureDemand demand_;
    std::shared_ptr<PixelBuffer> movie_;
    FramePicture camera_;
    FramePicture corrected_;
    FloatMatrix matrix_{};
    CorrectionParameters parameters_;
    GroupExtent groupCount_;
};

void report(benchmark::State& state, const FrameCosts& costs, FrameSize size) {
    const auto frames = double(state.iterations());
    const auto microseconds = [&](Clock::duration time) {
        return std::chrono::duration<double, std::micro>(time).count() / frames;
    };
    const double frameBytes = double(size.width) * size.height * 4;
    state.counters["1_convert_us"] = microseconds(costs.convert);
    state.counters["2_copy_us"] = microseconds(costs.copy);
    state.counters["3_compute_us"] = microseconds(costs.compute);
    state.counters["4_display_us"] = microseconds(costs.display);
    state.counters["5_movie_us"] = microseconds(costs.movie);
    state.counters["6_allocations"] = double(costs.allocations) / frames;
    state.counters["7_copied_frames"] = double(costs.copiedBytes) / frames / frameBytes;
}

// Afterwards, since asking the card for its time makes the processor wait for it.
void reportCard(benchmark::State& state, BenchRenderer& renderer, Pipeline& pipeline) {
    constexpr int frames = 60;
    std::chrono::nanoseconds sum{0};
    FrameCosts ignored;
    for (int i = 0; i < frames; ++i) {
        const auto time = renderer.cardTime([&] { pipeline.frame(ignored); });
        if (!time) return;
        sum += *time;
    }
    state.counters["8_card_us"] = std::chrono::duration<double, std::micro>(sum).count() / frames;
}

struct Subject {
    BenchRenderer& renderer;
    Fourcc format;
    FrameSize size;
    Kind kind;
};

void benchFrame(benchmark::State& state, const Subject& subject) {
    subject.renderer.run([&](FramePasses& passes) {
        Pipeline pipeline(passes, subject.format, subject.size, subject.kind);
        if (!pipeline.isReady()) {
            state.SkipWithError("cannot be converted or drawn here");
            return;
        }
        FrameCosts ignored;
        for (int i = 0; i < warmUpFrames; ++i)
            pipeline.frame(ignored);
        FrameCosts costs;
        for (auto iteration : state) {
            (void)iteration;
            pipeline.frame(costs);
        }
        report(state, costs, subject.size);
        reportCard(state, subject.renderer, pipeline);
    });
}

void registerFrames(const char* name, BenchRenderer* renderer) {
    if (renderer == nullptr) {
        std::fprintf(stderr, "%s: not on this machine\n", name);
        return;
    }
    for (const FrameSize size :
         {FrameSize{640, 480}, FrameSize{1280, 720}, FrameSize{1920, 1080}, FrameSize{3840, 2160}}) {
        for (const Fourcc format : {fourcc::yuyv, fourcc::mjpeg}) {
            for (const Kind kind : {Kind::whole, Kind::shown, Kind::besideAMovie}) {
                const std::string title = std::string(name) + "/" + fourccText(format) + "/" +
                                          std::to_string(size.width) + "x" + std::to_string(size.height) +
                                          "/" + nameOf(kind);
                benchmark::RegisterBenchmark(title.c_str(),
                                             [subject = Subject{*renderer, format, size, kind}](
                                                 benchmark::State& state) { benchFrame(state, subject); })
                    ->Unit(benchmark::kMicrosecond)
                    ->MeasureProcessCPUTime() // of all threads
                    ->UseRealTime();
            }
        }
    }
}

} // namespace
} // namespace tavelo::bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    // Without a display there is no OpenGL, but the CPU's renderer still works.
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "minimal");
    const QGuiApplication application(argc, argv);
    const bool display = QGuiApplication::platformName() != QLatin1String("minimal");
    const auto cpu = tavelo::bench::makeCpuRenderer();
    const auto mapped = display ? tavelo::bench::makeGlRenderer(true) : nullptr;
    const auto copied = display ? tavelo::bench::makeGlRenderer(false) : nullptr;
    tavelo::bench::registerFrames("cpu", cpu.get());
    tavelo::bench::registerFrames("gl", mapped.get());
    tavelo::bench::registerFrames("gl_without_buffer_storage", copied.get());
    if (copied) benchmark::AddCustomContext("graphics_card", copied->card());
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
