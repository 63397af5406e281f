// SPDX-License-Identifier: MIT
#include "app/qt_messages.h"

#include <QString>
#include <QtGlobal>
#include <cstdio>
#include <cstdlib>

namespace tavelo {
namespace {

void print(QtMsgType type, const QMessageLogContext& /*context*/, const QString& message) {
    const QString firstSentence =
        message.section(QLatin1Char('\n'), 0, 0).section(QStringLiteral(". "), 0, 0);
    std::fprintf(stderr, "tavelo-control-panel: %s\n", qPrintable(firstSentence));
    // Qt would dump core now; that no display can be reached is no fault of the program.
    if (type == QtFatalMsg) std::_Exit(1);
}

// Warnings are for who develops the program: a session without a folder for sockets, a theme without an icon.
void printFailures(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg) print(type, context, message);
}

} // namespace

void installQtMessages(bool verbose) {
    qInstallMessageHandler(verbose ? print : printFailures);
}

} // namespace tavelo
