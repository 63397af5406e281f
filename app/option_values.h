// SPDX-License-Identifier: MIT
// Checks and reads the values of options.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/capture.h"

namespace tavelo {

/// Of "1280x720"; nothing if it is no size.
std::optional<CaptureFormatRequest::Size> parseSize(std::string_view text);

extern const CLI::Validator sizeValidator;
extern const CLI::Validator fourccValidator;
extern const CLI::Validator fileValidator;
extern const CLI::Validator soundValidator;
extern const CLI::Validator cameraValidator;

/// Both ends included.
CLI::Validator decimalWithin(double lowest, double highest);

/// Maps names to values.  CLI11's own transformer would also accept an enumerator's number.
template <typename Value>
class NamedValues {
public:
    NamedValues(std::map<std::string, Value> values) : values_(std::move(values)) {}

    void addTo(CLI::Option* option) const {
        std::vector<std::string> names;
        for (const auto& [name, value] : values_)
            names.push_back(name);
        option->check(CLI::IsMember(names))->type_name("NAME");
    }

    Value of(const std::string& name, Value otherwise) const {
        const auto found = values_.find(name);
        return found != values_.end() ? found->second : otherwise;
    }

private:
    std::map<std::string, Value> values_;
};

} // namespace tavelo
