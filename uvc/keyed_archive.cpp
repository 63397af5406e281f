// SPDX-License-Identifier: MIT
#include "uvc/keyed_archive.h"

namespace tavelo {

void KeyedArchive::encodeText(std::string_view value, std::string_view key) {
    values_.insert_or_assign(std::string(key), std::string(value));
}

void KeyedArchive::encodeBool(bool value, std::string_view key) {
    values_.insert_or_assign(std::string(key), value);
}

void KeyedArchive::encodeInt64(std::int64_t value, std::string_view key) {
    values_.insert_or_assign(std::string(key), value);
}

std::string KeyedArchive::decodeText(std::string_view key) const {
    return decode<std::string>(key);
}

bool KeyedArchive::decodeBool(std::string_view key) const {
    return decode<bool>(key);
}

std::int64_t KeyedArchive::decodeInt64(std::string_view key) const {
    return decode<std::int64_t>(key);
}

template <typename T>
T KeyedArchive::decode(std::string_view key) const {
    const auto found = values_.find(key);
    if (found == values_.end()) return T{};
    const T* value = std::get_if<T>(&found->second);
    return value != nullptr ? *value : T{};
}

} // namespace tavelo
