// SPDX-License-Identifier: MIT
// Reads the values of one JSON object and names the first mistake.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace tavelo {

/// The first mistake of a file.
class Mistake {
public:
    bool isMade() const { return !text_.empty(); }
    const std::string& text() const { return text_; }
    void note(const std::string& place, const std::string& reason) {
        if (!isMade()) text_ = place + reason;
    }

private:
    std::string text_;
};

/// One object.  What is missing or wrong is noted, and 0, empty or null comes back.  The mistake and the JSON
/// must outlive it.
class JsonPart {
public:
    /// An object with any keys.
    /// @param place before each mistake: empty, or "control 2: "
    JsonPart(Mistake& mistake, const nlohmann::json& json, std::string place);
    /// @param keys all that the object may have
    JsonPart(Mistake& mistake, const nlohmann::json& json, std::string place,
             std::initializer_list<std::string_view> keys);

    bool has(const char* key) const { return json_.is_object() && json_.contains(key); }

    /// Printable, and not empty.
    std::string text(const char* key, std::size_t longest) const;
    std::int64_t number(const char* key, std::int64_t least, std::int64_t most) const;
    std::optional<std::int64_t> numberIfAny(const char* key, std::int64_t least, std::int64_t most) const;
    bool flag(const char* key) const;
    const nlohmann::json* list(const char* key, std::size_t longest) const;
    const nlohmann::json* object(const char* key) const;

    void fail(std::string_view key, std::string_view reason) const;

private:
    const nlohmann::json* member(const char* key) const;

    Mistake& mistake_;
    const nlohmann::json& json_;
    const std::string place_;
};

/// Whether it has no control characters; bytes beyond ASCII count as printable.
bool isPrintable(std::string_view text);

} // namespace tavelo
