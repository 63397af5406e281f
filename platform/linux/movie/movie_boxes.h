// SPDX-License-Identifier: MIT
// The boxes of a movie file, as far as FFmpeg's muxer needs help with them.
#pragma once

#include <cstdint>
#include <vector>

namespace tavelo {

/// The box of a movie's sound track, from the header of a file in fragments, where a track without samples is
/// a track all the same.  Empty where there is none.
std::vector<std::uint8_t> soundTrackOf(int descriptor);

/// Adds a track to the header of a file that has unused room behind it.  The file is spoilt where it fails
/// half way.
/// @return false where there is no such header, or too little room
bool addTrack(int descriptor, const std::vector<std::uint8_t>& track);

/// Marks the H.264 track of a file with a level, ten times its number, unless its mark is that high already.
/// @return false if there is no such track, or the file cannot be written
bool raiseH264Level(int descriptor, std::uint8_t level);

} // namespace tavelo
