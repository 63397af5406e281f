// SPDX-License-Identifier: MIT
#include "platform/linux/movie/movie_boxes.h"

#include <unistd.h>

#include <array>
#include <optional>
#include <span>

namespace tavelo {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t headerSize = 8;
constexpr std::uint64_t largestHeader = 1U << 20; // of a fragmented movie; it lists tracks, not frames
constexpr int mostBoxes = 8;                      // before the header; usually two

constexpr std::uint32_t boxName(const char (&text)[5]) {
    std::uint32_t name = 0;
    for (int i = 0; i < 4; ++i)
        name = name << 8 | std::uint8_t(text[i]);
    return name;
}

std::uint32_t number(Bytes bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | bytes[at + i];
    return value;
}

bool writeNumber(int descriptor, std::uint64_t at, std::uint32_t value) {
    const std::array<std::uint8_t, 4> bytes{std::uint8_t(value >> 24), std::uint8_t(value >> 16),
                                            std::uint8_t(value >> 8), std::uint8_t(value)};
    return ::pwrite(descriptor, bytes.data(), bytes.size(), off_t(at)) == ssize_t(bytes.size());
}

std::vector<std::uint8_t> readBytes(int descriptor, std::uint64_t at, std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    if (::pread(descriptor, bytes.data(), count, off_t(at)) != ssize_t(count)) bytes.clear();
    return bytes;
}

/// A top-level box of the file.
struct FileBox {
    std::uint64_t at = 0;
    std::uint32_t size = 0;
    std::uint32_t name = 0;
};

std::optional<FileBox> boxAt(int descriptor, std::uint64_t at) {
    const auto header = readBytes(descriptor, at, headerSize);
    if (header.empty()) return std::nullopt;
    const FileBox box{at, number(header, 0), number(header, 4)};
    if (box.size < headerSize) return std::nullopt; // 64-bit size: the frames; no header follows
    return box;
}

std::optional<FileBox> findHeader(int descriptor) {
    std::uint64_t at = 0;
    for (int i = 0; i < mostBoxes; ++i) {
        const auto box = boxAt(descriptor, at);
        if (!box || box->name == boxName("moov")) return box;
        at += box->size;
    }
    return std::nullopt;
}

/// The first box of that name inside another; `box` includes its own header.
Bytes child(Bytes box, std::uint32_t name, std::size_t after = headerSize) {
    while (after + headerSize <= box.size()) {
        const std::uint32_t size = number(box, after);
        if (size < headerSize || size > box.size() - after) break;
        if (number(box, after + 4) == name) return box.subspan(after, size);
        after += size;
    }
    return {};
}

bool isSound(Bytes track) {
    constexpr std::size_t handlerAt = headerSize + 8; // after version, flags and a zero field
    const Bytes handler = child(child(track, boxName("mdia")), boxName("hdlr"));
    return handler.size() >= handlerAt + 4 && number(handler, handlerAt) == boxName("soun");
}

std::uint32_t trackNumber(Bytes track) {
    const Bytes header = child(track, boxName("tkhd"));
    if (header.size() <= headerSize) return 0;
    const std::size_t at = headerSize + (header[headerSize] == 1 ? 20 : 12); // 64-bit or 32-bit times
    return header.size() >= at + 4 ? number(header, at) : 0;
}

/// The H.264 decoder configuration of a track; empty for another track.
Bytes decoderConfiguration(Bytes track) {
    constexpr std::size_t firstSampleEntry = headerSize + 8; // after version, flags and a count
    constexpr std::size_t endOfPictureEntry = headerSize + 78;
    const Bytes information = child(child(track, boxName("mdia")), boxName("minf"));
    const Bytes samples = child(child(information, boxName("stbl")), boxName("stsd"));
    return child(child(samples, boxName("avc1"), firstSampleEntry), boxName("avcC"), endOfPictureEntry);
}

bool raise(int descriptor, std::uint64_t at, std::uint8_t present, std::uint8_t level) {
    return present >= level || ::pwrite(descriptor, &level, 1, off_t(at)) == 1;
}

} // namespace

bool raiseH264Level(int descriptor, std::uint8_t level) {
    // The configuration holds three bytes of profile and level, and its first parameter set repeats them.
    constexpr std::size_t levelAt = headerSize + 3;
    constexpr std::size_t levelOfSetAt = headerSize + 11;
    const auto header = findHeader(descriptor);
    if (!header || header->size > largestHeader) return false;
    const auto bytes = readBytes(descriptor, header->at, header->size);
    for (std::size_t after = headerSize;;) {
        const Bytes track = child(bytes, boxName("trak"), after);
        if (track.empty()) return false;
        const Bytes configuration = decoderConfiguration(track);
        if (configuration.size() > levelOfSetAt) {
            const std::uint64_t at = header->at + std::uint64_t(configuration.data() - bytes.data());
            return raise(descriptor, at + levelAt, configuration[levelAt], level) &&
                   raise(descriptor, at + levelOfSetAt, configuration[levelOfSetAt], level);
        }
        after = std::size_t(track.data() - bytes.data()) + track.size();
    }
}

std::vector<std::uint8_t> soundTrackOf(int descriptor) {
    const auto header = findHeader(descriptor);
    if (!header || header->size > largestHeader) return {};
    const auto bytes = readBytes(descriptor, header->at, header->size);
    std::size_t after = headerSize;
    for (;;) {
        const Bytes track = child(bytes, boxName("trak"), after);
        if (track.empty()) return {};
        if (isSound(track)) return {track.begin(), track.end()};
        after = std::size_t(track.data() - bytes.data()) + track.size();
    }
}

bool addTrack(int descriptor, const std::vector<std::uint8_t>& track) {
    const auto header = findHeader(descriptor);
    if (!header) return false;
    const std::uint64_t end = header->at + header->size;
    const auto room = boxAt(descriptor, end);
    const auto added = std::uint32_t(track.size());
    if (!room || room->name != boxName("free") || room->size < added + headerSize) return false;
    // The movie's own properties come first and end with the number for the next track.
    const auto properties = boxAt(descriptor, header->at + headerSize);
    if (!properties || properties->name != boxName("mvhd")) return false;
    return ::pwrite(descriptor, track.data(), track.size(), off_t(end)) == ssize_t(track.size()) &&
           writeNumber(descriptor, end + added, room->size - added) &&
           writeNumber(descriptor, end + added + 4, boxName("free")) &&
           writeNumber(descriptor, properties->at + properties->size - 4, trackNumber(track) + 1) &&
           writeNumber(descriptor, header->at, header->size + added);
}

} // namespace tavelo
