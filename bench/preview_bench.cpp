// SPDX-License-Identifier: MIT
// Measures the cost of a preview frame, from the camera's bytes to the drawn picture, for each renderer,
// format and size.
//
// Columns, all per frame: microseconds for the conversion to BGRA, the copy into the renderer's memory, the
// correction pass and the display pass; allocations, conversion included; bytes that the CPU copied after the
// conversion, in frames.  The correction pass of the CPU's renderer, which is such a copy, is not counted.
#include <benchmark/benchmark.h>

#include <QGuiApplication>
#include <array>
#include <chrono>
#include <cstdio>
#include <string>

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
    std::uint64_t allocations = 0;
    std::uint64_t copiedBytes = 0;
};

/// The stages that a frame passes through.
class Pipeline {
public:
    Pipeline(FramePasses& passes, Fourcc format, FrameSize size)
        : passes_(passes),
          bytes_(cameraBytes(format, size)) {
        converter_.setFormat({format, size, 0, YuvMatrix::bt601, false});
        const auto first = converter_.convert(bytes_);
        if (!first) return;
        camera_ = passes.makePicture(PictureUse::cameraFrame, size.width, size.height, first->bytesPerRow());
        corrected_ =
            passes.makePicture(PictureUse::correctedFrame, size.width, size.height, first->bytesPerRow());
        matrix_ = KTMTKView::getMetalMatrixFromCAMatrix(
            modelViewTransform(VideoGravity::resizeAspect, size.width, size.height, previewSize));
        parameters_.shouldFlipHorizontal = 1; // the slower case
        groupCount_ = correctionGroupCount(size.width, size.height);
    }

    bool isReady() const { return camera_.texture && corrected_.texture; }

    void frame(FrameCosts& costs) {
        const auto start = Clock::now();
        const Counts before = counts();
        const auto picture = converter_.convert(bytes_);
        const auto converted = Clock::now();
        const Counts afterConversion = counts();
        KTMTKView::copyDataFromPixelBufferToPixelBuffer(*picture, *camera_.pixelBuffer);
        const auto copied = Clock::now();
        passes_.correct(*camera_.texture, *corrected_.texture, parameters_, groupCount_);
        const auto computed = Clock::now();
        passes_.display(corrected_.texture.get(), previewSize, matrix_);
        const auto displayed = Clock::now();
        const Counts after = counts();

        costs.convert += converted - start;
        costs.copy += copied - converted;
        costs.compute += computed - copied;
        costs.display += displayed - computed;
        costs.allocations += (after - before).allocations;
        costs.copiedBytes += (after - afterConversion).copiedBytes;
    }

private:
    FramePasses& passes_;
    std::vector<std::uint8_t> bytes_;
    FrameConverter converter_;
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
    state.counters["5_allocations"] = double(costs.allocations) / frames;
    state.counters["6_copied_frames"] = double(costs.copiedBytes) / frames / frameBytes;
}

void benchFrame(benchmark::State& state, BenchRenderer& renderer, Fourcc format, FrameSize size) {
    renderer.run([&](FramePasses& passes) {
        Pipeline pipeline(passes, format, size);
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
        report(state, costs, size);
    });
}

void registerFrames(const char* name, BenchRenderer* renderer) {
    if (renderer == nullptr) {
        std::printf("%s: not on this machine\n", name);
        return;
    }
    for (const FrameSize size : {FrameSize{1280, 720}, FrameSize{1920, 1080}}) {
        for (const Fourcc format : {fourcc::yuyv, fourcc::mjpeg}) {
            const std::string title = std::string(name) + "/" + fourccText(format) + "/" +
                                      std::to_string(size.width) + "x" + std::to_string(size.height);
            benchmark::RegisterBenchmark(title.c_str(),
                                         [renderer, format, size](benchmark::State& state) {
                                             benchFrame(state, *renderer, format, size);
                                         })
                ->Unit(benchmark::kMicrosecond)
                ->UseRealTime();
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
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
