// SPDX-License-Identifier: MIT
#include "platform/linux/usb/stream/usb_stream.h"

#include <algorithm>

#include "platform/common/frame_bounds.h"

namespace tavelo {
namespace {

constexpr std::uint32_t kilobyte = 1024;

// Isochronous transfers complete every 4 ms on a high-speed bus; the ring lasts 64 ms, which is how late
// the threads that handle events may be before data is lost.
constexpr std::uint32_t isochronousPackets = 32;
constexpr std::uint32_t fewestIsochronousPackets = 8;
constexpr std::uint32_t mostIsochronousBytes = 256 * kilobyte;
constexpr std::size_t isochronousTransfers = 16;

constexpr std::uint32_t mostBulkBytes = 64 * kilobyte;
constexpr std::size_t bulkRing = std::size_t{512} * kilobyte;
constexpr std::size_t fewestBulkTransfers = 4;
constexpr std::size_t mostBulkTransfers = 32;

// What the camera reports is limited to what makes sense.
std::size_t bufferSize(const UvcFrameOffer& offer, std::uint32_t told) {
    const std::size_t whole = wholeFrameBytes(offer.format, offer.size);
    const std::size_t pixels = std::size_t{offer.size.width} * offer.size.height;
    const std::size_t least = whole > 0 ? whole : pixels / 2 + std::size_t{64} * kilobyte;
    const std::size_t most = mostFrameBytes(offer.format, offer.size);
    return std::clamp<std::size_t>(std::max(told, offer.maxFrameSize), least, most);
}

UsbTransferShape shapeFor(const UvcStreamSetting& setting, std::uint32_t maxPayload) {
    if (setting.kind == UvcEndpointKind::isochronous) {
        const std::uint32_t packets = std::clamp(mostIsochronousBytes / setting.packetSize,
                                                 fewestIsochronousPackets, isochronousPackets);
        return {setting.endpoint, true, setting.packetSize, packets};
    }
    const std::uint32_t wanted = maxPayload > 0 ? std::min(maxPayload, mostBulkBytes) : mostBulkBytes;
    const std::uint32_t packets =
        std::min((wanted + setting.packetSize - 1) / setting.packetSize, mostBulkBytes / setting.packetSize);
    return {setting.endpoint, false, setting.packetSize * packets, 1};
}

std::size_t transfersFor(const UsbTransferShape& shape) {
    if (shape.isochronous) return isochronousTransfers;
    return std::clamp(bulkRing / shape.length(), fewestBulkTransfers, mostBulkTransfers);
}

} // namespace

UsbStream::~UsbStream() {
    switchOff();
}

std::optional<StreamOver> UsbStream::start(const UvcStreamingInterface& interface,
                                           const CaptureFormatRequest& request) {
    // A program that crashed may have left it on.  Some cameras that have no other setting refuse this one.
    if (camera_.setAlternate(number_, 0) == ErrorCode::gone) return StreamOver{StreamEnd::gone, {}};
    FormatSearch search(interface.offers, request);
    for (auto proposal = search.best(); proposal; proposal = search.best()) {
        if (mailbox_.isStopped()) return StreamOver{};
        switch (attempt(interface, search, *proposal)) {
            case Outcome::streams:
                return std::nullopt;
            case Outcome::otherFormat:
                break;
            case Outcome::tooHeavy:
                noRoom_ = true;
                search.tooHeavy(*proposal);
                break;
            case Outcome::failed:
                return over();
        }
    }
    if (interface.offers.empty())
        return StreamOver{StreamEnd::failed, "the camera offers no format that we know"};
    return over();
}

StreamOver UsbStream::over() const {
    if (status_ == ErrorCode::timeout) return {StreamEnd::failed, "the camera does not answer"};
    if (status_ == ErrorCode::refused) return {StreamEnd::failed, "the camera refuses every format"};
    const StreamEnd end = streamEndOf(status_);
    if (end == StreamEnd::failed && noRoom_) return {StreamEnd::busFull, {}};
    return {end, "the connection to the camera failed"};
}

UsbStream::Outcome UsbStream::attempt(const UvcStreamingInterface& interface, FormatSearch& search,
                                      const FormatSearch::Proposal& proposal) {
    UvcProbe probe(interface.version);
    const UvcFrameOffer* offer = nullptr;
    status_ = agree(interface, proposal, probe, offer);
    if (status_ == ErrorCode::refused) {
        search.refused(proposal);
        return Outcome::otherFormat;
    }
    if (status_ != ErrorCode::none) return Outcome::failed;
    if (offer == proposal.offer && !search.accepts(proposal, probe.frameInterval()))
        return Outcome::otherFormat;
    const UvcStreamSetting* setting = settingFor(interface, probe.maxPayload());
    status_ = ErrorCode::failed;
    if (setting == nullptr) return Outcome::tooHeavy;
    status_ = commitStream(camera_, number_, probe);
    if (status_ == ErrorCode::refused) {
        search.refused(proposal);
        return Outcome::otherFormat;
    }
    return status_ == ErrorCode::none ? switchOn(*setting, *offer, probe) : Outcome::failed;
}

// Some cameras answer with another of their formats than the one asked for, some with numbers that they do
// not have; those mean the format asked for.
ErrorCode UsbStream::agree(const UvcStreamingInterface& interface, const FormatSearch::Proposal& proposal,
                           UvcProbe& probe, const UvcFrameOffer*& offer) {
    probe.setFrame(proposal.offer->formatIndex, proposal.offer->frameIndex);
    probe.setFrameInterval(proposal.interval);
    const ErrorCode status = probeStream(camera_, number_, probe);
    offer = proposal.offer;
    const auto isAnswered = [&](const UvcFrameOffer& each) {
        return each.formatIndex == probe.formatIndex() && each.frameIndex == probe.frameIndex();
    };
    if (isAnswered(*offer)) return status;
    const auto answered = std::ranges::find_if(interface.offers, isAnswered);
    if (answered != interface.offers.end())
        offer = &*answered;
    else
        probe.setFrame(offer->formatIndex, offer->frameIndex);
    return status;
}

// The bus allocates its bandwidth when the setting is chosen, or with the first transfer; the system's
// error does not tell a lack of it from other trouble.
UsbStream::Outcome UsbStream::switchOn(const UvcStreamSetting& setting, const UvcFrameOffer& offer,
                                       const UvcProbe& probe) {
    format_ = {offer.format, offer.size, 0, offer.matrix, offer.format == fourcc::grey};
    const bool isochronous = setting.kind == UvcEndpointKind::isochronous;
    const UsbTransferShape shape = shapeFor(setting, probe.maxPayload());
    mailbox_.open(bufferSize(offer, probe.maxFrameSize()));
    assembler_ = std::make_unique<FrameAssembler>(mailbox_, wholeFrameBytes(offer.format, offer.size));
    joiner_ = std::make_unique<PayloadJoiner>(*assembler_, shape, probe.maxPayload());
    ring_ = std::make_unique<TransferRing>(
        camera_,
        [this](std::span<const UsbPacket> packets) { joiner_->take(packets, FrameMailbox::Clock::now()); },
        [this](ErrorCode reason) { mailbox_.end(reason); }, priority_);
    setting_ = setting;
    if (setting.alternate != 0) status_ = camera_.setAlternate(number_, setting.alternate);
    if (status_ == ErrorCode::none) status_ = ring_->start(shape, transfersFor(shape));
    if (status_ == ErrorCode::none) return Outcome::streams;
    switchOff();
    if (status_ == ErrorCode::gone || !isochronous) return Outcome::failed;
    status_ = ErrorCode::failed;
    return Outcome::tooHeavy;
}

// A bulk endpoint has no setting that stops its stream; clearing its halt does.
void UsbStream::switchOff() {
    if (!setting_) return;
    ring_.reset();
    if (setting_->kind == UvcEndpointKind::bulk) camera_.clearHalt(setting_->endpoint);
    if (setting_->alternate != 0) camera_.setAlternate(number_, 0);
    setting_.reset();
}

} // namespace tavelo
