// SPDX-License-Identifier: MIT
#include "cli/completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <string_view>
#include <system_error>

namespace tavelo {
namespace {

struct Typed {
    Verb* verb = nullptr;
    SessionOptions options;
    std::vector<std::string> words; ///< after the verb, without options
    std::string option;             ///< whose value is being typed, or empty
    std::string begun;
};

bool takesValue(const CLI::App& app, const std::string& option) {
    const CLI::Option* found = app.get_option_no_throw(option);
    return found != nullptr && found->get_items_expected_max() > 0;
}

const CLI::App* commandOf(const CLI::App& app, const std::string& name) {
    for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; }))
        if (each->get_name() == name) return each;
    return nullptr;
}

// As many as the command line takes; 0 for any other text, which it then complains about.
int virtualCameras(const std::string& text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && number > 0 && number <= mostVirtualCameras ? number : 0;
}

class WordReader {
public:
    WordReader(const CLI::App& app, const std::vector<std::unique_ptr<Verb>>& verbs)
        : app_(app),
          verbs_(verbs) {}

    Typed read(const std::vector<std::string>& words) {
        for (std::size_t i = 0; i + 1 < words.size(); ++i)
            i += take(words[i], words[i + 1], i + 2 < words.size());
        if (!words.empty()) typed_.begun = words.back();
        return std::move(typed_);
    }

    const CLI::App& command() const { return command_ != nullptr ? *command_ : app_; }

private:
    // Returns how many more words belong to this one.
    std::size_t take(const std::string& word, const std::string& next, bool nextIsComplete) {
        const CLI::App& owner = takesValue(app_, word) ? app_ : command();
        if (word.starts_with('-')) {
            if (!takesValue(owner, word)) return 0;
            if (!nextIsComplete) typed_.option = word;
            setOption(word, next);
            return nextIsComplete ? 1 : 0;
        }
        if (typed_.verb == nullptr) {
            command_ = commandOf(app_, word);
            const auto verb =
                std::ranges::find(verbs_, word, [](const auto& each) { return std::string(each->name()); });
            if (verb != verbs_.end()) typed_.verb = verb->get();
        } else {
            typed_.words.push_back(word);
        }
        return 0;
    }

    void setOption(const std::string& option, const std::string& value) {
        if (option == "-c" || option == "--camera") typed_.options.camera = value;
        if (option == "--like") typed_.options.like = value;
        if (option == "--virtual-cameras") typed_.options.cameras.virtualCameras = virtualCameras(value);
        for (const TransportDescription& each : cameraTransports())
            if (option == "--transport" && each.name == value)
                typed_.options.cameras.transport = each.transport;
    }

    const CLI::App& app_;
    const std::vector<std::unique_ptr<Verb>>& verbs_;
    const CLI::App* command_ = nullptr;
    Typed typed_;
};

void addOptions(std::vector<Candidate>& found, const CLI::App& app) {
    for (const CLI::Option* option : app.get_options())
        for (const std::string& name : option->get_lnames())
            found.push_back({"--" + name, option->get_description()});
}

std::vector<Candidate> cameraCandidates(Session& session) {
    std::vector<Candidate> found;
    for (const auto& camera : session.cameras()) {
        found.push_back({camera->uniqueID(), camera->localizedName()});
        if (!camera->node().empty()) found.push_back({camera->node(), camera->localizedName()});
    }
    return found;
}

std::vector<Candidate> soundCandidates(Session& session) {
    std::vector<Candidate> found{{"off"}, {"auto", "the camera's own microphone"}};
    const auto sounds = session.sounds();
    Error ignored;
    for (const Microphone& each : sounds ? sounds->microphones(ignored) : std::vector<Microphone>())
        found.push_back({each.name, each.description});
    return found;
}

std::vector<Candidate> valueCandidates(Session& session, const std::string& option) {
    if (option == "-c" || option == "--camera" || option == "--to-camera") return cameraCandidates(session);
    if (option == "--sound") return soundCandidates(session);
    if (option == "--mirror") return {{"on"}, {"off"}};
    std::vector<Candidate> found;
    if (option == "--transport")
        for (const TransportDescription& each : cameraTransports())
            found.push_back({each.name, each.meaning});
    if (option == "--picture")
        for (const PictureSourceDescription& each : pictureSources())
            found.push_back({each.name, each.meaning});
    return found;
}

std::vector<Candidate> candidatesFor(const CLI::App& app, const CLI::App& command,
                                     const std::vector<std::unique_ptr<Verb>>& verbs, Typed& typed,
                                     Session& session) {
    if (!typed.option.empty()) return valueCandidates(session, typed.option);
    std::vector<Candidate> found;
    if (typed.begun.starts_with('-')) {
        addOptions(found, app);
        if (&command != &app) addOptions(found, command);
        return found;
    }
    if (typed.verb == nullptr) {
        for (const auto& verb : verbs)
            found.push_back({verb->name(), verb->help()});
        return found;
    }
    return typed.verb->candidates(session, typed.words, typed.begun);
}

} // namespace

int printCandidates(const CLI::App& app, const std::vector<std::unique_ptr<Verb>>& verbs,
                    const std::vector<std::string>& words, const SessionEnvironment& environment) {
    WordReader reader(app, verbs);
    Typed typed = reader.read(words);
    std::vector<Candidate> found;
    // A shell that completes a word shows no messages.
    SessionEnvironment quiet = environment;
    quiet.warn = {};
    try {
        Session session(typed.options, quiet);
        found = candidatesFor(app, reader.command(), verbs, typed, session);
    } catch (const std::exception&) {
        found.clear();
    }
    for (const Candidate& each : found)
        if (each.word.starts_with(typed.begun))
            environment.print(each.meaning.empty() ? each.word + '\n'
                                                   : each.word + '\t' + each.meaning + '\n');
    return 0;
}

} // namespace tavelo
