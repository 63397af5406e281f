// SPDX-License-Identifier: MIT
// Capture from cameras: devices, inputs, outputs and the session that connects them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_buffer.h"
#include "platform/camera_frame.h"
#include "platform/device_holders.h"
#include "platform/error.h"
#include "platform/media_time.h"
#include "platform/pixel_buffer.h"
#include "platform/serial_queue.h"
#include "platform/thread_priority.h"

namespace tavelo {

enum class MediaType : std::uint8_t { video, audio };

/// A captured picture or sound and the time when it was taken.  Cameras deliver pictures only.
struct SampleBuffer {
    std::shared_ptr<PixelBuffer> imageBuffer; ///< the whole picture
    MediaTime presentationTimeStamp;
    std::shared_ptr<const AudioBuffer> audioBuffer{};

    // Instead of the whole picture, if the receiver does not want it (PictureDemand).

    std::shared_ptr<const CameraFrame> cameraFrame{};
    /// The picture that is shown: at a half or a quarter of its size, if that is large enough.
    std::shared_ptr<PixelBuffer> reducedBuffer{};
    /// How a movie's picture of cameraFrame is mirrored.
    Mirroring mirroring{};

    /// Nothing if the sample is empty.
    std::optional<MediaType> mediaType() const {
        if (imageBuffer || cameraFrame) return MediaType::video;
        if (audioBuffer) return MediaType::audio;
        return std::nullopt;
    }
};

/// The stream format that the user asks for; absent values are chosen automatically.
struct CaptureFormatRequest {
    struct Size {
        std::uint32_t width = 0;
        std::uint32_t height = 0;

        friend bool operator==(const Size&, const Size&) = default;
    };
    std::optional<Size> size;
    std::optional<double> framesPerSecond;
    std::optional<std::string> fourcc; ///< "YUYV", "MJPG", ...
};

/// A size in a pixel format that a camera offers.
struct CaptureFormat {
    std::string fourcc; ///< "YUYV", "MJPG", ...
    CaptureFormatRequest::Size size;
    double framesPerSecond = 0; ///< the highest rate; 0 if the camera does not say

    friend bool operator==(const CaptureFormat&, const CaptureFormat&) = default;
};

/// Receives the frames of a running input.  Called on the input's own thread.
class FrameSink {
public:
    virtual ~FrameSink() = default;

    /// Pictures are BGRA.  The input reuses their memory once all references to it are dropped.
    virtual void consume(const SampleBuffer& sample) = 0;

    /// What of the next frame is wanted.  An input that cannot make less makes the whole picture.
    virtual PictureDemand demand() const { return {}; }
};

class CaptureDevice;

/// A device opened for capture.  Not thread-safe; the session serialises start() and stop().
class CaptureDeviceInput {
public:
    virtual ~CaptureDeviceInput() = default;

    virtual std::shared_ptr<CaptureDevice> device() const = 0;

    /// Starts streaming into `sink`; returns before the first frame.  A device that cannot stream, or no
    /// longer can, delivers nothing: the device list reports its removal, and a stalled stream restarts by
    /// itself.
    virtual void start(FrameSink& sink) = 0;

    /// Stops the stream.  When it returns, no call of the sink is in progress and none follows.  May be
    /// called when stopped.
    virtual void stop() = 0;

    /// Why a started input delivers no pictures, if known; no code while pictures come or nothing is wrong.
    /// For `busy` it names the programs that may hold the camera.  Any thread.
    virtual Error trouble() const { return {}; }
};

/// A camera as the operating system lists it.  Immutable, thread-safe; one object per device while it is
/// plugged in.
class CaptureDevice {
public:
    virtual ~CaptureDevice() = default;

    /// "0x", eight hexadecimal digits of the USB location, four of the vendor, four of the product, lower
    /// case.
    virtual const std::string& uniqueID() const = 0;
    virtual const std::string& localizedName() const = 0;
    virtual bool hasMediaType(MediaType type) const = 0;

    /// The system's name for it, such as "/dev/video0"; empty if it has none.
    virtual std::string node() const { return {}; }
    /// Where it is plugged in, such as "1-4.2"; empty if that is unknown.
    virtual std::string place() const { return {}; }
    /// In the camera's order.  Asks the camera; empty if it does not answer or cannot be opened.
    virtual std::vector<CaptureFormat> formats() const { return {}; }
    /// The other programs that have it open.  Takes milliseconds.
    virtual DeviceHolders holders() const { return {}; }

    /// Null with `error` set if the device cannot be opened.
    virtual std::unique_ptr<CaptureDeviceInput> makeInput(Error& error) = 0;
};

class CaptureVideoDataOutput;

/// Connects an input to an output.
struct CaptureConnection {
    const CaptureDeviceInput* input = nullptr;
    const CaptureVideoDataOutput* output = nullptr;
};

/// Receives the samples of an output, on the queue set together with it.
class SampleBufferDelegate {
public:
    virtual ~SampleBufferDelegate() = default;

    virtual void captureOutputDidOutputSampleBufferFromConnection(CaptureVideoDataOutput& output,
                                                                  const SampleBuffer& sample,
                                                                  const CaptureConnection& connection) = 0;

    /// A sample was dropped because the delegate was still busy with the one before.
    virtual void captureOutputDidDropSampleBufferFromConnection(CaptureVideoDataOutput& output,
                                                                const SampleBuffer& sample,
                                                                const CaptureConnection& connection) = 0;
};

/// An output of a session: pixel format and delegate.  Set it up before adding it to a session; do not change
/// it afterwards, except for the demand.
class CaptureVideoDataOutput {
public:
    struct VideoSettings {
        std::optional<PixelFormat> pixelFormat;
    };

    const VideoSettings& videoSettings() const { return videoSettings_; }
    void setVideoSettings(VideoSettings settings) { videoSettings_ = settings; }

    /// Which pictures the delegate wants of the next frames; may change at any time, on any thread.
    PictureDemand demand() const {
        const std::lock_guard lock(demandMutex_);
        return demand_;
    }
    void setDemand(const PictureDemand& demand) {
        const std::lock_guard lock(demandMutex_);
        demand_ = demand;
    }

    /// Both must outlive the session's last frame.
    void setSampleBufferDelegate(SampleBufferDelegate* delegate, SerialQueue* queue) {
        delegate_ = delegate;
        queue_ = queue;
    }
    SampleBufferDelegate* sampleBufferDelegate() const { return delegate_; }
    SerialQueue* sampleBufferCallbackQueue() const { return queue_; }

private:
    VideoSettings videoSettings_;
    mutable std::mutex demandMutex_; // guards the demand
    PictureDemand demand_;
    SampleBufferDelegate* delegate_ = nullptr;
    SerialQueue* queue_ = nullptr;
};

/// Connects one input to one output and runs them.
///
///     idle --startRunning, with an input--> running --stopRunning, removeInput--> idle
///
/// Thread-safe: calls are serialised; startRunning and stopRunning block until the change is made.  A frame
/// that arrives while the delegate is busy is dropped.  No delegate call begins after stopRunning has
/// returned.
class CaptureSession {
public:
    virtual ~CaptureSession() = default;

    virtual bool canAddOutput(const CaptureVideoDataOutput& output) const = 0;
    /// The output must outlive the session, or be removed with it.
    virtual void addOutput(CaptureVideoDataOutput& output) = 0;

    virtual bool canAddInput(const CaptureDeviceInput& input) const = 0;
    virtual void addInput(CaptureDeviceInput& input) = 0;
    /// Stops the session first if it is running.
    virtual void removeInput(CaptureDeviceInput& input) = 0;

    virtual void startRunning() = 0;
    virtual void stopRunning() = 0;
    virtual bool isRunning() const = 0;
};

/// Notified on the main thread when cameras come and go.
class CaptureDeviceObserver {
public:
    virtual ~CaptureDeviceObserver() = default;

    virtual void captureDeviceWasConnected(const std::shared_ptr<CaptureDevice>& device) = 0;
    virtual void captureDeviceWasDisconnected(const std::shared_ptr<CaptureDevice>& device) = 0;
};

/// The capture half of a backend.  Main thread only.
class CapturePlatform {
public:
    virtual ~CapturePlatform() = default;

    /// In the platform's order, which is stable while devices stay.  The same device always gives the same
    /// object.
    virtual std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(MediaType type) = 0;

    virtual std::unique_ptr<CaptureSession> makeSession() = 0;

    /// For threads that process pictures; null if there is no service to ask.
    virtual std::shared_ptr<ThreadPriority> threadPriority() { return nullptr; }

    /// Observers are notified of every later change until they are removed.
    virtual void addObserver(CaptureDeviceObserver* observer) = 0;
    /// Does nothing for one that was not added.
    virtual void removeObserver(CaptureDeviceObserver* observer) = 0;
};

} // namespace tavelo
