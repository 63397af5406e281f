// SPDX-License-Identifier: MIT
// Edits boxes of a movie file where FFmpeg's muxer cannot.
#pragma once

#include <cstdint>
#include <vector>

namespace tavelo {

/// The box of a movie's sound track, from the header of a fragmented file, which also has a box for a track
/// without samples.  Empty if there is none.
std::vector<std::uint8_t> soundTrackOf(int descriptor);

/// Adds a track to the header of a file with unused room after it.  If this fails halfway, the file is
/// damaged.
/// @return false if there is no such header, or too little room
bool addTrack(int descriptor, const std::vector<std::uint8_t>& track);

/// Raises the level (times ten) in the header of the file's H.264 track; never lowers it.
/// @return false if there is no such track, or the file cannot be written
bool raiseH264Level(int descriptor, std::uint8_t level);

} // namespace tavelo
