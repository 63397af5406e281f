// SPDX-License-Identifier: MIT
// What other people's programs (ffprobe, ffmpeg) see in a movie file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tavelo::testing {

/// One access unit as the container has it.
struct MoviePacket {
    double time = 0; ///< presentation, in seconds
    double decodeTime = 0;
    double duration = 0;
    bool keyFrame = false;
};

/// As ffprobe names them: "streams.stream.0.codec_name", "format.duration", ...  Throws where the file does
/// not open.
std::map<std::string, std::string> factsOf(const std::filesystem::path& movie);

/// @param stream as ffprobe selects them: "v:0", "a:0"
std::vector<MoviePacket> packetsOf(const std::filesystem::path& movie, const std::string& stream = "v:0");

/// Every picture that a player would show, red, green, blue.  Throws where the decoder finds a fault.
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

/// How many pictures a player would show.  For movies too long to be kept decoded; throws likewise.
std::size_t decodedPictureCount(const std::filesystem::path& movie);

/// The sound, mono, 48000 samples a second.  Throws where the decoder finds a fault.
std::vector<std::int16_t> decodeSound(const std::filesystem::path& movie);

/// Names of the outermost boxes, in order.
std::vector<std::string> boxesOf(const std::filesystem::path& movie);

/// What a command line prints.  Throws where it fails or says anything on the standard error stream.
std::string outputOf(const std::string& command);

} // namespace tavelo::testing
