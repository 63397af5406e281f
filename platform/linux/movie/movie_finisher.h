// SPDX-License-Identifier: MIT
// Turns a fragmented movie into an ordinary one.
#pragma once

#include <functional>
#include <optional>
#include <stop_token>

#include "platform/asset_writer.h"
#include "platform/error.h"
#include "platform/linux/movie/file_beside.h"
#include "platform/linux/movie/fragment_muxer.h"
#include "platform/linux/movie/movie_file.h"

namespace tavelo {

/// Replaces a fragmented movie by an ordinary one with the same samples and the index in front, so that it
/// streams and seeks everywhere.  The new file is made beside the old one and moved over it, so there is a
/// whole movie at the path at any moment.  Needs the same room on the disk again; blocks while it copies,
/// or until `hurry` is requested.
/// @return why it failed, with the old movie left as it was; nothing if it succeeded
std::optional<Error> makeOrdinaryMovie(const MovieFile& movie, MovieFileType type,
                                       const MovieContent& content, const std::stop_token& hurry,
                                       FileBeside::Kind kind = FileBeside::Kind::unnamed);

using OrdinaryMovieMaker = std::function<std::optional<Error>(
    const MovieFile& movie, MovieFileType type, const MovieContent& content, const std::stop_token& hurry)>;

} // namespace tavelo
