// SPDX-License-Identifier: MIT
#include "cli/output_file.h"

#include "cli/failure.h"
#include "platform/linux/whole_file.h"

namespace tavelo {

void writeOutputFile(const std::string& path, const std::string& content) {
    Error error;
    const auto target = followLinks(path, error);
    if (!target || !replaceWholeFile(*target, content, error))
        throw Failure(ExitStatus::failed, path + ": not written: " + error.text);
}

} // namespace tavelo
