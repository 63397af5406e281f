// SPDX-License-Identifier: MIT
// Compares decoded pictures of a virtual camera with what its firmware draws for the frame numbers that they
// show.  Reads raw RGB pictures from standard input and prints a line for each:
//     NUMBER MEAN WORST
// NUMBER is the number on its plate, or -1 if unreadable; MEAN the mean difference of a pixel's channel;
// WORST the largest difference of a channel's mean over 8 by 8 pixels, which chroma subsampling does not
// affect.
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "platform/virtual/firmware/virtual_camera_firmware.h"
#include "platform/virtual/firmware/virtual_camera_model.h"
#include "platform/virtual/picture/picture_font.h"
#include "platform/virtual/picture/picture_instruments.h"
#include "platform/virtual/picture/virtual_picture.h"

namespace {

using namespace tavelo;

constexpr std::size_t channels = 3;
constexpr std::size_t block = 8;
constexpr std::size_t frameDigits = 6;
// Smaller pictures have no room for the plate.
constexpr std::size_t leastWidth = 160;
constexpr std::size_t leastHeight = 120;

struct Task {
    int camera = 1;
    std::size_t width = 0;
    std::size_t height = 0;
    bool mirrored = false;
    int shift = 0; ///< compares with the picture this many numbers later
};

/// RGB, three bytes per pixel.
struct Picture {
    std::size_t width;
    std::size_t height;
    std::vector<std::uint8_t> bytes;

    Picture(std::size_t w, std::size_t h) : width(w), height(h), bytes(w * h * channels) {}
    std::uint8_t* at(std::size_t x, std::size_t y) { return &bytes[(y * width + x) * channels]; }
    const std::uint8_t* at(std::size_t x, std::size_t y) const { return &bytes[(y * width + x) * channels]; }
};

struct Difference {
    double mean = 0;
    double light = 0;
    double colour = 0;
};

void mirror(Picture& picture) {
    for (std::size_t y = 0; y < picture.height; ++y)
        for (std::size_t x = 0; x < picture.width / 2; ++x)
            std::swap_ranges(picture.at(x, y), picture.at(x, y) + channels,
                             picture.at(picture.width - 1 - x, y));
}

// ---------------------------------------------------------------- the number on the plate

/// Reads the digits from the brightness of each dot, at the positions where the firmware draws them.
class NumberPlate {
public:
    NumberPlate(std::size_t width, std::size_t height) : dot_(std::max<std::size_t>(height / 120, 1)) {
        const Rectangle plate = Instruments(1, width, height).areas().back();
        left_ = plate.left + 3 * dot_;
        top_ = plate.top + (plate.height - std::min(plate.height, glyphHeight * dot_)) / 2;
    }

    /// -1 if the dots do not form a digit.
    long read(const Picture& picture) const {
        long number = 0;
        for (std::size_t place = 0; place < frameDigits; ++place) {
            const std::optional<int> digit = digitAt(picture, left_ + place * glyphAdvance * dot_);
            if (!digit) return -1;
            number = number * 10 + *digit;
        }
        return number;
    }

private:
    using Dots = std::array<std::array<bool, glyphWidth>, glyphHeight>;

    int lightOf(const Picture& picture, std::size_t left, std::size_t top) const {
        int sum = 0;
        for (std::size_t y = top; y < top + dot_; ++y)
            for (std::size_t x = left; x < left + dot_; ++x)
                sum += picture.at(x, y)[1];
        return sum / static_cast<int>(dot_ * dot_);
    }

    std::optional<int> digitAt(const Picture& picture, std::size_t left) const {
        constexpr int betweenPlateAndInk = 170;
        Dots dots{};
        for (std::size_t row = 0; row < glyphHeight; ++row)
            for (std::size_t column = 0; column < glyphWidth; ++column)
                dots[row][column] =
                    lightOf(picture, left + column * dot_, top_ + row * dot_) > betweenPlateAndInk;
        for (int digit = 0; digit < 10; ++digit)
            if (isDigit(dots, static_cast<char>('0' + digit))) return digit;
        return {};
    }

    static bool isDigit(const Dots& dots, char digit) {
        for (std::size_t row = 0; row < glyphHeight; ++row)
            for (std::size_t column = 0; column < glyphWidth; ++column)
                if (dots[row][column] != glyphDot(digit, column, row)) return false;
        return true;
    }

    std::size_t dot_;
    std::size_t left_ = 0;
    std::size_t top_ = 0;
};

// ---------------------------------------------------------------- the picture

/// Draws the pictures of a camera's firmware with default settings.
class Model {
public:
    explicit Model(const Task& task)
        : settings_(VirtualCameraFirmware(virtualCameraModel(task.camera)).pictureSettings()),
          painter_(task.camera),
          bgra_(task.width * task.height * 4),
          picture_(task.width, task.height) {}

    const Picture& draw(std::uint64_t number) {
        painter_.draw(number, settings_, bgra_.data(), picture_.width, picture_.height, picture_.width * 4);
        for (std::size_t i = 0; i < picture_.width * picture_.height; ++i)
            for (std::size_t channel = 0; channel < channels; ++channel)
                picture_.bytes[i * channels + channel] = bgra_[i * 4 + 2 - channel];
        return picture_;
    }

private:
    const PictureSettings settings_;
    VirtualPicture painter_;
    std::vector<std::uint8_t> bgra_;
    Picture picture_;
};

/// Means over the pixels of a block.
struct BlockDifference {
    double light = 0;
    double colour = 0; ///< in the channel that differs most
};

BlockDifference blockDifference(const Picture& a, const Picture& b, std::size_t left, std::size_t top) {
    std::array<double, channels> sums{};
    const std::size_t right = std::min(left + block, a.width);
    const std::size_t bottom = std::min(top + block, a.height);
    for (std::size_t y = top; y < bottom; ++y)
        for (std::size_t x = left; x < right; ++x)
            for (std::size_t channel = 0; channel < channels; ++channel)
                sums[channel] += a.at(x, y)[channel] - b.at(x, y)[channel];
    const auto pixels = static_cast<double>((right - left) * (bottom - top));
    const auto [red, green, blue] = sums;
    return {std::abs(0.299 * red + 0.587 * green + 0.114 * blue) / pixels,
            std::max({std::abs(red), std::abs(green), std::abs(blue)}) / pixels};
}

Difference differenceOf(const Picture& a, const Picture& b) {
    Difference difference;
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < a.bytes.size(); ++i)
        sum += static_cast<std::uint64_t>(std::abs(a.bytes[i] - b.bytes[i]));
    difference.mean = static_cast<double>(sum) / static_cast<double>(a.bytes.size());
    for (std::size_t y = 0; y < a.height; y += block)
        for (std::size_t x = 0; x < a.width; x += block) {
            const BlockDifference here = blockDifference(a, b, x, y);
            difference.light = std::max(difference.light, here.light);
            difference.colour = std::max(difference.colour, here.colour);
        }
    return difference;
}

// ---------------------------------------------------------------- the program

template <typename Number>
bool readNumber(std::string_view word, Number& number) {
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc() && end == word.data() + word.size();
}

std::optional<Task> taskOf(std::span<char*> words) {
    Task task;
    if (words.size() < 3 || !readNumber(words[0], task.camera) || !readNumber(words[1], task.width) ||
        !readNumber(words[2], task.height) || task.width < leastWidth || task.height < leastHeight)
        return {};
    for (std::size_t i = 3; i < words.size(); ++i) {
        const std::string_view word = words[i];
        if (word == "--mirrored")
            task.mirrored = true;
        else if (word != "--shift" || ++i == words.size() || !readNumber(words[i], task.shift))
            return {};
    }
    return task;
}

// False if the input ends within a picture.
bool compareAll(const Task& task) {
    const NumberPlate plate(task.width, task.height);
    Model model(task);
    Picture seen(task.width, task.height);
    while (const std::size_t count = std::fread(seen.bytes.data(), 1, seen.bytes.size(), stdin)) {
        if (count != seen.bytes.size()) return false;
        if (task.mirrored) mirror(seen);
        const long number = plate.read(seen);
        Difference difference{255, 255, 255};
        if (number >= 0 && number + task.shift >= 0)
            difference = differenceOf(seen, model.draw(static_cast<std::uint64_t>(number + task.shift)));
        std::printf("%ld %.2f %.2f %.2f\n", number, difference.mean, difference.light, difference.colour);
    }
    return true;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const auto task = taskOf(std::span(arguments, static_cast<std::size_t>(argumentCount)).subspan(1));
    if (!task) {
        std::fputs("usage: movie_check CAMERA WIDTH HEIGHT [--mirrored] [--shift NUMBERS] <PICTURES\n",
                   stderr);
        return 2;
    }
    if (!compareAll(*task)) {
        std::fputs("movie_check: the last picture is cut off\n", stderr);
        return 1;
    }
    return 0;
}
