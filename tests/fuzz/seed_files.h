// SPDX-License-Identifier: MIT
// Writes the first inputs of fuzz targets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tavelo::fuzz {

using Bytes = std::vector<std::uint8_t>;

/// Ends the program with a message if that is not possible.
void writeSeed(const std::filesystem::path& file, const Bytes& bytes);

/// Least significant byte first.
void appendNumber(Bytes& bytes, std::uint32_t value, std::size_t size = 4);

void append(Bytes& bytes, std::string_view text);
/// With a zero byte after it.
void appendText(Bytes& bytes, std::string_view text);

template <typename Structure>
void appendStructure(Bytes& bytes, const Structure& structure) {
    const auto* const begin = reinterpret_cast<const std::uint8_t*>(&structure);
    bytes.insert(bytes.end(), begin, begin + sizeof structure);
}

// Each writes some folders of inputs.

/// Answers of cameras: to class requests, to a probe, while a stream is agreed on.
void writeCameraSeeds(const std::filesystem::path& folder);
/// Answers of the kernel's driver, and attributes of devices.
void writeKernelSeeds(const std::filesystem::path& folder);
/// USB/IP packets, arguments of calls, command lines, orders, headers of movies.
void writeProgramSeeds(const std::filesystem::path& folder);

} // namespace tavelo::fuzz
