// SPDX-License-Identifier: MIT
// From a movie in fragments to an ordinary one.
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

/// Puts an ordinary movie in the place of one in fragments, with the same samples and its index in front, so
/// that it streams and seeks everywhere.  It is made beside the old one and moved over it, so that there is a
/// whole movie at the path at any moment.  Needs that much room on the disk once more; blocks as long as
/// copying takes, or until `hurry` is requested.
/// @return why it failed, the old movie being left as it was; nothing where it did not
std::optional<Error> makeOrdinaryMovie(const MovieFile& movie, MovieFileType type,
                                       const MovieContent& content, const std::stop_token& hurry,
                                       FileBeside::Kind kind = FileBeside::Kind::unnamed);

using OrdinaryMovieMaker = std::function<std::optional<Error>(
    const MovieFile& movie, MovieFileType type, const MovieContent& content, const std::stop_token& hurry)>;

} // namespace tavelo
