// SPDX-License-Identifier: MIT
#include "seed_files.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace tavelo::fuzz {

void writeSeed(const std::filesystem::path& file, const Bytes& bytes) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (stream) return;
    std::fprintf(stderr, "fuzz_write_seeds: cannot write %s\n", file.c_str());
    std::exit(1);
}

void appendNumber(Bytes& bytes, std::uint32_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 * i));
}

void append(Bytes& bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

void appendText(Bytes& bytes, std::string_view text) {
    append(bytes, text);
    bytes.push_back(0);
}

} // namespace tavelo::fuzz
