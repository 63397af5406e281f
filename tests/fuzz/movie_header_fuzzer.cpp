// SPDX-License-Identifier: MIT
// The header of a movie file, which somebody else may have changed before it is edited.
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz_expect.h"
#include "platform/common/file_descriptor.h"
#include "platform/linux/movie/movie_boxes.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tavelo::fuzz::expect;
    const tavelo::FileDescriptor file(::memfd_create("movie", MFD_CLOEXEC));
    expect(file.isOpen() && ::write(file.get(), data, size) == static_cast<ssize_t>(size));
    const auto sound = tavelo::soundTrackOf(file.get());
    expect(sound.size() <= size);
    tavelo::raiseH264Level(file.get(), 40);
    tavelo::addTrack(file.get(), sound);
    // A change of the header lets the file neither grow without end nor shrink.
    const off_t end = ::lseek(file.get(), 0, SEEK_END);
    expect(end >= static_cast<off_t>(size));
    return 0;
}
