// SPDX-License-Identifier: MIT
// Rewrites the pictures in tests/video/reference.  Inspect them before committing a change.
#include <QDir>
#include <QTextStream>

#include "reference_case.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        QTextStream(stderr) << "usage: make_reference_pictures FOLDER\n";
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    for (const auto& one : tavelo::testing::referenceCases()) {
        const QString path = folder.filePath(tavelo::testing::referenceName(one));
        if (!tavelo::testing::drawReference(one).save(path)) {
            QTextStream(stderr) << "cannot write " << path << '\n';
            return 1;
        }
    }
    return 0;
}
