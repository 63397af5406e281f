// SPDX-License-Identifier: MIT
// Values written and read back by name.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tavelo {

/// Stores an object's values by name.  Thread-bound.  A key written twice holds the later value.
class KeyedArchiver {
public:
    virtual ~KeyedArchiver() = default;

    virtual void encodeText(std::string_view value, std::string_view key) = 0;
    virtual void encodeBool(bool value, std::string_view key) = 0;
    virtual void encodeInt64(std::int64_t value, std::string_view key) = 0;
};

/// Reads an object's values by name.  Thread-bound.  A key that is absent or holds another type gives the
/// empty text, false or 0.
class KeyedUnarchiver {
public:
    virtual ~KeyedUnarchiver() = default;

    virtual std::string decodeText(std::string_view key) const = 0;
    virtual bool decodeBool(std::string_view key) const = 0;
    virtual std::int64_t decodeInt64(std::string_view key) const = 0;
};

/// An archive in memory.  Reentrant.
class KeyedArchive : public KeyedArchiver, public KeyedUnarchiver {
public:
    using Value = std::variant<std::string, bool, std::int64_t>;

    void encodeText(std::string_view value, std::string_view key) override;
    void encodeBool(bool value, std::string_view key) override;
    void encodeInt64(std::int64_t value, std::string_view key) override;

    std::string decodeText(std::string_view key) const override;
    bool decodeBool(std::string_view key) const override;
    std::int64_t decodeInt64(std::string_view key) const override;

    const std::map<std::string, Value, std::less<>>& values() const { return values_; }

private:
    template <typename T>
    T decode(std::string_view key) const;

    std::map<std::string, Value, std::less<>> values_;
};

} // namespace tavelo
