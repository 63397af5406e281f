// SPDX-License-Identifier: MIT
#include "extensions/json/json_text.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <vector>

namespace tavelo {
namespace {

using Json = nlohmann::json;

constexpr int mostLevels = 8; // a description has five

std::string lineAt(std::string_view text, std::size_t position) {
    const auto before = text.substr(0, std::min(position, text.size()));
    return "line " + std::to_string(1 + std::ranges::count(before, '\n')) + ": ";
}

// Notes the first thing that the parser itself lets pass.
class Watch {
public:
    bool see(int depth, Json::parse_event_t event, const Json& parsed) {
        using Event = Json::parse_event_t;
        if (depth > mostLevels) note("more levels than a description has");
        if (event == Event::object_start) keys_.emplace_back();
        if (event == Event::object_end && !keys_.empty()) keys_.pop_back();
        if (event == Event::key && !keys_.empty()) {
            const auto& key = parsed.get_ref<const std::string&>();
            if (!keys_.back().insert(key).second) note("\"" + key + "\" stands twice in one object");
        }
        return problem_.empty();
    }

    const std::string& problem() const { return problem_; }

private:
    void note(std::string problem) {
        if (problem_.empty()) problem_ = std::move(problem);
    }

    std::vector<std::set<std::string>> keys_; // of the objects that are being read
    std::string problem_;
};

} // namespace

std::optional<Json> parseJson(std::string_view text, std::string& reason) {
    Watch watch;
    const auto see = [&watch](int depth, Json::parse_event_t event, Json& parsed) {
        return watch.see(depth, event, parsed);
    };
    try {
        Json parsed = Json::parse(text.begin(), text.end(), see);
        reason = watch.problem();
        return reason.empty() ? std::optional(std::move(parsed)) : std::nullopt;
    } catch (const Json::parse_error& error) {
        // The position counts from 1, and is that of the character that does not fit.
        reason = lineAt(text, error.byte > 0 ? error.byte - 1 : 0) + "it is no JSON from here on";
    } catch (const Json::out_of_range&) {
        reason = "a number is too large";
    }
    return std::nullopt;
}

} // namespace tavelo
