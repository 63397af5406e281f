// SPDX-License-Identifier: MIT
#include <algorithm>
#include <set>
#include <utility>

#include <nlohmann/json.hpp>

#include "probe/json/pack.h"
#include "probe/json/pack_words.h"
#include "probe/probe_text.h"

namespace tavelo {
namespace {

using AnyJson = nlohmann::json;

constexpr int mostLevels = 8; // a pack has five
constexpr std::size_t deviceDescriptorLength = 18;
constexpr std::uint32_t highestSpeed = 1'000'000; // megabits per second

std::optional<unsigned> digitOf(char digit) {
    if (digit >= '0' && digit <= '9') return static_cast<unsigned>(digit - '0');
    if (digit >= 'a' && digit <= 'f') return static_cast<unsigned>(digit - 'a') + 10;
    return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> bytesOf(std::string_view text) {
    if (text.size() % 2 != 0) return std::nullopt;
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const auto high = digitOf(text[i]);
        const auto low = digitOf(text[i + 1]);
        if (!high || !low) return std::nullopt;
        bytes.push_back(static_cast<std::uint8_t>(*high << 4U | *low));
    }
    return bytes;
}

std::optional<AnswerKind> outcomeOf(std::string_view text) {
    const auto* found =
        std::ranges::find_if(unanswered, [&](AnswerKind kind) { return outcomeText(kind) == text; });
    return found != unanswered.end() ? std::optional(*found) : std::nullopt;
}

/// Reads members of an object.  After the first mistake everything is empty, and error() names it.
class Reader {
public:
    bool failed() const { return !error_.empty(); }
    const std::string& error() const { return error_; }

    void fail(std::string_view place, std::string_view reason) {
        if (!failed()) error_ = std::string(place) + ": " + std::string(reason);
    }

    const AnyJson& member(const AnyJson& object, const char* name) {
        static const AnyJson none;
        const auto found = object.is_object() ? object.find(name) : object.end();
        if (object.is_object() && found != object.end()) return *found;
        fail(name, "missing");
        return none;
    }

    std::string text(const AnyJson& object, const char* name, std::size_t longest = longestRecordText) {
        const AnyJson& value = member(object, name);
        const auto* text = value.get_ptr<const std::string*>();
        if (text == nullptr) fail(name, "not a text");
        if (text != nullptr && text->size() > longest) fail(name, "too long");
        if (failed()) return {};
        if (!std::ranges::all_of(*text, isPrintableByte)) fail(name, "not printable");
        return *text;
    }

    std::vector<std::uint8_t> bytes(const AnyJson& object, const char* name, std::size_t longest) {
        const auto read = bytesOf(text(object, name, 2 * longest));
        if (!read) fail(name, "not pairs of hexadecimal digits");
        return read.value_or(std::vector<std::uint8_t>());
    }

    template <typename Number>
    Number number(const AnyJson& object, const char* name, std::int64_t least, std::int64_t most) {
        const AnyJson& value = member(object, name);
        const bool fits = value.is_number_integer() &&
                          (!value.is_number_unsigned() || value.get<std::uint64_t>() <= INT64_MAX);
        if (!fits) fail(name, "not a whole number");
        const std::int64_t number = fits ? value.get<std::int64_t>() : 0;
        if (number < least || number > most) fail(name, "out of range");
        return static_cast<Number>(number);
    }

    bool flag(const AnyJson& object, const char* name) {
        const AnyJson& value = member(object, name);
        if (!value.is_boolean()) fail(name, "neither true nor false");
        return value.is_boolean() && value.get<bool>();
    }

    /// Null if it is none.
    const AnyJson* array(const AnyJson& object, const char* name, std::size_t longest) {
        const AnyJson& value = member(object, name);
        if (!value.is_array()) fail(name, "not a list");
        if (value.size() > longest) fail(name, "too long");
        return failed() ? nullptr : &value;
    }

private:
    std::string error_;
};

RawAnswer readAnswer(Reader& reader, const AnyJson& answers, const char* name) {
    const std::string text = reader.text(answers, name, 2 * longestAnswer);
    if (const auto outcome = outcomeOf(text)) return {*outcome, {}};
    auto bytes = bytesOf(text);
    if (!bytes) reader.fail(name, "neither bytes nor a known outcome");
    return {AnswerKind::answered, std::move(bytes).value_or(std::vector<std::uint8_t>())};
}

DriverView readDriver(Reader& reader, const AnyJson& control) {
    const AnyJson& value = reader.member(control, "driver");
    if (const auto* text = value.get_ptr<const std::string*>()) {
        const auto outcome = outcomeOf(*text);
        if (!outcome) reader.fail("driver", "no known outcome");
        return {outcome.value_or(AnswerKind::notAsked), {}};
    }
    DriverView view{AnswerKind::answered, {}};
    const AnyJson* list = reader.array(control, "driver", mostDriverControls);
    if (list == nullptr) return view;
    for (const AnyJson& each : *list) {
        DriverControl read;
        read.id = reader.number<std::uint32_t>(each, "id", 0, UINT32_MAX);
        read.name = reader.text(each, "name");
        read.minimum = reader.number<std::int64_t>(each, "minimum", INT64_MIN, INT64_MAX);
        read.maximum = reader.number<std::int64_t>(each, "maximum", INT64_MIN, INT64_MAX);
        read.step = reader.number<std::int64_t>(each, "step", INT64_MIN, INT64_MAX);
        read.defaultValue = reader.number<std::int64_t>(each, "default", INT64_MIN, INT64_MAX);
        read.flags = reader.number<std::uint32_t>(each, "flags", 0, UINT32_MAX);
        view.controls.push_back(std::move(read));
    }
    return view;
}

ControlRecord readControl(Reader& reader, const AnyJson& control) {
    ControlRecord record;
    record.entity = reader.number<std::uint8_t>(control, "entity", 1, UINT8_MAX);
    record.selector = reader.number<std::uint8_t>(control, "selector", 1, UINT8_MAX);
    record.listed = reader.flag(control, "listed");
    const std::string source = reader.text(control, "answered_by");
    if (source == sourceText(AnswerSource::driver))
        record.source = AnswerSource::driver;
    else if (source != sourceText(AnswerSource::camera))
        reader.fail("answered_by", "neither camera nor driver");
    const AnyJson& answers = reader.member(control, "answers");
    for (std::size_t i = 0; i < controlReads.size(); ++i)
        record.answers[i] = readAnswer(reader, answers, nameOf(controlReads[i]).data());
    record.driver = readDriver(reader, control);
    return record;
}

void readControls(Reader& reader, const AnyJson& pack, CameraRecord& record) {
    const AnyJson* list = reader.array(pack, "controls", mostControlRecords);
    if (list == nullptr) return;
    std::set<std::pair<std::uint8_t, std::uint8_t>> seen;
    for (std::size_t i = 0; i < list->size() && !reader.failed(); ++i) {
        Reader each;
        ControlRecord control = readControl(each, (*list)[i]);
        const std::string place = "control " + std::to_string(i + 1) + " of the list";
        if (each.failed()) reader.fail(place, each.error());
        if (!seen.emplace(control.entity, control.selector).second) reader.fail(place, "listed twice");
        record.controls.push_back(std::move(control));
    }
}

CameraRecord readRecord(Reader& reader, const AnyJson& pack) {
    CameraRecord record;
    record.program = reader.text(pack, "program");
    record.kernel = reader.text(pack, "kernel");
    record.transport = reader.text(pack, "transport");
    if (std::ranges::find(packTransports, record.transport) == packTransports.end())
        reader.fail("transport", "unknown");
    record.node = reader.text(pack, "node");
    if (!record.node.empty() && !isVideoNode(record.node)) reader.fail("node", "no video node");
    record.product = reader.text(pack, "product");
    record.speed = reader.number<std::uint32_t>(pack, "speed", 0, highestSpeed);
    record.controlInterface = reader.number<std::uint8_t>(pack, "control_interface", 0, UINT8_MAX);
    record.descriptors.device = reader.bytes(pack, "device_descriptor", deviceDescriptorLength);
    record.descriptors.configuration = reader.bytes(pack, "configuration_descriptor", longestConfiguration);
    readControls(reader, pack, record);
    return record;
}

// Nothing if it is no JSON, or JSON of more levels than any pack has.
std::optional<AnyJson> parse(std::string_view text) {
    bool tooDeep = false;
    const auto watch = [&](int depth, AnyJson::parse_event_t /*event*/, AnyJson& /*parsed*/) {
        tooDeep = tooDeep || depth > mostLevels;
        return !tooDeep;
    };
    AnyJson parsed = AnyJson::parse(text.begin(), text.end(), watch, false);
    if (tooDeep || !parsed.is_object()) return std::nullopt;
    return parsed;
}

std::string versionMistake(const AnyJson& pack) {
    const auto format = pack.find("format");
    const auto version = pack.find("version");
    if (format == pack.end() || *format != packFormat) return "it is no camera pack";
    if (version == pack.end() || !version->is_number_integer()) return "it names no version";
    if (*version == packVersion) return {};
    return "it is of version " + version->dump() + ", this program reads version " +
           std::to_string(packVersion);
}

} // namespace

std::optional<CameraRecord> readPack(std::string_view text, Error& error) {
    error = {ErrorCode::invalid, {}};
    if (text.size() > longestPack) {
        error.text = "it is longer than " + std::to_string(longestPack >> 20U) + " MiB";
        return std::nullopt;
    }
    const auto pack = parse(text);
    error.text = pack ? versionMistake(*pack) : "it is no camera pack, or only a part of one";
    if (!error.text.empty()) return std::nullopt;
    Reader reader;
    CameraRecord record = readRecord(reader, *pack);
    if (reader.failed()) {
        error.text = "it is damaged: " + reader.error();
        return std::nullopt;
    }
    error = {};
    return record;
}

} // namespace tavelo
