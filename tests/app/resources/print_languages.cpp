// SPDX-License-Identifier: MIT
// Prints the languages of the desktop, one a line: Qt reads them once a process.
#include <cstdio>

#include <QCoreApplication>

#include "app/resources/resource_bundle.h"

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    for (const std::string& language : tavelo::ResourceBundle().preferredLanguages())
        std::puts(language.c_str());
}
