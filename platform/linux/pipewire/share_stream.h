// SPDX-License-Identifier: MIT
// A camera of ours among PipeWire's nodes.
#pragma once

#include <pipewire/pipewire.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/capture.h"
#include "platform/linux/pictures/shared_picture.h"
#include "platform/linux/pipewire/pipewire_handles.h"
#include "platform/linux/pipewire/share_formats.h"

namespace tavelo {

/// One node, from its making to its end.
///
/// It drives the programs that look: each picture is a cycle of theirs.  A program that fixed the size of the
/// pictures could not follow another one, so the format stays as long as somebody has it, and a new offer
/// counts once nobody does.
///
/// A name given later reaches only those who ask for the node's own properties: what the daemon lists, which
/// browsers show, is fixed when the node is made.
///
/// Thread-safe under the session's lock, which callbacks hold.
class ShareStream {
public:
    using Changed = std::function<void()>;

    /// @param description the camera's name for users
    /// @param changed called when programs begin or cease to look, or chose a format
    /// @return null if the daemon refuses it
    static std::unique_ptr<ShareStream> make(pw_core& core, const std::string& description,
                                             const ShareOffer& offer, Changed changed);
    ShareStream(const ShareStream&) = delete;
    ShareStream& operator=(const ShareStream&) = delete;

    void setDescription(const std::string& description);
    void setOffer(const ShareOffer& offer);

    /// Of the pictures that programs look at; nothing while none does.
    std::optional<SharedLayout> wanted() const;
    /// The daemon has given it up; it must be made again.
    bool hasFailed() const { return failed_; }
    /// It is listed under an old name, and nobody would lose a picture if it were made again.
    bool isOutdated() const { return !layout_ && description_ != listed_; }

    bool hasRoom();
    void share(const SampleBuffer& sample);

private:
    explicit ShareStream(Changed changed) : changed_(std::move(changed)) {}
    bool connect(pw_core& core, const std::string& description, const ShareOffer& offer);

    void stateDidChange(pw_stream_state state) noexcept;
    void formatDidChange(const spa_pod* format) noexcept;
    void bufferDidGo(const pw_buffer* buffer) noexcept;

    static const pw_stream_events events;

    const Changed changed_;
    PipewirePtr<pw_stream> stream_;
    PipewireListener listener_; // ends before the stream
    std::string listed_;        // the name that it was made with
    std::string description_;
    ShareOffer offer_;
    bool offerWaits_ = false;
    bool streaming_ = false;
    bool failed_ = false;
    std::optional<SharedLayout> layout_;
    pw_buffer* room_ = nullptr; // taken from the stream for the next picture
    SharedPictureDrawer drawer_;
    std::uint64_t sequence_ = 0;
};

} // namespace tavelo
