// SPDX-License-Identifier: MIT
#include "virtual-camera/options.h"

#include <CLI/CLI.hpp>

namespace tavelo {
namespace {

constexpr int maxCameras = 8; // the ports on one hub of the kernel's virtual host controller
constexpr int usageStatus = 2;

} // namespace

std::variant<Options, Message> parseOptions(int argumentCount, const char* const* arguments,
                                            const std::string& version) {
    Options options;
    CLI::App app(
        "Offers virtual USB cameras to this machine's kernel over USB/IP.\n"
        "Attach one with: usbip attach -r 127.0.0.1 -b 1-1",
        "tavelo-virtual-camera");
    app.set_version_flag("--version", "tavelo-virtual-camera " + version);
    app.add_option("--port", options.port, "TCP port on 127.0.0.1; 0 takes a free one and prints it")
        ->type_name("NUMBER")
        ->capture_default_str();
    app.add_option("--cameras", options.cameras, "how many cameras: 1-1, 1-2, ...")
        ->type_name("NUMBER")
        ->check(CLI::Range(1, maxCameras))
        ->capture_default_str();
    CLI::Option* const bulk =
        app.add_flag("--bulk", options.bulk, "stream over a bulk endpoint in place of an isochronous one");
    CLI::Option* const twoFunctions =
        app.add_flag("--two-functions", options.twoFunctions,
                     "give each device a second video function, as cameras N+1 to 2N");
    std::string format;
    CLI::Option* const onlyFormat = app.add_option("--format", format, "offer only this format: YUYV or MJPG")
                                        ->transform(CLI::IsMember({"YUYV", "MJPG"}, CLI::ignore_case))
                                        ->type_name("FOURCC");
    app.add_option(
           "--like", options.like,
           "be like the camera in this pack, which \"taveloctl probe --pack\" wrote: its descriptors, "
           "controls and faults")
        ->type_name("FILE")
        ->excludes(bulk)
        ->excludes(twoFunctions)
        ->excludes(onlyFormat);
    app.add_option("--log", options.log, "append a line for each class request to this file")
        ->type_name("FILE");
    app.add_option("--control", options.control, "take orders on this Unix socket")->type_name("SOCKET");
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::CallForHelp&) {
        return Message{app.help(), 0};
    } catch (const CLI::CallForVersion& asked) {
        return Message{asked.what() + std::string("\n"), 0};
    } catch (const CLI::ParseError& error) {
        return Message{std::string("tavelo-virtual-camera: ") + error.what() + "\n\n" + app.help(),
                       usageStatus};
    }
    if (!format.empty()) options.encoding = format == "YUYV" ? StreamEncoding::yuyv : StreamEncoding::mjpeg;
    return options;
}

std::vector<VirtualCameraModel> modelsFor(const Options& options) {
    std::vector<VirtualCameraModel> models;
    for (int number = 1; number <= options.cameras; ++number) {
        VirtualCameraModel model = virtualCameraModel(number);
        if (options.bulk) model.transport = StreamTransport::bulk;
        if (options.encoding)
            std::erase_if(model.offers,
                          [&](const StreamOffer& offer) { return offer.encoding != *options.encoding; });
        models.push_back(std::move(model));
    }
    return models;
}

} // namespace tavelo
