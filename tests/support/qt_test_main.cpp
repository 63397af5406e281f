// SPDX-License-Identifier: MIT
// main() of the tests that need a QApplication.
#include <gmock/gmock.h>

#include <QApplication>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
