// SPDX-License-Identifier: MIT
#include "app/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <map>
#include <sstream>

#include "app/option_values.h"

namespace tavelo {
namespace {

constexpr int usageError = 2;
constexpr int maxVirtualCameras = 8;

NamedValues<CameraTransport> namedTransports() {
    std::map<std::string, CameraTransport> names;
    for (const TransportDescription& row : cameraTransports())
        names.emplace(row.name, row.transport);
    return names;
}

NamedValues<PictureSource> namedPictureSources() {
    std::map<std::string, PictureSource> names;
    for (const PictureSourceDescription& row : pictureSources())
        names.emplace(row.name, row.source);
    return names;
}

template <typename Descriptions>
std::string helpOf(const std::string& question, const Descriptions& rows) {
    std::string help = question + ": ";
    const char* between = "";
    for (const auto& row : rows) {
        help += between + row.name + " (" + row.meaning + ")";
        between = " or ";
    }
    return help;
}

const NamedValues<CameraTransport> transports = namedTransports();
const NamedValues<PictureSource> sources = namedPictureSources();
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
            ->excludes(share_)
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
                ->type_name("NUMBER")
                ->check(CLI::Range(1, maxVirtualCameras));
        CLI::Option* const like =
            app_.add_option("--like", like_,
                            "Make them like the camera in this pack, which \"taveloctl probe --pack\" wrote")
                ->check(fileValidator)
                ->type_name("FILE");
        CLI::Option* const transport =
            app_.add_option("--transport", transport_, helpOf("How to access cameras", cameraTransports()))
                ->excludes(virtualCameras)
                ->excludes(like);
        transports.addTo(transport);
        picture_ = app_.add_option("--picture", pictureSource_,
                                   helpOf("Where their pictures come from", pictureSources()))
                       ->excludes(virtualCameras)
                       ->excludes(like);
        sources.addTo(picture_);
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
        share_ = app_.add_flag("--share", line_.share,
                               "Let other programs choose the picture as a camera, through PipeWire")
                     ->excludes(screenshot_);
    }

    void addHeadlessCapture() {
        snapshot_ = app_.add_option("--snapshot", snapshotFile_,
                                    "Write the camera's picture to this PNG file, without a window")
                        ->check(fileValidator)
                        ->type_name("FILE")
                        ->excludes(screenshot_)
                        ->excludes(service_)
                        ->excludes(share_);
        record_ = app_.add_option("--record", recordFile_,
                                  "Record the camera to this MPEG-4 file, without a window, until Ctrl+C")
                      ->check(fileValidator)
                      ->type_name("FILE")
                      ->excludes(screenshot_)
                      ->excludes(service_)
                      ->excludes(share_)
                      ->excludes(snapshot_);
        duration_ = app_.add_option("--duration", seconds_, "Record for this many seconds only")
                        ->type_name("SECONDS")
                        ->check(decimalWithin(0.1, 1e6))
                        ->needs(record_);
        sound_ =
            app_.add_option("--sound", soundText_,
                            "Record this sound: off, auto (the camera's own microphone, if it has one), or a "
                            "microphone's name")
                ->type_name("NAME")
                ->check(soundValidator)
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
        line_.cameras.pictures = sources.of(pictureSource_, line_.cameras.pictures);
        if (picture_->count() > 0 && line_.cameras.transport != CameraTransport::kernel)
            return CommandLineExit{
                usageError,
                {},
                failureMessage(&app_, CLI::ExcludesError(picture_->get_name(), "--transport usb"))};
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
            if (sound_->count() > 0)
                headlessCapture_.sound = soundChoiceOf(soundText_).value_or(SoundChoice());
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
    std::string pictureSource_;
    std::string renderer_;
    std::string size_;
    double framesPerSecond_ = 0;
    std::string format_;
    std::string snapshotFile_;
    std::string recordFile_;
    double seconds_ = 0;
    CLI::Option* picture_ = nullptr;
    std::string soundText_;
    CLI::Option* screenshot_ = nullptr;
    CLI::Option* service_ = nullptr;
    CLI::Option* share_ = nullptr;
    CLI::Option* snapshot_ = nullptr;
    CLI::Option* record_ = nullptr;
    CLI::Option* duration_ = nullptr;
    CLI::Option* sound_ = nullptr;
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
