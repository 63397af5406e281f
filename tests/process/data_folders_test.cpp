// SPDX-License-Identifier: MIT
#include "process/data_folders.h"

#include <gmock/gmock.h>

#include <QByteArray>
#include <QCoreApplication>
#include <filesystem>

namespace tavelo {
namespace {

using ::testing::EndsWith;
using ::testing::SizeIs;

class DataFolders : public ::testing::Test {
protected:
    ~DataFolders() override {
        before_.isNull() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", before_);
    }

private:
    const QByteArray before_ = qgetenv("XDG_DATA_HOME");
};

TEST_F(DataFolders, TheUsersFolderFollowsTheProgramsOne) {
    qputenv("XDG_DATA_HOME", "/some/where");
    const auto folders = extensionUnitFolders();
    ASSERT_THAT(folders, SizeIs(2));
    EXPECT_EQ(folders[1], "/some/where/tavelo-control-panel/extension-units");
    EXPECT_THAT(folders[0].string(), EndsWith("/share/tavelo-control-panel/extension-units"));
    // Beside the folder of the program.
    const std::filesystem::path program = QCoreApplication::applicationDirPath().toStdString();
    EXPECT_EQ(folders[0], program.parent_path() / "share/tavelo-control-panel/extension-units");
}

TEST_F(DataFolders, ByDefaultTheUsersDataAreInTheHomeFolder) {
    qunsetenv("XDG_DATA_HOME");
    EXPECT_THAT(extensionUnitFolders()[1].string(),
                EndsWith("/.local/share/tavelo-control-panel/extension-units"));
}

TEST_F(DataFolders, TheManualIsBesideThem) {
    EXPECT_EQ(manualPage(), extensionUnitFolders()[0].parent_path() / "manual/index.html");
}

TEST_F(DataFolders, TheBuildTreeHasTheProgramsDescriptions) {
    EXPECT_TRUE(std::filesystem::is_regular_file(extensionUnitFolders()[0] / "tavelo-virtual-camera.json"));
}

} // namespace
} // namespace tavelo
