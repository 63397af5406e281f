// SPDX-License-Identifier: MIT
// Prints the desktop's languages, one per line.  A separate program because Qt reads them once per process.
#include <cstdio>

#include <QCoreApplication>

#include "app/resources/resource_bundle.h"

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    for (const std::string& language : tavelo::ResourceBundle().preferredLanguages())
        std::puts(language.c_str());
}
