// SPDX-License-Identifier: MIT
#include "bench/peers/camera/frame_code.h"

#include <array>

namespace tavelo::bench {
namespace {

constexpr Pixel redInk{0, 0, 255, 255};
constexpr Pixel blueInk{255, 0, 0, 255};
constexpr Pixel whiteInk{255, 255, 255, 255};
constexpr Pixel blackInk{0, 0, 0, 255};

constexpr std::size_t whiteCell = 1;
constexpr std::size_t firstBit = 2;
constexpr std::size_t blackCell = firstBit + 2 * codeBits;
// Less than this between white and black is no bar.
constexpr int leastContrast = 80;
// Narrower cells cannot be told apart reliably.
constexpr std::size_t narrowestCell = 6;

enum class Mark : std::uint8_t { none, red, blue };

Mark markOf(Pixel pixel) {
    constexpr int bright = 150;
    constexpr int dark = 100;
    if (pixel.green >= dark) return Mark::none;
    if (pixel.red > bright && pixel.blue < dark) return Mark::red;
    if (pixel.blue > bright && pixel.red < dark) return Mark::blue;
    return Mark::none;
}

struct Run {
    Mark mark = Mark::none;
    std::size_t begin = 0;
    std::size_t end = 0;

    std::size_t length() const { return end - begin; }
};

std::vector<Run> markedRuns(const std::vector<Pixel>& row) {
    std::vector<Run> runs;
    for (std::size_t begin = 0; begin < row.size();) {
        const Mark mark = markOf(row[begin]);
        std::size_t end = begin + 1;
        while (end < row.size() && markOf(row[end]) == mark)
            ++end;
        if (mark != Mark::none && end - begin >= narrowestCell) runs.push_back({mark, begin, end});
        begin = end;
    }
    return runs;
}

// Soft edges take up to a third of a cell at each end.
bool areEnds(const Run& first, const Run& last) {
    if (first.mark == last.mark || last.begin <= first.end) return false;
    const double cell = double(last.end - first.begin) / codeCells;
    return double(first.length()) > cell * 0.6 && double(last.length()) > cell * 0.6;
}

int brightness(const std::vector<Pixel>& row, const FoundBar& bar, std::size_t cell) {
    const std::size_t place = bar.mirrored ? codeCells - 1 - cell : cell;
    const std::size_t begin = bar.left + (3 * place + 1) * bar.width / (3 * codeCells);
    const std::size_t end = bar.left + (3 * place + 2) * bar.width / (3 * codeCells);
    std::size_t sum = 0;
    for (std::size_t x = begin; x <= end && x < row.size(); ++x)
        sum += row[x].green;
    return int(sum / (end - begin + 1));
}

} // namespace

Rectangle codeBar(std::size_t width, std::size_t height) {
    const std::size_t rows = height / 8;
    return {0, (height - rows) / 2, width, rows};
}

void drawFrameCode(Raster& picture, std::uint32_t frame) {
    const Rectangle bar = codeBar(picture.width, picture.height);
    std::array<Pixel, codeCells> cells{};
    cells.front() = redInk;
    cells[whiteCell] = whiteInk;
    for (std::size_t bit = 0; bit < codeBits; ++bit) {
        const bool set = (frame >> bit & 1U) != 0;
        cells[firstBit + bit] = set ? whiteInk : blackInk;
        cells[firstBit + codeBits + bit] = set ? blackInk : whiteInk;
    }
    cells[blackCell] = blackInk;
    cells.back() = blueInk;
    for (std::size_t cell = 0; cell < codeCells; ++cell) {
        const std::size_t begin = cell * bar.width / codeCells;
        const std::size_t end = (cell + 1) * bar.width / codeCells;
        fill(picture, {begin, bar.top, end - begin, bar.height}, cells[cell]);
    }
}

std::optional<FoundBar> findBar(const std::vector<Pixel>& row) {
    const std::vector<Run> runs = markedRuns(row);
    for (std::size_t first = 0; first < runs.size(); ++first) {
        for (std::size_t last = first + 1; last < runs.size(); ++last) {
            if (!areEnds(runs[first], runs[last])) continue;
            const FoundBar bar{runs[first].begin, runs[last].end - runs[first].begin,
                               runs[first].mark == Mark::blue};
            if (readFrameCode(row, bar)) return bar;
        }
    }
    return std::nullopt;
}

std::optional<std::uint32_t> readFrameCode(const std::vector<Pixel>& row, const FoundBar& bar) {
    const int bright = brightness(row, bar, whiteCell);
    const int dark = brightness(row, bar, blackCell);
    if (bright - dark < leastContrast) return std::nullopt;
    const int middle = (bright + dark) / 2;
    std::uint32_t code = 0;
    for (std::size_t bit = 0; bit < codeBits; ++bit) {
        const bool set = brightness(row, bar, firstBit + bit) > middle;
        const bool inverse = brightness(row, bar, firstBit + codeBits + bit) > middle;
        if (set == inverse) return std::nullopt;
        if (set) code |= 1U << bit;
    }
    return code;
}

} // namespace tavelo::bench
