// SPDX-License-Identifier: MIT
#include "app/command_line.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <map>
#include <sstream>
#include <string_view>

namespace tavelo {
namespace {

constexpr int usageError = 2;
constexpr int mostVirtualCameras = 8;

std::optional<std::uint32_t> positiveNumber(std::string_view text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    constexpr std::uint32_t largest = 16384;
    if (error != std::errc() || end != text.data() + text.size() || number == 0 || number > largest)
        return {};
    return number;
}

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
    "WIDTHxHEIGHT", "size");

const CLI::Validator fourccValidator(
    [](const std::string& text) {
        return text.size() == 4 ? std::string()
                                : "not a four-character pixel format such as YUYV or MJPG: " + text;
    },
    "FOURCC", "format");

std::string failureMessage(const CLI::App* app, const CLI::Error& error) {
    const std::string& name = app->get_name();
    return name + ": " + error.what() + "\nUsage: " + name + " [OPTIONS]\n" + name +
           " --help lists the options\n";
}

} // namespace

std::variant<CommandLine, CommandLineExit> parseCommandLine(int argc, const char* const* argv) {
    CommandLine result;
    CLI::App app("Live preview and picture controls for USB webcams.", "tavelo-control-panel");
    app.set_version_flag("--version", "tavelo-control-panel 1.0");

    std::string size;
    double framesPerSecond = 0;
    std::string format;
    std::string screenshot;
    const std::map<std::string, RendererChoice> renderers{
        {"auto", RendererChoice::automatic}, {"gl", RendererChoice::gl}, {"cpu", RendererChoice::cpu}};
    const std::map<std::string, CameraTransport> transports{{"kernel", CameraTransport::kernel},
                                                            {"usb", CameraTransport::usb}};
    CLI::Option* const virtualCameras =
        app.add_option("--virtual-cameras", result.backends.virtualCameras,
                       "Show this many virtual cameras in place of the machine's")
            ->check(CLI::Range(1, mostVirtualCameras));
    app.add_option(
           "--transport", result.backends.transport,
           "Who speaks to the cameras: kernel (its driver) or usb (this program, which takes the camera "
           "from the driver while it is shown)")
        ->transform(CLI::CheckedTransformer(transports).description("{kernel,usb}"))
        ->type_name("NAME")
        ->excludes(virtualCameras);
    app.add_option("--renderer", result.renderer, "What draws the preview: auto, gl or cpu")
        ->transform(CLI::CheckedTransformer(renderers).description("{auto,gl,cpu}"))
        ->type_name("NAME");
    app.add_option("--size", size, "Picture size to ask the camera for")->check(sizeValidator)->type_name("");
    app.add_option("--fps", framesPerSecond, "Frames a second to ask the camera for")
        ->check(CLI::Range(1.0, 1000.0));
    app.add_option("--format", format, "Pixel format to ask the camera for")
        ->check(fourccValidator)
        ->type_name("");
    app.add_option(
           "--screenshot", screenshot,
           "Write a picture of the window to this PNG file once the camera's picture shows, then quit")
        ->type_name("FILE");
    app.add_flag("--verbose", result.verbose,
                 "Tell on the standard error stream what cameras refuse and why");

    app.failure_message(failureMessage);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream output;
        std::ostringstream diagnostics;
        const int status = app.exit(error, output, diagnostics);
        return CommandLineExit{status == 0 ? 0 : usageError, output.str(), diagnostics.str()};
    }
    if (!size.empty()) result.backends.format.size = parseSize(size);
    if (framesPerSecond > 0) result.backends.format.framesPerSecond = framesPerSecond;
    if (!format.empty()) result.backends.format.fourcc = format;
    if (!screenshot.empty()) result.screenshot = screenshot;
    return result;
}

} // namespace tavelo
