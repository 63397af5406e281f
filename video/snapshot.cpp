// SPDX-License-Identifier: MIT
#include "video/snapshot.h"

#include <QBuffer>
#include <QImageWriter>
#include <QSaveFile>
#include <QString>
#include <limits>
#include <variant>

namespace tavelo {
namespace {

constexpr std::size_t bytesPerPixel = 4;
// zlib's fastest level.  The strongest one takes a second for a large frame, for a file smaller by a fifth.
constexpr int compressionOfFastestLevel = 11;

bool fitsAnImage(const PixelBuffer& frame) {
    constexpr auto longest = std::size_t(std::numeric_limits<int>::max());
    return frame.width() <= longest && frame.height() <= longest && frame.bytesPerRow() <= longest;
}

ErrorCode codeOf(QFileDevice::FileError error) {
    switch (error) {
        case QFileDevice::PermissionsError:
            return ErrorCode::denied;
        case QFileDevice::OpenError:
            return ErrorCode::invalid;
        default:
            return ErrorCode::refused;
    }
}

// The file must be unbuffered, because commit() does not report whether a buffer could be written.
bool writeWhole(QSaveFile& file, const QByteArray& bytes) {
    for (qsizetype done = 0; done < bytes.size();) {
        const qint64 count = file.write(bytes.constData() + done, bytes.size() - done);
        if (count <= 0) return false;
        done += count;
    }
    return true;
}

std::variant<QByteArray, Error> encode(const PixelBuffer& frame, const SnapshotSteps& steps) {
    const auto failed = [](const char* message) { return Error{ErrorCode::none, message}; };
    QImage representation;
    {
        const auto lock = frame.lock();
        const QImage image = steps.image(frame);
        if (image.isNull()) return failed("CIImage create error");
        representation = steps.representation(image);
    }
    if (representation.isNull()) return failed("NSCIImageRep create error");
    const QImage picture = steps.picture(representation);
    if (picture.isNull()) return failed("NSImage create error");
    const QByteArray pixels = steps.pixels(picture);
    if (pixels.isEmpty()) return failed("TIFFRepresentation error");
    const QImage bitmap = steps.bitmap(pixels, picture);
    if (bitmap.isNull()) return failed("NSBitmapImageRep create error");
    const QByteArray png = steps.png(bitmap);
    if (png.isEmpty()) return failed("NSData representationUsingType:NSPNGFileType error");
    return png;
}

} // namespace

QImage SnapshotSteps::image(const PixelBuffer& frame) const {
    if (frame.format() != PixelFormat::bgra32 || !fitsAnImage(frame)) return {};
    const std::uint8_t* pixels = frame.baseAddress();
    if (pixels == nullptr || frame.bytesPerRow() < frame.width() * bytesPerPixel) return {};
    return {pixels, int(frame.width()), int(frame.height()), qsizetype(frame.bytesPerRow()),
            QImage::Format_RGB32};
}

QImage SnapshotSteps::representation(const QImage& image) const {
    return image.copy();
}

QImage SnapshotSteps::picture(const QImage& representation) const {
    return representation.convertToFormat(QImage::Format_RGB888);
}

QByteArray SnapshotSteps::pixels(const QImage& picture) const {
    return QByteArray::fromRawData(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes());
}

QImage SnapshotSteps::bitmap(const QByteArray& pixels, const QImage& picture) const {
    return {reinterpret_cast<const uchar*>(pixels.constData()), picture.width(), picture.height(),
            picture.bytesPerLine(), picture.format()};
}

QByteArray SnapshotSteps::png(const QImage& bitmap) const {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "png");
    writer.setCompression(compressionOfFastestLevel);
    if (!writer.write(bitmap)) return {};
    return bytes;
}

std::optional<Error> writeSnapshot(const PixelBuffer& frame, const std::string& filePath,
                                   const SnapshotSteps& steps) {
    const auto encoded = encode(frame, steps);
    if (const auto* error = std::get_if<Error>(&encoded)) return *error;
    const auto& png = std::get<QByteArray>(encoded);
    QSaveFile file(QString::fromStdString(filePath));
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && writeWhole(file, png) && file.commit())
        return std::nullopt;
    return Error{codeOf(file.error()), file.errorString().toStdString(), "file system"};
}

} // namespace tavelo
