// SPDX-License-Identifier: MIT
// String tables, and the names of languages that the environment sets.
//
// Input: the name of a language, a zero byte, and a table.
#include <string>

#include "app/resources/resource_bundle.h"
#include "app/resources/string_table.h"
#include "fuzz_expect.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using tavelo::fuzz::expect;
    tavelo::fuzz::FuzzInput input(data, size);
    const std::string name = tavelo::languageName(input.text());
    expect(!name.empty() && tavelo::languageName(name) == name);
    const tavelo::StringTable table = tavelo::stringTableOf("en", input.restText());
    for (const auto& [key, text] : table.texts)
        expect(table.texts.find(key)->second == text);
    return 0;
}
