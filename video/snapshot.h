// SPDX-License-Identifier: MIT
// Writes a frame as a PNG file.
#pragma once

#include <QByteArray>
#include <QImage>
#include <functional>
#include <optional>
#include <string>

#include "platform/error.h"
#include "platform/pixel_buffer.h"

namespace tavelo {

/// Called when a snapshot has ended.
using SnapshotHandler = std::function<void(bool success, const Error& error)>;

/// The steps from a frame to the bytes of a PNG file.  A step that fails returns an empty result.  Reentrant.
/// Virtual so that tests can make each step fail.
class SnapshotSteps {
public:
    virtual ~SnapshotSteps() = default;

    /// The frame's own pixels, not copied: the frame must stay locked while the image is used.  Expects BGRA;
    /// alpha is ignored.
    virtual QImage image(const PixelBuffer& frame) const;
    /// A copy that does not need the frame.
    virtual QImage representation(const QImage& image) const;
    /// Opaque, red, green and blue, 8 bits each.
    virtual QImage picture(const QImage& representation) const;
    /// The picture's rows, uncompressed.
    virtual QByteArray pixels(const QImage& picture) const;
    /// An image that uses those rows.
    virtual QImage bitmap(const QByteArray& pixels, const QImage& picture) const;
    /// Uses a compression level that delays the preview by a few frames, not a second.
    virtual QByteArray png(const QImage& bitmap) const;
};

/// Writes the frame to a file atomically; replaces an existing file.  Blocks until the file is written.
/// @return the error; empty on success
std::optional<Error> writeSnapshot(const PixelBuffer& frame, const std::string& filePath,
                                   const SnapshotSteps& steps = SnapshotSteps());

} // namespace tavelo
