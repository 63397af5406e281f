// SPDX-License-Identifier: MIT
#include "platform/linux/pipewire/pipewire_camera.h"

#include <algorithm>
#include <utility>

namespace tavelo {
namespace {

// A camera's list may be long; the formats behind these are found by the last entry, which takes any.
constexpr std::size_t mostProposals = 32;

} // namespace

PipewireCamera::PipewireCamera(std::shared_ptr<PipewireSession> session, const std::string& node)
    : session_(std::move(session)),
      node_(node) {
    const auto lock = session_->lock();
    session_->addObserver(this);
    update();
}

PipewireCamera::~PipewireCamera() {
    stop();
    const auto lock = session_->lock();
    session_->removeObserver(this);
}

SharedCamera::State PipewireCamera::look() {
    wake_.clear();
    return state_;
}

std::string PipewireCamera::why() const {
    const auto lock = session_->lock();
    return ended_.value_or("");
}

void PipewireCamera::start(const CaptureFormatRequest& request) {
    const auto lock = session_->lock();
    started_ = true;
    ended_.reset();
    if (nodes_.empty() || session_->core() == nullptr)
        ended_ = "the camera is gone";
    else
        formats_ = std::make_unique<NodeFormats>(
            *session_, nodes_.front().id, request,
            [this, request](const std::vector<OfferedMode>& modes) { connect(request, modes); });
    update();
}

void PipewireCamera::connect(const CaptureFormatRequest& request, const std::vector<OfferedMode>& modes) {
    if (ended_ || nodes_.empty()) return;
    VideoParams params;
    std::vector<FormatChoice> ranked = rankFormats(modes, request);
    ranked.resize(std::min(ranked.size(), mostProposals));
    for (const FormatChoice& choice : ranked)
        params.addFormat(choice);
    params.addAnyFormat(); // what the camera runs at for another program
    stream_ = std::make_unique<PipewirePictureStream>(
        *session_, nodes_.front().serial, params,
        PipewirePictureStream::Events{.frameCame = [this] { wake_.set(); },
                                      .stateChanged = [this] { update(); }});
    update();
}

void PipewireCamera::stop() {
    const auto lock = session_->lock();
    started_ = false;
    formats_.reset();
    stream_.reset();
    ended_.reset();
    link_ = PW_ID_ANY;
    update();
}

bool PipewireCamera::take(Frame& frame) {
    return state_ == State::streaming && stream_->take(frame);
}

void PipewireCamera::giveBack() {
    stream_->giveBack();
}

bool PipewireCamera::isOurs(const PipewireObject& object) const {
    return object.kind == PipewireObject::Kind::node &&
           object.property(PW_KEY_MEDIA_CLASS) == "Video/Source" &&
           (object.property(PW_KEY_OBJECT_PATH) == "v4l2:" + node_ ||
            object.property("api.v4l2.path") == node_);
}

void PipewireCamera::pipewireObjectCame(const PipewireObject& object) noexcept {
    if (object.kind == PipewireObject::Kind::link) return checkLink(object);
    if (!isOurs(object)) return;
    nodes_.push_back(object);
    if (nodes_.size() == 1) ++offers_;
    update();
}

// The session manager may find another camera fitting.
void PipewireCamera::checkLink(const PipewireObject& link) {
    if (!stream_ || nodes_.empty() ||
        link.property(PW_KEY_LINK_INPUT_NODE) != std::to_string(stream_->node()))
        return;
    if (link.property(PW_KEY_LINK_OUTPUT_NODE) != std::to_string(nodes_.front().id))
        endStream("the stream was linked with another camera");
    else
        link_ = link.id;
}

void PipewireCamera::pipewireObjectWent(const PipewireObject& object) noexcept {
    if (object.id == link_) endStream("the stream was unlinked from the camera");
    const auto gone = std::ranges::find(nodes_, object.id, &PipewireObject::id);
    if (gone == nodes_.end()) return;
    const bool wasOffered = gone == nodes_.begin();
    nodes_.erase(gone);
    if (!wasOffered) return;
    if (!nodes_.empty()) ++offers_;
    endStream("the camera is gone");
    update();
}

void PipewireCamera::pipewireCame() noexcept {
    update();
}

void PipewireCamera::pipewireWent() noexcept {
    nodes_.clear();
    endStream("the daemon is gone");
    formats_.reset();
    if (stream_) stream_->release();
    update();
}

void PipewireCamera::endStream(const char* why) {
    if (!started_ || ended_) return;
    ended_ = why;
    update();
}

void PipewireCamera::update() {
    using Stream = PipewirePictureStream::State;
    if (started_ && !ended_ && stream_ && stream_->state() == Stream::ended) ended_ = stream_->why();
    State state = State::absent;
    if (started_) {
        const bool streams = stream_ && stream_->state() == Stream::streaming;
        state = ended_ ? State::ended : streams ? State::streaming : State::starting;
    } else if (session_->isRefused()) {
        state = State::refused;
    } else if (session_->state() == PipewireSession::State::listing) {
        state = State::unknown;
    } else if (!nodes_.empty()) {
        state = State::offered;
    }
    const std::uint64_t offer = nodes_.empty() ? 0 : offers_;
    const bool changed = state != state_ || offer != offer_;
    state_ = state;
    offer_ = offer;
    if (changed) wake_.set();
}

} // namespace tavelo
