// SPDX-License-Identifier: MIT
#include "app/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <iomanip>
#include <map>
#include <sstream>
#include <string_view>

#include "platform/common/format_choice.h"

namespace tavelo {
namespace {

constexpr int usageError = 2;
constexpr int maxVirtualCameras = 8;

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

const CLI::Validator cameraValidator(
    [](const std::string& text) {
        const bool isZeroOrEmpty = text.find_first_not_of('0') == std::string::npos;
        return isZeroOrEmpty ? "not a camera's number, from 1, or identifier: " + text : std::string();
    },
    "", "camera");

/// Maps names to values.  CLI11's own transformer would also accept an enumerator's number.
template <typename Value>
class NamedValues {
public:
    NamedValues(std::map<std::string, Value> values) : values_(std::move(values)) {}

    void addTo(CLI::Option* option) const {
        std::vector<std::string> names;
        for (const auto& [name, value] : values_)
            names.push_back(name);
        option->check(CLI::IsMember(names))->type_name("NAME");
    }

    Value of(const std::string& name, Value otherwise) const {
        const auto found = values_.find(name);
        return found != values_.end() ? found->second : otherwise;
    }

private:
    std::map<std::string, Value> values_;
};

NamedValues<CameraTransport> namedTransports() {
    std::map<std::string, CameraTransport> names;
    for (const TransportDescription& row : cameraTransports())
        names.emplace(row.name, row.transport);
    return names;
}

std::string transportHelp() {
    std::string help = "How to access cameras: ";
    const char* between = "";
    for (const TransportDescription& row : cameraTransports()) {
        help += between + row.name + " (" + row.meaning + ")";
        between = " or ";
    }
    return help;
}

const NamedValues<CameraTransport> transports = namedTransports();
const NamedValues<RendererChoice> renderers({{"auto", RendererChoice::automatic},
                                             {"gl", RendererChoice::gl},
                                             {"cpu", RendererChoice::cpu}});

std::string failureMessage(const CLI::App* app, const CLI::Error& error) {
    std::string line = app->get_name() + ": " + error.what() + " (--help lists the options)";
    std::ranges::replace(line, '\n', ' ');
    return line + '\n';
}

// Declares the options and collects their values.
class Options {
public:
    explicit Options(const std::string& version) {
        app_.set_version_flag("--version", "tavelo-control-panel " + version);
        addCameras();
        addWindow();
        addHeadlessCapture();
        app_.add_flag("--manual", line_.manual, "Show the manual in the desktop's browser")
            ->excludes(screenshot_)
            ->excludes(service_)
            ->excludes(snapshot_)
            ->excludes(record_);
        app_.failure_message(failureMessage);
    }

    std::variant<CommandLine, CommandLineExit> parse(int argc, const char* const* argv) {
        try {
            app_.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            std::ostringstream output;
            std::ostringstream diagnostics;
            const int status = app_.exit(error, output, diagnostics);
            return CommandLineExit{status == 0 ? 0 : usageError, output.str(), diagnostics.str()};
        }
        return result();
    }

private:
    void addCameras() {
        CLI::Option* const virtualCameras =
            app_.add_option("--virtual-cameras", line_.cameras.virtualCameras,
                            "Use this many virtual cameras instead of real ones")
                ->check(CLI::Range(1, maxVirtualCameras));
        CLI::Option* const like =
            app_.add_option("--like", like_,
                            "Make them like the camera in this pack, which \"taveloctl probe --pack\" wrote")
                ->check(fileValidator)
                ->type_name("FILE");
        CLI::Option* const transport = app_.add_option("--transport", transport_, transportHelp())
                                           ->excludes(virtualCameras)
                                           ->excludes(like);
        transports.addTo(transport);
        app_.add_option("--size", size_, "Picture size to ask the camera for")
            ->check(sizeValidator)
            ->type_name("WIDTHxHEIGHT");
        app_.add_option("--fps", framesPerSecond_, "Frames a second to ask the camera for")
            ->check(decimalWithin(1, 1000))
            ->type_name("NUMBER");
        app_.add_option("--format", format_, "Pixel format to ask the camera for")
            ->check(fourccValidator)
            ->type_name("FOURCC");
        app_.add_flag("--verbose", line_.verbose,
                      "Print camera failures and their reasons on the standard error stream");
    }

    void addWindow() {
        renderers.addTo(app_.add_option("--renderer", renderer_, "What draws the preview"));
        screenshot_ = app_.add_option("--screenshot", line_.screenshot,
                                      "Write a picture of the window to this PNG file once the camera's "
                                      "picture shows, then quit")
                          ->check(fileValidator)
                          ->type_name("FILE");
        service_ =
            app_.add_flag("--service", line_.service,
                          "Serve other programs on the session bus, and show the window only when asked; "
                          "the bus starts it so")
                ->excludes(screenshot_);
    }

    void addHeadlessCapture() {
        snapshot_ = app_.add_option("--snapshot", snapshotFile_,
                                    "Write the camera's picture to this PNG file, without a window")
                        ->check(fileValidator)
                        ->type_name("FILE")
                        ->excludes(screenshot_)
                        ->excludes(service_);
        record_ = app_.add_option("--record", recordFile_,
                                  "Record the camera to this MPEG-4 file, without sound and without a "
                                  "window, until Ctrl+C")
                      ->check(fileValidator)
                      ->type_name("FILE")
                      ->excludes(screenshot_)
                      ->excludes(service_)
                      ->excludes(snapshot_);
        duration_ = app_.add_option("--duration", seconds_, "Record for this many seconds only")
                        ->type_name("SECONDS")
                        ->check(decimalWithin(0.1, 1e6))
                        ->needs(record_);
        camera_ = app_.add_option("--camera", headlessCapture_.camera,
                                  "Snapshot or record this camera: its number, from 1, or its identifier")
                      ->check(cameraValidator)
                      ->type_name("CAMERA");
        mirror_ =
            app_.add_flag("--mirror", headlessCapture_.mirror, "Snapshot or record the mirrored picture");
    }

    std::variant<CommandLine, CommandLineExit> result() {
        if (Error error; !like_.empty() && !useCamerasLike(line_.cameras, like_, error))
            return CommandLineExit{
                usageError,
                {},
                app_.get_name() + ": --like " + like_ + ": " + error.text + " (--help lists the options)\n"};
        line_.cameras.transport = transports.of(transport_, line_.cameras.transport);
        line_.renderer = renderers.of(renderer_, line_.renderer);
        for (const CLI::Option* option : app_.get_options())
            if (option->count() > 0) line_.given.push_back(option->get_name());
        if (!size_.empty()) line_.cameras.format.size = parseSize(size_);
        if (framesPerSecond_ > 0) line_.cameras.format.framesPerSecond = framesPerSecond_;
        if (!format_.empty()) line_.cameras.format.fourcc = format_;
        const bool records = record_->count() > 0;
        if (records || snapshot_->count() > 0) {
            headlessCapture_.kind =
                records ? HeadlessCaptureOptions::Kind::record : HeadlessCaptureOptions::Kind::snapshot;
            headlessCapture_.file = records ? recordFile_ : snapshotFile_;
            if (duration_->count() > 0) headlessCapture_.duration = std::chrono::duration<double>(seconds_);
            line_.headlessCapture = headlessCapture_;
        } else if (const CLI::Option* stray = camera_->count() > 0 ? camera_ : mirror_; stray->count() > 0) {
            const CLI::RequiresError error(stray->get_name(), "--snapshot or --record");
            return CommandLineExit{usageError, {}, failureMessage(&app_, error)};
        }
        return line_;
    }

    CLI::App app_{"Live preview and picture controls for USB webcams.", "tavelo-control-panel"};
    CommandLine line_;
    HeadlessCaptureOptions headlessCapture_;
    std::string like_;
    std::string transport_;
    std::string renderer_;
    std::string size_;
    double framesPerSecond_ = 0;
    std::string format_;
    std::string snapshotFile_;
    std::string recordFile_;
    double seconds_ = 0;
    CLI::Option* screenshot_ = nullptr;
    CLI::Option* service_ = nullptr;
    CLI::Option* snapshot_ = nullptr;
    CLI::Option* record_ = nullptr;
    CLI::Option* duration_ = nullptr;
    CLI::Option* camera_ = nullptr;
    CLI::Option* mirror_ = nullptr;
};

} // namespace

std::variant<CommandLine, CommandLineExit> parseCommandLine(int argc, const char* const* argv,
                                                            const std::string& version) {
    return Options(version).parse(argc, argv);
}

std::string ignoredOptionsLine(const CommandLine& commandLine) {
    if (commandLine.given.empty()) return {};
    std::string names;
    for (const std::string& name : commandLine.given)
        names += (names.empty() ? "" : ", ") + name;
    return "runs already, so these options change nothing: " + names + "; quit it first";
}

} // namespace tavelo
