// SPDX-License-Identifier: MIT
// A frame as a PNG file.
#pragma once

#include <QByteArray>
#include <QImage>
#include <functional>
#include <optional>
#include <string>

#include "platform/error.h"
#include "platform/pixel_buffer.h"

namespace tavelo {

/// Told how a snapshot ended.
using SnapshotHandler = std::function<void(bool success, const Error& error)>;

/// The way from a frame to the bytes of a PNG file.  A step that cannot be done gives an empty result.
/// Reentrant.  Virtual so that a test can make each step fail.
class SnapshotSteps {
public:
    virtual ~SnapshotSteps() = default;

    /// The frame's own pixels, not copied: the frame must stay locked while the picture is used.  Takes BGRA;
    /// alpha is no part of it.
    virtual QImage image(const PixelBuffer& frame) const;
    /// A copy that needs the frame no more.
    virtual QImage representation(const QImage& image) const;
    /// Opaque, red, green and blue, 8 bits each.
    virtual QImage picture(const QImage& representation) const;
    /// The picture's rows, uncompressed.
    virtual QByteArray pixels(const QImage& picture) const;
    /// A picture over those rows.
    virtual QImage bitmap(const QByteArray& pixels, const QImage& picture) const;
    /// At a level that costs the preview a few frames, not a second.
    virtual QByteArray png(const QImage& bitmap) const;
};

/// Writes the frame to a file, which appears whole or not at all; one that is there already is replaced.
/// Blocks for as long as it takes.
/// @return why it failed; nothing where it did not
std::optional<Error> writeSnapshot(const PixelBuffer& frame, const std::string& filePath,
                                   const SnapshotSteps& steps = SnapshotSteps());

} // namespace tavelo
