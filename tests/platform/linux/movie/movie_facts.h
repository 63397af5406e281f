// SPDX-License-Identifier: MIT
// What ffprobe and ffmpeg find in a movie file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tavelo::testing {

/// One access unit in the container.
struct MoviePacket {
    double time = 0; ///< presentation, in seconds
    double decodeTime = 0;
    double duration = 0;
    bool keyFrame = false;
};

/// Keys as in ffprobe: "streams.stream.0.codec_name", "format.duration", ...  Throws if the file cannot be
/// opened.
std::map<std::string, std::string> factsOf(const std::filesystem::path& movie);

/// @param stream as in ffprobe: "v:0", "a:0"
std::vector<MoviePacket> packetsOf(const std::filesystem::path& movie, const std::string& stream = "v:0");

/// Every picture that a player would show, as RGB.  Throws if the decoder finds a fault.
struct DecodedPictures {
    int width = 0;
    int height = 0;
    std::vector<std::vector<std::uint8_t>> pictures;

    struct Rgb {
        int red = 0;
        int green = 0;
        int blue = 0;
    };
    Rgb at(std::size_t picture, int x, int y) const;
};
DecodedPictures decode(const std::filesystem::path& movie);

/// The number of pictures that a player would show, for movies too long to keep decoded.  Throws like above.
std::size_t decodedPictureCount(const std::filesystem::path& movie);

/// The sound as mono, 48000 samples per second.  Throws if the decoder finds a fault.
std::vector<std::int16_t> decodeSound(const std::filesystem::path& movie);

/// The bytes of a file; empty if it cannot be read.
std::string contentOf(const std::filesystem::path& path);

/// Names of the outermost boxes, in order.
std::vector<std::string> boxesOf(const std::filesystem::path& movie);

/// How many samples each fragment of a movie with one track has.
std::vector<int> samplesOfFragments(const std::filesystem::path& movie);

/// The output of a command line.  Throws if it fails or prints anything on standard error.
std::string outputOf(const std::string& command);

} // namespace tavelo::testing
