// SPDX-License-Identifier: MIT
#include "extensions/json/description_reader.h"

#include <algorithm>
#include <charconv>
#include <map>

#include "extensions/json/json_part.h"
#include "extensions/json/json_text.h"
#include "platform/uvc/guid.h"

namespace tavelo {
namespace {

using Json = nlohmann::json;

constexpr std::int64_t mostBits = 32; // of one number
constexpr std::size_t longestWord = longestControlName;
constexpr std::size_t longestMeasure = 24;
constexpr std::size_t longestNote = 2000;
constexpr std::size_t mostLanguages = 32;

// "led-mode": lower case, digits and single hyphens.
bool isWord(std::string_view word) {
    const auto isLetter = [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9') || letter == '-';
    };
    return std::ranges::all_of(word, isLetter) && !word.starts_with('-') && !word.ends_with('-') &&
           word.find("--") == std::string_view::npos;
}

// Whether a word is another way to write a value.
bool meansSomethingElse(std::string_view word) {
    double number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return word == "default" || (error != std::errc::invalid_argument && end == word.data() + word.size());
}

bool isLanguage(std::string_view name) {
    const auto isLetter = [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || letter == '-';
    };
    return name.size() >= 2 && name.size() <= 16 && std::ranges::all_of(name, isLetter);
}

/// Reads one control.
class ControlReader {
public:
    ControlReader(Mistake& mistake, const Json& json, const std::string& place)
        : mistake_(mistake),
          place_(place),
          part_(mistake, json, place,
                {"name", "titles", "selector", "length", "first_bit", "bits", "type", "unit", "choices",
                 "minimum", "maximum", "step", "default"}) {}

    ExtensionControl read(const Guid& unit, const IsReservedName& isReserved) {
        control_.unit = unit;
        control_.name = word(part_, "name");
        if (isReserved(control_.name)) part_.fail("name", "it is that of a control of every camera");
        control_.titles = titles(part_, place_);
        control_.selector = static_cast<std::uint8_t>(part_.number("selector", 1, 255));
        readField();
        readForm();
        return std::move(control_);
    }

private:
    std::string word(const JsonPart& part, const char* key) {
        std::string text = part.text(key, longestWord);
        if (!isWord(text)) part.fail(key, "only a to z, digits and single hyphens between them are possible");
        return text;
    }

    Titles titles(const JsonPart& part, const std::string& place) {
        const Json* object = part.object("titles");
        if (object == nullptr) return {};
        if (object->size() > mostLanguages) part.fail("titles", "too many languages");
        const JsonPart texts(mistake_, *object, place + "titles: ");
        Titles titles;
        for (const auto& [language, title] : object->items()) {
            if (!isLanguage(language)) texts.fail("a key", "it is no language, such as \"en\"");
            if (mistake_.isMade()) return {};
            titles[language] = texts.text(language.c_str(), longestTitle);
        }
        if (!titles.contains("en")) texts.fail("en", "missing");
        return titles;
    }

    void readField() {
        const std::int64_t bytes = part_.number("length", 1, longestUnitValue);
        const std::int64_t all = 8 * std::max<std::int64_t>(bytes, 1);
        const std::int64_t first = part_.numberIfAny("first_bit", 0, all - 1).value_or(0);
        const std::int64_t most = std::min(mostBits, all - first);
        if (!part_.has("bits") && all - first > mostBits)
            part_.fail("bits", "missing, and the rest of the value has more than 32");
        const std::int64_t count = part_.numberIfAny("bits", 1, most).value_or(most);
        control_.length = static_cast<std::size_t>(bytes);
        control_.field = {static_cast<std::size_t>(first),
                          static_cast<std::size_t>(std::max<std::int64_t>(count, 1)), false};
    }

    void readForm() {
        const std::string type = part_.text("type", longestWord);
        if (type == "number" || type == "signed number") {
            control_.field.isSigned = type != "number";
            readNumber();
        } else if (type == "switch") {
            control_.form = ExtensionForm::toggle;
            if (part_.has("default")) control_.defaultValue = part_.flag("default") ? 1 : 0;
        } else if (type == "choice") {
            control_.form = ExtensionForm::choice;
            readChoices();
        } else {
            part_.fail("type", "it is none of number, signed number, switch and choice");
        }
        refuseOthers(type.ends_with("number"), {"unit", "minimum", "maximum", "step"}, "number");
        refuseOthers(type == "choice", {"choices"}, "choice");
    }

    void refuseOthers(bool isRight, std::initializer_list<const char*> keys, const std::string& type) {
        for (const char* key : keys)
            if (!isRight && part_.has(key)) part_.fail(key, "only a " + type + " has it");
    }

    void readNumber() {
        const std::int64_t lowest = control_.field.lowest();
        const std::int64_t highest = control_.field.highest();
        if (part_.has("unit")) control_.measure = part_.text("unit", longestMeasure);
        control_.minimum = part_.numberIfAny("minimum", lowest, highest);
        control_.maximum = part_.numberIfAny("maximum", control_.minimum.value_or(lowest), highest);
        control_.step = part_.numberIfAny("step", 1, highest);
        control_.defaultValue = part_.numberIfAny("default", control_.minimum.value_or(lowest),
                                                  control_.maximum.value_or(highest));
    }

    void readChoices() {
        const Json* list = part_.list("choices", mostUnitChoices);
        for (std::size_t i = 0; list != nullptr && i < list->size() && !mistake_.isMade(); ++i) {
            const std::string place = place_ + "choice " + std::to_string(i + 1) + ": ";
            const JsonPart part(mistake_, (*list)[i], place, {"value", "word", "titles"});
            ExtensionChoice choice{part.number("value", control_.field.lowest(), control_.field.highest()),
                                   word(part, "word"), titles(part, place)};
            if (meansSomethingElse(choice.word)) part.fail("word", "it is taken for a number or the default");
            if (find(&ExtensionChoice::word, choice.word)) part.fail("word", "another choice has it too");
            if (find(&ExtensionChoice::value, choice.value)) part.fail("value", "another choice has it too");
            control_.choices.push_back(std::move(choice));
        }
        if (!part_.has("default")) return;
        const auto* chosen = find(&ExtensionChoice::word, part_.text("default", longestWord));
        if (chosen == nullptr) return part_.fail("default", "it is the word of no choice");
        control_.defaultValue = chosen->value;
    }

    template <typename Member, typename Value>
    const ExtensionChoice* find(Member member, const Value& value) const {
        const auto found = std::ranges::find(control_.choices, value, member);
        return found != control_.choices.end() ? &*found : nullptr;
    }

    Mistake& mistake_;
    const std::string place_;
    const JsonPart part_;
    ExtensionControl control_;
};

void readControls(const JsonPart& file, Mistake& mistake, const IsReservedName& isReserved,
                  std::vector<ExtensionControl>& controls) {
    const auto unit = guidOf(file.text("guid", longestWord));
    if (!unit) file.fail("guid", "it is none, such as 63610682-5070-49ab-b8cc-b3855e8d221f");
    const Json* list = file.list("controls", mostUnitControls);
    std::map<std::uint8_t, std::size_t> lengths; // by selector
    for (std::size_t i = 0; list != nullptr && i < list->size() && !mistake.isMade(); ++i) {
        const std::string place = "control " + std::to_string(i + 1) + ": ";
        ExtensionControl control = ControlReader(mistake, (*list)[i], place).read(*unit, isReserved);
        if (std::ranges::find(controls, control.name, &ExtensionControl::name) != controls.end())
            mistake.note(place, "name: another control has it too");
        if (lengths.try_emplace(control.selector, control.length).first->second != control.length)
            mistake.note(place, "length: another control has another one for this selector");
        controls.push_back(std::move(control));
    }
}

void checkVersion(const JsonPart& file) {
    if (file.text("format", longestNote) != descriptionFormat)
        file.fail("format", "it is not \"" + std::string(descriptionFormat) + "\"");
    if (file.number("version", 0, INT32_MAX) != descriptionVersion)
        file.fail("version", "this program reads version " + std::to_string(descriptionVersion));
}

} // namespace

std::optional<std::vector<ExtensionControl>> readDescription(std::string_view text,
                                                             const IsReservedName& isReserved,
                                                             std::string& reason) {
    if (text.size() > longestDescription) {
        reason = "it is longer than " + std::to_string(longestDescription >> 10U) + " KiB";
        return std::nullopt;
    }
    const auto json = parseJson(text, reason);
    if (!json) return std::nullopt;
    Mistake mistake;
    const JsonPart file(mistake, *json, {}, {"format", "version", "guid", "note", "controls"});
    checkVersion(file);
    if (file.has("note")) file.text("note", longestNote);
    std::vector<ExtensionControl> controls;
    if (!mistake.isMade()) readControls(file, mistake, isReserved, controls);
    reason = mistake.text();
    return mistake.isMade() ? std::nullopt : std::optional(std::move(controls));
}

} // namespace tavelo
