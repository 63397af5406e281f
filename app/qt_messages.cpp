// SPDX-License-Identifier: MIT
#include "app/qt_messages.h"

#include <QString>
#include <QtGlobal>
#include <cstdlib>

#include "process/error_line.h"

namespace tavelo {
namespace {

void print(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
    const QString firstSentence =
        message.section(QLatin1Char('\n'), 0, 0).section(QStringLiteral(". "), 0, 0);
    printErrorLine(qPrintable(firstSentence));
    // Qt would dump core now, but an unreachable display is no bug of the program.
    if (type == QtFatalMsg) std::_Exit(1);
}

// Skips warnings, which are for developers: no runtime directory, an icon missing from the theme.
void printFailures(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg) print(type, context, message);
}

} // namespace

void installQtMessages(bool verbose) {
    qInstallMessageHandler(verbose ? print : printFailures);
}

} // namespace tavelo
