// SPDX-License-Identifier: MIT
#include "widgets/foreign_text.h"

#include <QTextDocument>
#include <algorithm>

namespace tavelo {
namespace {

constexpr QChar firstStrongIsolate(0x2068);
constexpr QChar popIsolate(0x2069);

bool isUnwanted(QChar character) {
    switch (character.direction()) {
        case QChar::DirLRE:
        case QChar::DirLRO:
        case QChar::DirRLE:
        case QChar::DirRLO:
        case QChar::DirPDF:
        case QChar::DirLRI:
        case QChar::DirRLI:
        case QChar::DirFSI:
        case QChar::DirPDI:
            return true;
        default:
            return character.category() == QChar::Other_Control ||
                   character.category() == QChar::Separator_Line ||
                   character.category() == QChar::Separator_Paragraph;
    }
}

bool isWrittenFromTheRight(QChar character) {
    return character.direction() == QChar::DirR || character.direction() == QChar::DirAL;
}

} // namespace

QString foreignName(const std::string& name) {
    QString text = QString::fromStdString(name);
    text.removeIf(isUnwanted);
    if (std::ranges::none_of(text, isWrittenFromTheRight)) return text;
    return firstStrongIsolate + text + popIsolate;
}

QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal) : text;
}

} // namespace tavelo
