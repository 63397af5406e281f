// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/library_picture_share.h"

#include <atomic>
#include <optional>
#include <utility>

#include "platform/linux/pipewire/camera_rate.h"
#include "platform/linux/pipewire/share_stream.h"

namespace tavelo {
namespace {

class PipewirePictureShare final : public PictureShare, public PipewireObserver {
public:
    PipewirePictureShare(std::shared_ptr<PipewireSession> session, const std::string& cameraName)
        : session_(std::move(session)),
          description_(descriptionOf(cameraName)) {
        const PipewireLock lock = session_->lock();
        session_->addObserver(this);
    }
    ~PipewirePictureShare() override {
        const PipewireLock lock = session_->lock();
        session_->removeObserver(this);
        stream_.reset();
    }

    void setCameraName(const std::string& name) override {
        const PipewireLock lock = session_->lock();
        description_ = descriptionOf(name);
        if (stream_) stream_->setDescription(description_);
        cameraIsNew_ = true;
    }

    void noteFrame(std::size_t width, std::size_t height, const MediaTime& time) override {
        const FrameSize size{std::uint32_t(width), std::uint32_t(height)};
        if (cameraIsNew_.exchange(false) || size != measured_) {
            measured_ = size;
            rate_ = CameraRate();
            isOffered_ = false;
            const PipewireLock lock = session_->lock();
            frameSize_ = size;
            look();
        }
        if (makeAgain_.exchange(false)) { // after some frames, for it may fail again
            rate_ = CameraRate();
            isOffered_ = false;
        }
        if (isOffered_) return;
        rate_.add(time);
        if (const auto rate = rate_.rate()) offer({{size.width & ~1U, size.height & ~1U}, *rate});
    }

    SharedPicture wanted() const override { return wanted_; }

    bool hasRoom() override {
        const PipewireLock lock = session_->lock();
        return stream_ && stream_->hasRoom();
    }

    void share(const SampleBuffer& sample) override {
        const PipewireLock lock = session_->lock();
        if (stream_) stream_->share(sample);
    }

    Error trouble() const override {
        const PipewireLock lock = session_->lock();
        if (session_->state() == PipewireSession::State::away)
            return {ErrorCode::gone, "PipeWire does not run"};
        return {};
    }

    void pipewireCame() noexcept override { makeAgain_ = true; }
    void pipewireWent() noexcept override {
        stream_.reset();
        look();
    }

private:
    static std::string descriptionOf(const std::string& cameraName) { return "Tavelo: " + cameraName; }

    // The capture queue
    void offer(const ShareOffer& offer) {
        const PipewireLock lock = session_->lock();
        isOffered_ = true;
        if (offer.size.width == 0 || offer.size.height == 0) return;
        if (mustBeMadeAgain()) stream_.reset();
        pw_core* const core = session_->core();
        if (stream_)
            stream_->setOffer(offer);
        else if (core != nullptr)
            stream_ = ShareStream::make(*core, description_, offer, [this] { look(); });
        look();
    }

    // With the session's lock held
    void look() {
        const auto layout = stream_ ? stream_->wanted() : std::nullopt;
        const bool takesFrames = layout && layout->format != SharedFormat::bgrx && layout->size == frameSize_;
        wanted_ = takesFrames ? SharedPicture::cameraFrame
                  : layout    ? SharedPicture::whole
                              : SharedPicture::none;
        if (mustBeMadeAgain()) makeAgain_ = true;
    }
    bool mustBeMadeAgain() const { return stream_ && (stream_->hasFailed() || stream_->isOutdated()); }

    const std::shared_ptr<PipewireSession> session_;
    std::atomic<SharedPicture> wanted_ = SharedPicture::none;
    std::atomic<bool> cameraIsNew_ = false;
    std::atomic<bool> makeAgain_ = false;

    // With the session's lock held
    std::string description_;
    FrameSize frameSize_;
    std::unique_ptr<ShareStream> stream_; // null while there is no daemon, and before the first offer

    // The capture queue
    FrameSize measured_;
    CameraRate rate_;
    bool isOffered_ = false;
};

} // namespace

std::shared_ptr<PictureShare> makePipewirePictureShare(std::shared_ptr<PipewireSession> session,
                                                       const std::string& cameraName) {
    return std::make_shared<PipewirePictureShare>(std::move(session), cameraName);
}

} // namespace tavelo
