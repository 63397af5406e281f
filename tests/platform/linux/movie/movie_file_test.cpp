// SPDX-License-Identifier: MIT
#include "platform/linux/movie/movie_file.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/temporary_folder.h"

namespace tavelo::testing {
namespace {

class MovieFileTest : public ::testing::Test {
protected:
    void write(const std::string& bytes) {
        avio_write(file_->io(), reinterpret_cast<const unsigned char*>(bytes.data()), int(bytes.size()));
        avio_flush(file_->io());
    }
    std::string content() const {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TemporaryFolder folder_;
    const std::filesystem::path path_ = folder_.path() / "movie.mp4";
    Error error_;
    std::unique_ptr<MovieFile> file_ = MovieFile::create(path_.string(), error_);
};

TEST_F(MovieFileTest, TheFirstPieceReachesTheFileAsAWhole) {
    ASSERT_NE(file_, nullptr);
    write("type");
    write("header");
    EXPECT_EQ(content(), "");
    ASSERT_TRUE(file_->endPiece());
    EXPECT_EQ(content(), "typeheader");
    write("fragment");
    EXPECT_EQ(content(), "typeheaderfragment");
    EXPECT_TRUE(file_->endPiece());
    EXPECT_EQ(content(), "typeheaderfragment");
}

TEST_F(MovieFileTest, AFirstPieceThatIsTooLongToWaitIsWrittenInItsOrder) {
    const std::string most(1 << 16, 'a');
    write(most);
    EXPECT_EQ(content(), "");
    write("b");
    EXPECT_EQ(content(), most + "b");
    ASSERT_TRUE(file_->endPiece());
    EXPECT_EQ(content(), most + "b");
}

TEST_F(MovieFileTest, AFileThatExistsIsLeftAlone) {
    write("kept");
    ASSERT_TRUE(file_->endPiece());
    Error error;
    EXPECT_EQ(MovieFile::create(path_.string(), error), nullptr);
    EXPECT_NE(error.text, "");
    EXPECT_EQ(content(), "kept");
}

} // namespace
} // namespace tavelo::testing
