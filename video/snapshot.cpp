// SPDX-License-Identifier: MIT
#include "video/snapshot.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageWriter>
#include <QSaveFile>
#include <QString>
#include <array>
#include <limits>
#include <mutex>

namespace tavelo {

/// The results of the steps so far.
struct SnapshotWork {
    explicit SnapshotWork(const PixelBuffer& source) : frame(source) {}

    const PixelBuffer& frame;
    std::unique_lock<std::mutex> lock; // while `picture` uses the frame's pixels
    QImage picture;
    QByteArray rows; // the picture's own, not a copy
    QImage bitmap;   // uses `rows`
    QByteArray png;
};

namespace {

constexpr std::size_t bytesPerBgraPixel = 4;
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

// Wraps the frame's own pixels, without a copy.  Expects BGRA; alpha is ignored.
bool wrapFrame(SnapshotWork& work) {
    const PixelBuffer& frame = work.frame;
    if (frame.format() != PixelFormat::bgra32 || !fitsAnImage(frame)) return false;
    work.lock = frame.lock();
    const std::uint8_t* pixels = frame.baseAddress();
    if (pixels == nullptr || frame.bytesPerRow() < frame.width() * bytesPerBgraPixel) return false;
    work.picture = QImage(pixels, int(frame.width()), int(frame.height()), qsizetype(frame.bytesPerRow()),
                          QImage::Format_RGB32);
    return !work.picture.isNull();
}

bool copyFrame(SnapshotWork& work) {
    work.picture = work.picture.copy();
    work.lock.unlock();
    return !work.picture.isNull();
}

// Red, green and blue, 8 bits each.
bool makeOpaque(SnapshotWork& work) {
    work.picture = work.picture.convertToFormat(QImage::Format_RGB888);
    return !work.picture.isNull();
}

bool takeRows(SnapshotWork& work) {
    work.rows = QByteArray::fromRawData(reinterpret_cast<const char*>(work.picture.constBits()),
                                        work.picture.sizeInBytes());
    return !work.rows.isEmpty();
}

bool wrapRows(SnapshotWork& work) {
    const QImage& picture = work.picture;
    work.bitmap = QImage(reinterpret_cast<const uchar*>(work.rows.constData()), picture.width(),
                         picture.height(), picture.bytesPerLine(), picture.format());
    return !work.bitmap.isNull();
}

bool compress(SnapshotWork& work) {
    QBuffer buffer(&work.png);
    QImageWriter writer(&buffer, "png");
    writer.setCompression(compressionOfFastestLevel);
    return writer.write(work.bitmap) && !work.png.isEmpty();
}

constexpr std::array allSteps{
    SnapshotStep{wrapFrame, "CIImage create error"},
    SnapshotStep{copyFrame, "NSCIImageRep create error"},
    SnapshotStep{makeOpaque, "NSImage create error"},
    SnapshotStep{takeRows, "TIFFRepresentation error"},
    SnapshotStep{wrapRows, "NSBitmapImageRep create error"},
    SnapshotStep{compress, "NSData representationUsingType:NSPNGFileType error"},
};

} // namespace

std::span<const SnapshotStep> snapshotSteps() {
    return allSteps;
}

std::optional<Error> writeSnapshot(const PixelBuffer& frame, const std::string& filePath,
                                   std::span<const SnapshotStep> steps) {
    SnapshotWork work(frame);
    for (const SnapshotStep& step : steps)
        if (!step.run(work)) return Error{ErrorCode::none, step.failure};
    QSaveFile file(QString::fromStdString(filePath));
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && writeWhole(file, work.png) &&
        file.commit())
        return std::nullopt;
    return Error{codeOf(file.error()), file.errorString().toStdString(), "file system"};
}

} // namespace tavelo
