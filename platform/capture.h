// SPDX-License-Identifier: MIT
// Cameras as sources of frames: devices, inputs, outputs, the session that joins them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_buffer.h"
#include "platform/error.h"
#include "platform/media_time.h"
#include "platform/pixel_buffer.h"
#include "platform/serial_queue.h"
#include "platform/thread_priority.h"

namespace tavelo {

enum class MediaType : std::uint8_t { video, audio };

/// One captured picture or piece of sound, and when it was taken.  A camera's samples are pictures.
struct SampleBuffer {
    std::shared_ptr<PixelBuffer> imageBuffer;
    MediaTime presentationTimeStamp;
    std::shared_ptr<const AudioBuffer> audioBuffer{};

    /// Nothing for a sample that is neither.
    std::optional<MediaType> mediaType() const {
        if (imageBuffer) return MediaType::video;
        if (audioBuffer) return MediaType::audio;
        return std::nullopt;
    }
};

/// What a person may demand of the format that a camera streams in; what is absent is chosen.
struct CaptureFormatRequest {
    struct Size {
        std::uint32_t width = 0;
        std::uint32_t height = 0;
    };
    std::optional<Size> size;
    std::optional<double> framesPerSecond;
    std::optional<std::string> fourcc; ///< "YUYV", "MJPG", ...
};

/// Takes the frames of a running input.  Called on the input's own thread.
class FrameSink {
public:
    virtual ~FrameSink() = default;

    /// The picture is BGRA.  The input uses its memory again once every reference to it is dropped.
    virtual void consume(const SampleBuffer& sample) = 0;
};

class CaptureDevice;

/// A device opened for capture.  Thread-bound to whoever holds it; start and stop are ordered by the session.
class CaptureDeviceInput {
public:
    virtual ~CaptureDeviceInput() = default;

    virtual std::shared_ptr<CaptureDevice> device() const = 0;

    /// Begins to stream into `sink`; returns before the first frame.  A device that cannot stream, or no
    /// longer can, delivers nothing: its removal is told by the device list, and a stream that falls silent
    /// restarts itself.
    virtual void start(FrameSink& sink) = 0;

    /// Ends the stream.  On return no call of the sink is under way and none follows.  May be called when
    /// stopped.
    virtual void stop() = 0;

    /// Why a started input brings no picture, as far as it knows; no code while pictures come or nothing is
    /// wrong.  `busy` comes with the programs that may hold the camera.  Any thread.
    virtual Error trouble() const { return {}; }
};

/// A camera as the operating system lists it.  Immutable, thread-safe; one object a device while it is
/// plugged in.
class CaptureDevice {
public:
    virtual ~CaptureDevice() = default;

    /// "0x", eight hexadecimal digits of the USB location, four of the vendor, four of the product, lower
    /// case.
    virtual const std::string& uniqueID() const = 0;
    virtual const std::string& localizedName() const = 0;
    virtual bool hasMediaType(MediaType type) const = 0;

    /// Null with the reason where the device cannot be opened.
    virtual std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) = 0;
};

class CaptureVideoDataOutput;

/// The way from an input to an output.
struct CaptureConnection {
    const CaptureDeviceInput* input = nullptr;
    const CaptureVideoDataOutput* output = nullptr;
};

/// Observes the samples of an output.  Called on the queue given with it.
class SampleBufferDelegate {
public:
    virtual ~SampleBufferDelegate() = default;

    virtual void captureOutputDidOutputSampleBufferFromConnection(CaptureVideoDataOutput& output,
                                                                  const SampleBuffer& sample,
                                                                  const CaptureConnection& connection) = 0;

    /// A sample came while the delegate was still busy with the one before, and was dropped.
    virtual void captureOutputDidDropSampleBufferFromConnection(CaptureVideoDataOutput& output,
                                                                const SampleBuffer& sample,
                                                                const CaptureConnection& connection) = 0;
};

/// An output of a session: pixel format and observer.  Set up before it is added to a session, constant
/// after.
class CaptureVideoDataOutput {
public:
    struct VideoSettings {
        std::optional<PixelFormat> pixelFormat;
    };

    const VideoSettings& videoSettings() const { return videoSettings_; }
    void setVideoSettings(VideoSettings settings) { videoSettings_ = settings; }

    /// Both must outlive the session's last frame.
    void setSampleBufferDelegate(SampleBufferDelegate* delegate, SerialQueue* queue) {
        delegate_ = delegate;
        queue_ = queue;
    }
    SampleBufferDelegate* sampleBufferDelegate() const { return delegate_; }
    SerialQueue* sampleBufferCallbackQueue() const { return queue_; }

private:
    VideoSettings videoSettings_;
    SampleBufferDelegate* delegate_ = nullptr;
    SerialQueue* queue_ = nullptr;
};

/// Joins one input with one output and runs them.
///
///     idle --startRunning, with an input--> running --stopRunning, removeInput--> idle
///
/// Thread-safe: calls are serialised; startRunning and stopRunning block until the change is made.  A frame
/// that comes while the delegate is busy with another is dropped (late frames are discarded).  After
/// stopRunning has returned no further delegate call begins.
class CaptureSession {
public:
    virtual ~CaptureSession() = default;

    virtual bool canAddOutput(const CaptureVideoDataOutput& output) const = 0;
    /// The output must outlive the session, or be removed with it.
    virtual void addOutput(CaptureVideoDataOutput& output) = 0;

    virtual bool canAddInput(const CaptureDeviceInput& input) const = 0;
    virtual void addInput(CaptureDeviceInput& input) = 0;
    /// Stops first where the session runs.
    virtual void removeInput(CaptureDeviceInput& input) = 0;

    virtual void startRunning() = 0;
    virtual void stopRunning() = 0;
    virtual bool isRunning() const = 0;
};

/// Told of cameras that come and go, on the main thread.
class CaptureDeviceObserver {
public:
    virtual ~CaptureDeviceObserver() = default;

    virtual void captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) = 0;
    virtual void captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) = 0;
};

/// The capture half of a backend.  Thread-bound to the main thread.
class CapturePlatform {
public:
    virtual ~CapturePlatform() = default;

    /// In the platform's order, stable while devices stay.  The same device gives the same object each time.
    virtual std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType type) = 0;

    virtual std::unique_ptr<CaptureSession> makeSession() = 0;

    /// For the threads that take pictures further; null if there is nobody to ask.
    virtual std::shared_ptr<ThreadPriority> threadPriority() { return nullptr; }

    /// Each observer hears of every later change until it is removed.
    virtual void addObserver(CaptureDeviceObserver* observer) = 0;
    virtual void removeObserver(CaptureDeviceObserver* observer) = 0;
};

} // namespace tavelo
