// SPDX-License-Identifier: MIT
// Columns of text.
#pragma once

#include <string>
#include <vector>

namespace tavelo {

/// Rows of cells; columns are aligned to the left, two spaces apart, counting characters of UTF-8.  The last
/// cell of a row is not padded.  Reentrant.
class TextTable {
public:
    void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }

    std::string text() const;

private:
    std::vector<std::vector<std::string>> rows_;
};

} // namespace tavelo
