// SPDX-License-Identifier: MIT
#include "app/option_values.h"

#include <charconv>
#include <cstdint>
#include <iomanip>
#include <sstream>
#include <system_error>

#include "platform/common/format_choice.h"

namespace tavelo {
namespace {

std::optional<std::uint32_t> positiveNumber(std::string_view text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    constexpr std::uint32_t largest = 16384;
    if (error != std::errc() || end != text.data() + text.size() || number == 0 || number > largest)
        return {};
    return number;
}

} // namespace

std::optional<CaptureFormatRequest::Size> parseSize(std::string_view text) {
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos) return {};
    const auto width = positiveNumber(text.substr(0, cross));
    const auto height = positiveNumber(text.substr(cross + 1));
    if (!width || !height) return {};
    return CaptureFormatRequest::Size{*width, *height};
}

const CLI::Validator sizeValidator(
    [](const std::string& text) {
        return parseSize(text) ? std::string() : "not a size such as 1280x720: " + text;
    },
    "", "size");

const CLI::Validator fourccValidator(
    [](const std::string& text) {
        return fourccFromText(text) ? std::string()
                                    : "not a pixel format of {YUYV,UYVY,NV12,I420,GREY,MJPG}: " + text;
    },
    "{YUYV,UYVY,NV12,I420,GREY,MJPG}", "format");

// CLI::Range accepts "nan" for any range.
CLI::Validator decimalWithin(double lowest, double highest) {
    std::ostringstream range;
    range << std::setprecision(9) << '[' << lowest << " - " << highest << ']';
    const auto check = [lowest, highest, range = range.str()](const std::string& text) {
        double number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        const bool isNumber = error == std::errc() && end == text.data() + text.size();
        return isNumber && number >= lowest && number <= highest ? std::string()
                                                                 : "not a number in " + range + ": " + text;
    };
    return CLI::Validator(check, "in " + range.str(), "number");
}

const CLI::Validator fileValidator(
    [](const std::string& text) { return text.empty() ? std::string("no file is named") : std::string(); },
    "", "file");

const CLI::Validator soundValidator(
    [](const std::string& text) { return text.empty() ? std::string("no sound is named") : std::string(); },
    "", "sound");

const CLI::Validator cameraValidator(
    [](const std::string& text) {
        const bool isZeroOrEmpty = text.find_first_not_of('0') == std::string::npos;
        return isZeroOrEmpty ? "not a camera's number, from 1, or identifier: " + text : std::string();
    },
    "", "camera");

} // namespace tavelo
