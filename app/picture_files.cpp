// SPDX-License-Identifier: MIT
#include "app/picture_files.h"

#include <QDir>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace tavelo {
namespace {

// Of the camera's name in a file's name; the longest file name has 255 bytes.
constexpr qsizetype longestName = 40;

// Readable on the file systems of memory sticks and cameras, too.
QString fileNameOf(std::string_view camera) {
    QString name = QString::fromUtf8(camera).left(longestName).simplified();
    for (QChar& letter : name)
        if (!letter.isPrint() || QStringLiteral("/\\:*?\"<>|").contains(letter)) letter = u'-';
    while (name.startsWith(u'.'))
        name.remove(0, 1); // would be a hidden file
    return name.isEmpty() ? QStringLiteral("Camera") : name;
}

} // namespace

std::optional<QString> freePictureFile(const QString& folder, std::string_view camera, const QDateTime& time,
                                       const QString& extension, QString& reason) {
    errno = 0;
    if (!QDir().mkpath(folder)) {
        reason = QString::fromStdString(std::generic_category().message(errno != 0 ? errno : ENOTDIR));
        return {};
    }
    const QString stem =
        QStringLiteral("%1/%2 %3")
            .arg(folder, fileNameOf(camera), time.toString(QStringLiteral("yyyy-MM-dd HH-mm-ss")));
    QString file = stem + u'.' + extension;
    // A link that leads nowhere counts as taken, too.
    const auto taken = [](const QString& path) {
        const QFileInfo found(path);
        return found.exists() || found.isSymLink();
    };
    for (int number = 2; taken(file); ++number)
        file = QStringLiteral("%1 (%2).%3").arg(stem, QString::number(number), extension);
    return file;
}

} // namespace tavelo
