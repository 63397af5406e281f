// SPDX-License-Identifier: MIT
#include "extensions/json/json_part.h"

#include <algorithm>
#include <utility>

namespace tavelo {

using Json = nlohmann::json;

namespace {

// A key that somebody else wrote, for a message.
std::string shown(const std::string& key) {
    constexpr std::size_t longest = 40;
    std::string text = key.substr(0, longest);
    std::ranges::replace_if(
        text,
        [](char letter) {
            return !isPrintable({&letter, 1});
        },
        '?');
    return "\"" + text + "\"";
}

} // namespace

JsonPart::JsonPart(Mistake& mistake, const Json& json, std::string place)
    : mistake_(mistake),
      json_(json),
      place_(std::move(place)) {
    if (!json.is_object()) mistake.note(place_, "it is no object");
}

JsonPart::JsonPart(Mistake& mistake, const Json& json, std::string place,
                   std::initializer_list<std::string_view> keys)
    : JsonPart(mistake, json, std::move(place)) {
    if (!json.is_object()) return;
    for (const auto& [key, value] : json.items())
        if (std::ranges::find(keys, key) == keys.end())
            mistake.note(place_, "the key " + shown(key) + " is unknown");
}

void JsonPart::fail(std::string_view key, std::string_view reason) const {
    mistake_.note(place_, std::string(key) + ": " + std::string(reason));
}

const Json* JsonPart::member(const char* key) const {
    if (has(key)) return &json_[key];
    fail(key, "missing");
    return nullptr;
}

std::string JsonPart::text(const char* key, std::size_t longest) const {
    const Json* value = member(key);
    const auto* text = value != nullptr ? value->get_ptr<const std::string*>() : nullptr;
    if (text == nullptr)
        fail(key, "it is no text");
    else if (text->empty() || text->size() > longest)
        fail(key, "it has not 1 to " + std::to_string(longest) + " bytes");
    else if (!isPrintable(*text))
        fail(key, "it is not printable");
    else
        return *text;
    return {};
}

std::int64_t JsonPart::number(const char* key, std::int64_t least, std::int64_t most) const {
    const Json* value = member(key);
    if (value == nullptr) return 0;
    // Numbers beyond 63 bits are unsigned to the parser, or no whole numbers.
    const bool fits = value->is_number_integer() &&
                      (!value->is_number_unsigned() || value->get<std::uint64_t>() <= INT64_MAX);
    const std::int64_t number = fits ? value->get<std::int64_t>() : 0;
    if (fits && number >= least && number <= most) return number;
    fail(key, "it is no whole number from " + std::to_string(least) + " to " + std::to_string(most));
    return 0;
}

std::optional<std::int64_t> JsonPart::numberIfAny(const char* key, std::int64_t least,
                                                  std::int64_t most) const {
    return has(key) ? std::optional(number(key, least, most)) : std::nullopt;
}

bool JsonPart::flag(const char* key) const {
    const Json* value = member(key);
    if (value == nullptr) return false;
    if (!value->is_boolean()) fail(key, "it is neither true nor false");
    return value->is_boolean() && value->get<bool>();
}

const Json* JsonPart::list(const char* key, std::size_t longest) const {
    const Json* value = member(key);
    if (value == nullptr) return nullptr;
    if (value->is_array() && !value->empty() && value->size() <= longest) return value;
    fail(key, "it is no list of 1 to " + std::to_string(longest));
    return nullptr;
}

const Json* JsonPart::object(const char* key) const {
    const Json* value = member(key);
    if (value == nullptr || value->is_object()) return value;
    fail(key, "it is no object");
    return nullptr;
}

bool isPrintable(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) {
        const auto code = static_cast<unsigned char>(byte);
        return code >= 0x20 && code != 0x7F;
    });
}

} // namespace tavelo
