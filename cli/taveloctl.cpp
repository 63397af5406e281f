// SPDX-License-Identifier: MIT
#include "cli/taveloctl.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <new>
#include <sstream>
#include <utility>

#include "cli/completion.h"
#include "cli/json_output.h"
#include "cli/verbs.h"
#include "platform/linux/printable.h"

namespace tavelo {
namespace {

const char* const introduction =
    "Picture controls, profiles, stills and movies of USB webcams.\n\n"
    "  taveloctl list                       the cameras\n"
    "  taveloctl controls                   what can be set, and to what\n"
    "  taveloctl set brightness=60%         set a control in the camera\n"
    "  taveloctl save 1                     store the current values as profile 1\n"
    "  taveloctl apply 1                    write them to the camera again\n";

// The command line: options of every verb, and one command for each verb.
class CommandLine {
public:
    explicit CommandLine(const std::string& version) {
        app_.set_version_flag("--version", "taveloctl " + version);
        app_.require_subcommand(0, 1);
        app_.fallthrough();
        app_.get_formatter()->label("SUBCOMMAND", "VERB");
        app_.get_formatter()->label("SUBCOMMANDS", "VERBS");
        addOptions();
        for (const auto& verb : verbs_) {
            CLI::App* command = app_.add_subcommand(verb->name(), verb->help());
            verb->addOptions(*command);
            command->group("Verbs");
        }
    }

    // CLI11 takes the arguments from the last to the first.
    void parse(std::vector<std::string> arguments) {
        std::ranges::reverse(arguments);
        app_.parse(arguments);
        if (app_.get_subcommands().empty()) throw CLI::RequiredError("A verb");
    }

    /// For help, version and errors of parse(): what to print, and the status.
    /// @param json whether the user asked for it; parse() may have ended before it came to that
    int explain(const CLI::ParseError& problem, bool json, std::string& output, std::string& error) const {
        if (json && problem.get_exit_code() == 0 && problem.get_name() == "CallForVersion") {
            output = jsonLine({{QStringLiteral("program"), QStringLiteral("taveloctl")},
                               {QStringLiteral("release"), QStringLiteral(TAVELO_VERSION)}});
            return 0;
        }
        std::ostringstream out;
        std::ostringstream err;
        const int status = app_.exit(problem, out, err);
        output = out.str();
        if (status == 0) return 0;
        error = printable(problem.what());
        error += " (taveloctl --help lists the verbs, taveloctl VERB --help their options)";
        return static_cast<int>(ExitStatus::usage);
    }

    const SessionOptions& options() const { return options_; }
    Verb& verb() const {
        const std::string name = app_.get_subcommands().front()->get_name();
        return **std::ranges::find(verbs_, name, [](const auto& verb) { return std::string(verb->name()); });
    }
    const CLI::App& app() const { return app_; }
    const std::vector<std::unique_ptr<Verb>>& verbs() const { return verbs_; }

private:
    void addOptions() {
        app_.add_option("-c,--camera", options_.camera,
                        "The camera: its number, identifier, name or node; not needed if there is one")
            ->type_name("CAMERA");
        app_.add_flag("--json", options_.json, "Print JSON");
        app_.add_flag("--verbose", options_.verbose, "Print what cameras refuse");
        app_.add_option("--virtual-cameras", options_.cameras.virtualCameras,
                        "Use this many pretended cameras instead of real ones, to try it out")
            ->check(CLI::Range(1, mostVirtualCameras))
            ->type_name("NUMBER");
        app_.add_option("--like", options_.like,
                        "Make them like the camera in this pack, which \"probe --pack\" wrote")
            ->type_name("FILE");
        std::vector<std::string> names;
        for (const TransportDescription& each : cameraTransports())
            names.push_back(each.name);
        const auto choose = [this](const std::string& name) {
            for (const TransportDescription& each : cameraTransports())
                if (each.name == name) options_.cameras.transport = each.transport;
        };
        app_.add_option_function<std::string>("--transport", choose, "How to reach cameras: kernel or usb")
            ->check(CLI::IsMember(names))
            ->type_name("NAME");
    }

    SessionOptions options_;
    std::vector<std::unique_ptr<Verb>> verbs_ = allVerbs();
    CLI::App app_{introduction, "taveloctl"};
};

int runVerb(CommandLine& commandLine, const SessionEnvironment& environment, std::string& error) {
    try {
        Session session(commandLine.options(), environment);
        commandLine.verb().run(session);
        return static_cast<int>(ExitStatus::done);
    } catch (const Failure& failure) {
        error = failure.what();
        return static_cast<int>(failure.status());
    } catch (const std::bad_alloc&) {
        error = "out of memory";
    } catch (const std::exception& unexpected) {
        error = unexpected.what();
    }
    return static_cast<int>(ExitStatus::failed);
}

} // namespace

int runTaveloctl(const std::vector<std::string>& arguments, const std::string& version,
                 const SessionEnvironment& environment, std::string& error) {
    CommandLine commandLine(version);
    if (!arguments.empty() && arguments.front() == completionVerb)
        return printCandidates(commandLine.app(), commandLine.verbs(),
                               {arguments.begin() + 1, arguments.end()}, environment);
    try {
        commandLine.parse(arguments);
    } catch (const CLI::ParseError& problem) {
        std::string output;
        const bool json = std::ranges::find(arguments, "--json") != arguments.end();
        const int status = commandLine.explain(problem, json, output, error);
        environment.print(output);
        return status;
    }
    const int status = runVerb(commandLine, environment, error);
    error = printable(std::move(error)); // it may repeat an argument
    return status;
}

} // namespace tavelo
