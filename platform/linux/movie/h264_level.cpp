// SPDX-License-Identifier: MIT
#include "platform/linux/movie/h264_level.h"

#include <array>

namespace tavelo {
namespace {

constexpr int macroblockSide = 16;
constexpr double tolerance = 1.06;

struct Level {
    std::uint8_t number = 0;
    std::int64_t macroblocksPerSecond = 0;
};

// ITU-T H.264, table A-1, MaxMBPS.
constexpr std::array levels{
    Level{10, 1485},   Level{11, 3000},    Level{12, 6000},    Level{13, 11880},
    Level{21, 19800},  Level{22, 20250},   Level{30, 40500},   Level{31, 108000},
    Level{32, 216000}, Level{40, 245760},  Level{42, 522240},  Level{50, 589824},
    Level{51, 983040}, Level{52, 2073600}, Level{60, 4177920}, Level{61, 8355840},
};
constexpr std::uint8_t highest = 62;

} // namespace

std::uint8_t h264LevelFor(int width, int height, double framesPerSecond) {
    const auto blocks = [](int side) { return std::int64_t((side + macroblockSide - 1) / macroblockSide); };
    const double needed = double(blocks(width) * blocks(height)) * framesPerSecond;
    for (const Level& level : levels)
        if (needed <= double(level.macroblocksPerSecond) * tolerance) return level.number;
    return highest;
}

} // namespace tavelo
