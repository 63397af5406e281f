// SPDX-License-Identifier: MIT
#include "app/manual.h"

#include <QDesktopServices>
#include <QFile>
#include <QUrl>
#include <system_error>

#include "process/error_line.h"

namespace tavelo {

bool showManual(const std::filesystem::path& page) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(page, error)) {
        printErrorLine(page.string(), "the manual is not installed");
        return false;
    }
    const QString file = QFile::decodeName(page.string().c_str());
    if (QDesktopServices::openUrl(QUrl::fromLocalFile(file))) return true;
    printErrorLine(page.string(), "not shown: the desktop has no program for web pages");
    return false;
}

} // namespace tavelo
