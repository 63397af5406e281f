// SPDX-License-Identifier: MIT
// Fake passes and a fake surface that record their calls.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "video/kt_mtk_view.h"

namespace tavelo::testing {

/// Shared by a test and the fakes; outlives the view.
class BackendLog {
public:
    void add(std::string call) {
        const std::lock_guard lock(mutex_);
        calls_.push_back(std::move(call));
    }
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(calls_, {});
    }

    std::atomic<bool> refuseCameraFrame = false;
    std::atomic<bool> refuseCorrectedFrame = false;
    std::atomic<bool> drawable = true;
    std::atomic<bool> toldDrawable = false;        ///< what the surface was told last
    std::atomic<bool> lost = false;                ///< making a context current fails
    std::atomic<bool> hangs = false;               ///< the correction never finishes
    std::atomic<std::uint32_t> hangsOnColumns = 0; ///< that of pictures with so many groups in a row
    std::atomic<std::uint8_t> lastFlipHorizontal = 0;
    std::atomic<std::uint8_t> lastFlipVertical = 0;

private:
    std::mutex mutex_; // guards the calls
    std::vector<std::string> calls_;
};

class FakeTexture final : public FrameTexture {};

class FakePasses final : public FramePasses {
public:
    explicit FakePasses(BackendLog& log) : log_(log) {}

    FramePicture makePicture(PictureUse use, std::size_t width, std::size_t height,
                             std::size_t bytesPerRow) override {
        const bool camera = use == PictureUse::cameraFrame;
        log_.add((camera ? "make frame " : "make corrected ") + std::to_string(width) + "x" +
                 std::to_string(height));
        if (camera ? log_.refuseCameraFrame : log_.refuseCorrectedFrame) return {};
        auto memory = std::make_shared<std::vector<std::uint8_t>>(bytesPerRow * height);
        std::vector<PixelBuffer::Plane> planes{{memory->data(), width, height, bytesPerRow}};
        return {std::make_shared<PixelBuffer>(PixelFormat::bgra32, width, height, std::move(planes), memory),
                std::make_shared<FakeTexture>()};
    }

    bool correct(FrameTexture&, FrameTexture&, const CorrectionParameters& parameters,
                 const GroupExtent& groupCount) override {
        log_.lastFlipHorizontal = parameters.shouldFlipHorizontal;
        log_.lastFlipVertical = parameters.shouldFlipVertical;
        log_.add("correct " + std::to_string(groupCount.width) + "x" + std::to_string(groupCount.height));
        return !log_.hangs && groupCount.width != log_.hangsOnColumns;
    }

    void display(FrameTexture* corrected, ViewportSize, const FloatMatrix&) override {
        log_.add(corrected != nullptr ? "display" : "display nothing");
    }

private:
    BackendLog& log_;
};

class FakeSurface : public FrameSurface {
public:
    explicit FakeSurface(BackendLog& log) : log_(log) {}

    void setDrawable(bool drawable) override { log_.toldDrawable = drawable; }
    bool makeCurrent() override { return !log_.lost; }
    bool beginDisplay(ViewportSize) override { return log_.drawable; }
    void present() override { log_.add("present"); }
    void flush() override {}

private:
    BackendLog& log_;
};

inline RenderBackend makeFakeBackend(BackendLog& log, Renderer renderer = Renderer::cpu) {
    RenderBackend backend;
    backend.renderer = renderer;
    backend.surfaceType = renderer == Renderer::gl ? QSurface::OpenGLSurface : QSurface::RasterSurface;
    backend.surface = std::make_unique<FakeSurface>(log);
    backend.passes = std::make_unique<FakePasses>(log);
    return backend;
}

inline KTMTKView::BackendFactory fakeBackend(BackendLog& log, Renderer renderer = Renderer::cpu) {
    return [&log, renderer](QWindow&, SerialQueue&) { return makeFakeBackend(log, renderer); };
}

} // namespace tavelo::testing
