// SPDX-License-Identifier: MIT
// taveloctl list
#include <CLI/CLI.hpp>
#include <QJsonArray>
#include <cmath>

#include "cli/json_output.h"
#include "cli/verbs.h"

namespace tavelo {
namespace {

std::string rateText(double framesPerSecond) {
    if (framesPerSecond <= 0) return {};
    const double rounded = std::round(framesPerSecond * 10) / 10;
    std::string text = std::to_string(static_cast<long>(rounded));
    const long tenth = std::lround((rounded - std::floor(rounded)) * 10);
    if (tenth != 0) text += "." + std::to_string(tenth);
    return "@" + text;
}

// "YUYV 640x480@30 320x240@30"
std::vector<std::string> formatLines(const std::vector<CaptureFormat>& formats) {
    std::vector<std::string> names;
    std::vector<std::string> lines;
    for (const CaptureFormat& format : formats) {
        std::size_t i = 0;
        while (i < names.size() && names[i] != format.fourcc)
            ++i;
        if (i == names.size()) {
            names.push_back(format.fourcc);
            lines.push_back(format.fourcc);
        }
        lines[i] += " " + std::to_string(format.size.width) + "x" + std::to_string(format.size.height) +
                    rateText(format.framesPerSecond);
    }
    return lines;
}

std::string usersText(const DeviceHolders& holders) {
    std::string text;
    for (const DeviceHolder& holder : holders.seen)
        text +=
            (text.empty() ? "" : ", ") + holder.program + " (process " + std::to_string(holder.process) + ")";
    return text;
}

class ListVerb final : public Verb {
public:
    const char* name() const override { return "list"; }
    const char* help() const override {
        return "List the cameras: identifier, node, place, formats, and the programs that have them open";
    }
    void addOptions(CLI::App& /*command*/) override {}

    void run(Session& session) override {
        if (session.json()) return printJson(session);
        if (session.cameras().empty()) session.print("No camera is plugged in.\n");
        std::size_t number = 0;
        for (const auto& camera : session.cameras())
            session.print(describe(*camera, ++number));
    }

private:
    static void printJson(Session& session) {
        QJsonArray cameras;
        for (const auto& camera : session.cameras())
            cameras.append(cameraJson(*camera, static_cast<std::size_t>(cameras.size()) + 1));
        session.printJson({{QStringLiteral("cameras"), cameras}});
    }

    static std::string describe(const CaptureDevice& camera, std::size_t number) {
        std::string text = std::to_string(number) + "  " + camera.localizedName() + '\n';
        const auto add = [&text](const char* title, const std::string& value) {
            if (!value.empty()) text += std::string("   ") + title + value + '\n';
        };
        add("identifier  ", camera.uniqueID());
        add("node        ", camera.node());
        add("place       ", camera.place());
        for (const std::string& line : formatLines(camera.formats()))
            add("format      ", line);
        add("open in     ", usersText(camera.holders()));
        return text;
    }
};

} // namespace

std::unique_ptr<Verb> makeListVerb() {
    return std::make_unique<ListVerb>();
}

} // namespace tavelo
