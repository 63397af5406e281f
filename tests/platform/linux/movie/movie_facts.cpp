// SPDX-License-Identifier: MIT
#include "movie_facts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "support/temporary_folder.h"

namespace tavelo::testing {
namespace {

std::string quoted(const std::filesystem::path& path) {
    return "'" + path.string() + "'";
}

std::vector<std::string> fieldsOf(const std::string& line, char separator) {
    std::vector<std::string> fields;
    std::istringstream in(line);
    for (std::string field; std::getline(in, field, separator);)
        fields.push_back(field);
    return fields;
}

double secondsOf(const std::string& text) {
    return text == "N/A" ? 0.0 : std::stod(text);
}

std::uint64_t numberIn(const std::string& bytes, std::size_t at, std::size_t length) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < length; ++i)
        value = value << 8 | std::uint8_t(bytes.at(at + i));
    return value;
}

} // namespace

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string outputOf(const std::string& command) {
    const TemporaryFolder folder;
    const auto complaints = folder.path() / "complaints";
    const std::string whole = command + " 2>" + complaints.string() + " </dev/null";
    FILE* pipe = popen(whole.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("no process");
    std::string output;
    std::array<char, 65536> buffer{};
    for (std::size_t count = 0; (count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
        output.append(buffer.data(), count);
    const int status = pclose(pipe);
    const std::string complaint = contentOf(complaints);
    if (status != 0 || !complaint.empty()) throw std::runtime_error(command + ": " + complaint);
    return output;
}

std::map<std::string, std::string> factsOf(const std::filesystem::path& movie) {
    std::istringstream lines(
        outputOf("ffprobe -v error -show_streams -show_format -of flat " + quoted(movie)));
    std::map<std::string, std::string> facts;
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        if (equals == std::string::npos) continue;
        std::string value = line.substr(equals + 1);
        if (value.size() >= 2 && value.front() == '"') value = value.substr(1, value.size() - 2);
        facts[line.substr(0, equals)] = value;
    }
    return facts;
}

std::vector<MoviePacket> packetsOf(const std::filesystem::path& movie, const std::string& stream) {
    std::istringstream lines(
        outputOf("ffprobe -v error -select_streams " + stream +
                 " -show_entries packet=pts_time,dts_time,duration_time,flags -of csv=p=0 " + quoted(movie)));
    std::vector<MoviePacket> packets;
    for (std::string line; std::getline(lines, line);) {
        const auto fields = fieldsOf(line, ',');
        if (fields.size() < 4) continue;
        packets.push_back({secondsOf(fields[0]), secondsOf(fields[1]), secondsOf(fields[2]),
                           fields[3].find('K') != std::string::npos});
    }
    return packets;
}

DecodedPictures::Rgb DecodedPictures::at(std::size_t picture, int x, int y) const {
    const std::uint8_t* pixel =
        pictures.at(picture).data() + (std::size_t(y) * std::size_t(width) + std::size_t(x)) * 3;
    return {pixel[0], pixel[1], pixel[2]};
}

DecodedPictures decode(const std::filesystem::path& movie) {
    const auto facts = factsOf(movie);
    DecodedPictures decoded;
    decoded.width = std::stoi(facts.at("streams.stream.0.width"));
    decoded.height = std::stoi(facts.at("streams.stream.0.height"));
    const std::string bytes =
        outputOf("ffmpeg -v error -xerror -i " + quoted(movie) +
                 " -map v:0 -fps_mode passthrough -sws_flags accurate_rnd+full_chroma_int+bilinear"
                 " -f rawvideo -pix_fmt rgb24 -");
    const std::size_t size = std::size_t(decoded.width) * std::size_t(decoded.height) * 3;
    for (std::size_t at = 0; at + size <= bytes.size(); at += size) {
        const auto* first = reinterpret_cast<const std::uint8_t*>(bytes.data() + at);
        decoded.pictures.emplace_back(first, first + size);
    }
    return decoded;
}

std::size_t decodedPictureCount(const std::filesystem::path& movie) {
    const std::string lines = outputOf("ffmpeg -v error -xerror -i " + quoted(movie) +
                                       " -map v:0 -fps_mode passthrough -f framecrc -");
    std::size_t count = 0;
    std::istringstream in(lines);
    for (std::string line; std::getline(in, line);)
        count += line.empty() || line.front() == '#' ? 0 : 1;
    return count;
}

std::vector<std::int16_t> decodeSound(const std::filesystem::path& movie) {
    const std::string bytes =
        outputOf("ffmpeg -v error -xerror -i " + quoted(movie) + " -map a:0 -ac 1 -ar 48000 -f s16le -");
    std::vector<std::int16_t> samples(bytes.size() / 2);
    std::copy_n(bytes.data(), samples.size() * 2, reinterpret_cast<char*>(samples.data()));
    return samples;
}

std::vector<std::string> boxesOf(const std::filesystem::path& movie) {
    const std::string bytes = contentOf(movie);
    std::vector<std::string> boxes;
    for (std::size_t at = 0; at + 8 <= bytes.size();) {
        std::uint64_t size = numberIn(bytes, at, 4);
        boxes.push_back(bytes.substr(at + 4, 4));
        if (size == 1) size = numberIn(bytes, at + 8, 8);
        if (size < 8) break;
        at += size;
    }
    return boxes;
}

std::vector<int> samplesOfFragments(const std::filesystem::path& movie) {
    const std::string bytes = contentOf(movie);
    std::vector<int> counts;
    for (std::size_t at = bytes.find("trun"); at != std::string::npos; at = bytes.find("trun", at + 1))
        counts.push_back(int(numberIn(bytes, at + 8, 4)));
    return counts;
}

} // namespace tavelo::testing
