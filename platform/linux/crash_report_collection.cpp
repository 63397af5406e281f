// SPDX-License-Identifier: MIT
// At a later start, when all is safe again: raw reports become readable ones.
#include <cxxabi.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iomanip>
#include <memory>
#include <optional>
#include <sstream>
#include <system_error>

#include "platform/linux/crash_report.h"
#include "platform/linux/whole_file.h"

namespace tavelo {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostReportBytes = std::size_t{256} * 1024;
constexpr std::size_t keptReports = 5;

struct Free {
    void operator()(char* text) const { std::free(text); }
};

/// "program(_ZN3abc+0x12) [0x34]" with the function as its source has it.
std::string readable(const std::string& line) {
    const auto open = line.rfind("(_Z");
    const auto plus = open == std::string::npos ? open : line.find('+', open);
    if (plus == std::string::npos) return line;
    const std::string symbol = line.substr(open + 1, plus - open - 1);
    int status = 0;
    const std::unique_ptr<char, Free> name(abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status));
    return status == 0 ? line.substr(0, open + 1) + name.get() + line.substr(plus) : line;
}

std::optional<std::time_t> numberAfter(const std::string& line, std::string_view name) {
    if (!line.starts_with(name)) return std::nullopt;
    std::int64_t number = 0;
    const char* const end = line.data() + line.size();
    if (std::from_chars(line.data() + name.size(), end, number).ec != std::errc()) return std::nullopt;
    return number;
}

std::string localTime(std::time_t time, const char* format) {
    std::tm parts{};
    std::ostringstream text;
    if (::localtime_r(&time, &parts) != nullptr) text << std::put_time(&parts, format);
    return text.str();
}

struct Report {
    std::time_t time = 0;
    std::string text;
};

Report readableReport(const std::string& raw) {
    std::istringstream lines(raw);
    Report report;
    for (std::string line; std::getline(lines, line);) {
        if (const auto time = numberAfter(line, "time ")) {
            report.time = *time;
            line = "time " + localTime(*time, "%Y-%m-%d %H:%M:%S");
        } else if (const auto signal = numberAfter(line, "signal ")) {
            line = "signal " + std::to_string(*signal) + ", " + ::strsignal(static_cast<int>(*signal));
        }
        report.text += readable(line) + "\n";
    }
    return report;
}

/// Its name sorts by time.  "/state/tavelo-control-panel.123.crash" becomes
/// "/state/crash-20260102-030405.123.txt".
std::string pathOfReport(const fs::path& raw, std::time_t time) {
    const std::string process = raw.stem().extension().string();
    return raw.parent_path() / ("crash-" + localTime(time, "%Y%m%d-%H%M%S") + process + ".txt");
}

std::vector<fs::path> filesIn(const std::string& folder, std::string_view prefix, std::string_view suffix) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.starts_with(prefix) && name.ends_with(suffix)) found.push_back(entry->path());
    }
    std::ranges::sort(found);
    return found;
}

void keepTheNewest(const std::string& folder) {
    std::error_code error;
    const std::vector<fs::path> reports = filesIn(folder, "crash-", ".txt");
    for (std::size_t index = 0; index + keptReports < reports.size(); ++index)
        fs::remove(reports[index], error);
}

} // namespace

std::vector<std::string> collectCrashReports(const std::string& folder, std::string_view program) {
    std::vector<std::string> collected;
    for (const fs::path& raw : filesIn(folder, std::string(program) + ".", ".crash")) {
        Error error;
        const auto content = readWholeFile(raw.string(), mostReportBytes, error);
        if (!content) continue;
        const Report report = readableReport(content->bytes);
        const std::string path = pathOfReport(raw, report.time);
        const bool isEmpty = content->bytes.empty(); // the disk was full
        if (!isEmpty && !replaceWholeFile(path, report.text, error)) continue;
        ::unlink(raw.c_str());
        if (!isEmpty) collected.push_back(path);
    }
    std::ranges::sort(collected);
    keepTheNewest(folder);
    return collected;
}

} // namespace tavelo
