// SPDX-License-Identifier: MIT
#include "platform/linux/movie/movie_boxes.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "platform/common/file_descriptor.h"

namespace tavelo {
namespace {

using Bytes = std::vector<std::uint8_t>;
using ::testing::IsEmpty;

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Bytes number(std::uint32_t value) {
    return {std::uint8_t(value >> 24), std::uint8_t(value >> 16), std::uint8_t(value >> 8),
            std::uint8_t(value)};
}

Bytes name(std::string_view text) {
    return {text.begin(), text.end()};
}

Bytes box(std::string_view type, const Bytes& content) {
    return join({number(std::uint32_t(8 + content.size())), name(type), content});
}

Bytes zeros(std::size_t count) {
    return Bytes(count, 0);
}

/// The movie's properties, which end with the number for the next track.
Bytes properties(std::uint32_t nextTrack) {
    return box("mvhd", join({zeros(96), number(nextTrack)}));
}

Bytes trackHeader(std::uint32_t track, std::uint8_t version = 0) {
    const std::size_t times = version == 1 ? 16 : 8; // when it was created and changed
    return box("tkhd", join({{version, 0, 0, 0}, zeros(times), number(track), zeros(60)}));
}

Bytes handler(std::string_view kind) {
    return box("hdlr", join({zeros(8), name(kind), zeros(12)}));
}

/// A decoder configuration, which holds the level twice.
Bytes configuration(std::uint8_t level) {
    return box("avcC", {1, 0x64, 0, level, 0xFF, 0xE1, 0, 4, 0x67, 0x64, 0, level});
}

Bytes videoTrack(std::uint8_t level) {
    const Bytes entry = box("avc1", join({zeros(78), configuration(level)}));
    const Bytes samples = box("stbl", box("stsd", join({zeros(8), entry})));
    return box("trak", join({trackHeader(1), box("mdia", join({handler("vide"), box("minf", samples)}))}));
}

Bytes soundTrack(std::uint32_t track = 2, std::uint8_t version = 0) {
    return box("trak", join({trackHeader(track, version), box("mdia", handler("soun"))}));
}

class MovieBoxesTest : public ::testing::Test {
protected:
    int file(std::initializer_list<Bytes> parts) {
        file_ = FileDescriptor(::memfd_create("movie", MFD_CLOEXEC));
        const Bytes bytes = join(parts);
        EXPECT_EQ(::write(file_.get(), bytes.data(), bytes.size()), ssize_t(bytes.size()));
        return file_.get();
    }
    Bytes content() const {
        Bytes bytes(std::size_t(::lseek(file_.get(), 0, SEEK_END)));
        EXPECT_EQ(::pread(file_.get(), bytes.data(), bytes.size(), 0), ssize_t(bytes.size()));
        return bytes;
    }

    FileDescriptor file_;
};

const Bytes kind = box("ftyp", name("isom"));

TEST_F(MovieBoxesTest, TheLevelIsRaisedInBothPlacesAndNothingElseChanges) {
    const int movie =
        file({kind, box("moov", join({properties(3), soundTrack(), videoTrack(31)})), zeros(9)});
    EXPECT_TRUE(raiseH264Level(movie, 40));
    EXPECT_EQ(content(),
              join({kind, box("moov", join({properties(3), soundTrack(), videoTrack(40)})), zeros(9)}));
}

TEST_F(MovieBoxesTest, TheLevelIsNeverLowered) {
    for (const std::uint8_t level : Bytes{40, 41}) {
        const Bytes header = box("moov", videoTrack(level));
        EXPECT_TRUE(raiseH264Level(file({kind, header}), 40));
        EXPECT_EQ(content(), join({kind, header}));
    }
}

TEST_F(MovieBoxesTest, AHeaderWithoutPicturesHasNoLevel) {
    EXPECT_FALSE(raiseH264Level(file({kind, box("moov", soundTrack())}), 40));
    EXPECT_FALSE(raiseH264Level(file({kind, box("moov", {})}), 40));
}

TEST_F(MovieBoxesTest, ALevelThatCannotBeWrittenIsAnError) {
    const int movie = file({kind, box("moov", videoTrack(31))});
    const FileDescriptor readOnly(::open(("/proc/self/fd/" + std::to_string(movie)).c_str(), O_RDONLY));
    ASSERT_TRUE(readOnly.isOpen());
    EXPECT_FALSE(raiseH264Level(readOnly.get(), 40));
    EXPECT_TRUE(raiseH264Level(readOnly.get(), 31)) << "there is nothing to write";
}

TEST_F(MovieBoxesTest, TheHeaderIsTheFirstOfTheFilesBoxesOrOneOfTheNextSeven) {
    const Bytes header = box("moov", soundTrack());
    Bytes before;
    for (int boxes = 0; boxes < 8; ++boxes) {
        EXPECT_EQ(soundTrackOf(file({before, header})), soundTrack()) << boxes;
        before = join({before, box("free", {1, 2, 3})});
    }
    EXPECT_THAT(soundTrackOf(file({before, header})), IsEmpty());
    EXPECT_THAT(soundTrackOf(file({})), IsEmpty());
    EXPECT_THAT(soundTrackOf(file({number(1), name("mdat"), number(0), header})), IsEmpty())
        << "a box with a size of 64 bits holds the pictures, and the header is before them";
}

TEST_F(MovieBoxesTest, TheSoundTrackIsFoundBehindOthers) {
    EXPECT_EQ(soundTrackOf(file({kind, box("moov", join({properties(3), videoTrack(31), soundTrack()}))})),
              soundTrack());
    EXPECT_THAT(soundTrackOf(file({kind, box("moov", join({properties(2), videoTrack(31)}))})), IsEmpty());
}

TEST_F(MovieBoxesTest, ABoxThatEndsOutsideItsParentEndsTheSearch) {
    Bytes track = soundTrack();
    track[3] = std::uint8_t(track.size() + 1);
    EXPECT_THAT(soundTrackOf(file({box("moov", track)})), IsEmpty());
    track[3] = 7; // smaller than its own header
    EXPECT_THAT(soundTrackOf(file({box("moov", track)})), IsEmpty());
}

TEST_F(MovieBoxesTest, AnEmptyBoxIsSteppedOver) {
    EXPECT_EQ(soundTrackOf(file({box("moov", join({box("free", {}), soundTrack()}))})), soundTrack());
}

TEST_F(MovieBoxesTest, ATrackTakesThePlaceOfTheRoomAfterTheHeader) {
    for (const std::uint8_t version : Bytes{0, 1}) {
        const Bytes track = soundTrack(7, version);
        const int movie = file({kind, box("moov", join({properties(2), videoTrack(31)})),
                                box("free", zeros(track.size() + 5)), name("pictures")});
        EXPECT_TRUE(addTrack(movie, track));
        EXPECT_EQ(content(), join({kind, box("moov", join({properties(8), videoTrack(31), track})),
                                   box("free", zeros(5)), name("pictures")}))
            << "version " << unsigned(version);
    }
}

TEST_F(MovieBoxesTest, ATrackThatFillsTheRoomLeavesAnEmptyBox) {
    const int movie = file({box("moov", properties(2)), box("free", zeros(soundTrack().size()))});
    EXPECT_TRUE(addTrack(movie, soundTrack()));
    EXPECT_EQ(content(), join({box("moov", join({properties(3), soundTrack()})), box("free", {})}));
}

TEST_F(MovieBoxesTest, ATrackWithoutRoomChangesNothing) {
    const Bytes header = box("moov", properties(2));
    const Bytes less = box("free", zeros(soundTrack().size() - 1));
    const Bytes other = box("mdat", zeros(soundTrack().size()));
    for (const Bytes& after : {less, other, Bytes()}) {
        EXPECT_FALSE(addTrack(file({kind, header, after}), soundTrack()));
        EXPECT_EQ(content(), join({kind, header, after}));
    }
    const Bytes room = box("free", zeros(soundTrack().size()));
    for (const Bytes& wrong : {box("moov", box("trak", zeros(20))), box("moof", properties(2))}) {
        EXPECT_FALSE(addTrack(file({kind, wrong, room}), soundTrack())) << "without the movie's properties";
        EXPECT_EQ(content(), join({kind, wrong, room}));
    }
}

} // namespace
} // namespace tavelo
