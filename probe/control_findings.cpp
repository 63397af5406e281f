// SPDX-License-Identifier: MIT
#include "probe/control_findings.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>

#include "platform/uvc/little_endian.h"
#include "probe/probe_text.h"

namespace tavelo {
namespace {

constexpr std::array valueReads{UvcRequest::getMin, UvcRequest::getMax, UvcRequest::getRes,
                                UvcRequest::getDef, UvcRequest::getCur};

std::string bytesText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

/// One half of a pair, or the whole value.
struct Part {
    std::string_view name; ///< with a space after it, or empty
    std::size_t at = 0;
    std::size_t size = 0;
    bool isSigned = false;
};

std::vector<Part> partsOf(const ClassControl& control) {
    if (control.form == ValueForm::signedPair) {
        const std::size_t half = control.size / 2U;
        return {{"pan: ", 0, half, true}, {"tilt: ", half, half, true}};
    }
    return {{"", 0, control.size, control.form == ValueForm::signedNumber}};
}

/// What is wrong with one control.
class Check {
public:
    Check(const CameraDescription& camera, const ControlRecord& record)
        : camera_(camera),
          record_(record),
          known_(knownControl(camera, record)) {}

    std::vector<Finding> run() {
        if (!record_.listed) {
            checkUnlisted();
            return std::move(found_);
        }
        checkSilence();
        checkInfo();
        checkLength();
        checkSizes();
        checkRefusals();
        if (known_ != nullptr) checkValues();
        checkDriver();
        return std::move(found_);
    }

private:
    void add(std::string text) { found_.push_back({record_.entity, record_.selector, std::move(text)}); }

    AnswerKind kindOf(UvcRequest request) const { return record_.answerTo(request).kind; }
    bool isAnswered(UvcRequest request) const { return kindOf(request) == AnswerKind::answered; }
    bool isRefused(UvcRequest request) const { return kindOf(request) == AnswerKind::stalled; }
    const std::vector<std::uint8_t>& bytesOf(UvcRequest request) const {
        return record_.answerTo(request).bytes;
    }
    std::string nameText(UvcRequest request) const { return std::string(nameOf(request)); }

    void checkUnlisted() {
        if (isAnswered(UvcRequest::getInfo))
            add("GET_INFO is answered, although the descriptors do not list it");
        checkSilence();
    }

    void checkSilence() {
        for (const UvcRequest request : controlReads)
            if (kindOf(request) == AnswerKind::timedOut) add(nameText(request) + " is not answered");
        if (record_.driver.kind == AnswerKind::timedOut) add("the kernel's driver waits for it in vain");
    }

    void checkInfo() {
        if (isRefused(UvcRequest::getInfo)) add("listed, but GET_INFO is refused");
        if (!isAnswered(UvcRequest::getInfo)) return;
        const auto& info = bytesOf(UvcRequest::getInfo);
        if (info.size() != 1) {
            add("GET_INFO answers " + bytesText(info.size()) + " in place of 1");
            return;
        }
        if ((info[0] & (uvc::infoGet | uvc::infoSet)) == 0)
            add("listed, but GET_INFO says that it can be neither read nor set");
        if ((info[0] & uvc::infoGet) != 0 && isRefused(UvcRequest::getCur))
            add("GET_INFO says that it can be read, but GET_CUR is refused");
    }

    void checkLength() {
        if (isRefused(UvcRequest::getLen) && known_ == nullptr) add("GET_LEN is refused");
        if (!isAnswered(UvcRequest::getLen)) return;
        const auto& bytes = bytesOf(UvcRequest::getLen);
        if (bytes.size() != 2) add("GET_LEN answers " + bytesText(bytes.size()) + " in place of 2");
        const std::size_t length = wordAt(bytes, 0);
        if (length == 0) add("GET_LEN says 0");
        if (known_ != nullptr && length != 0 && length != known_->size)
            add("GET_LEN says " + std::to_string(length) + ", the class says " +
                std::to_string(known_->size));
    }

    // What the values were asked with.
    std::size_t expectedSize() const {
        const std::size_t told = wordAt(bytesOf(UvcRequest::getLen), 0);
        if (told > 0 && told <= longestAnswer) return told;
        return known_ != nullptr ? known_->size : 0;
    }

    void checkSizes() {
        const std::size_t expected = expectedSize();
        for (const UvcRequest request : valueReads) {
            if (!isAnswered(request) || bytesOf(request).size() == expected) continue;
            add(nameText(request) + " answers " + bytesText(bytesOf(request).size()) + " in place of " +
                std::to_string(expected));
        }
    }

    bool isRanged() const {
        return known_ != nullptr &&
               (known_->form == ValueForm::number || known_->form == ValueForm::signedNumber ||
                known_->form == ValueForm::signedPair);
    }

    // What the class requires; extension units need all.
    bool isRequired(UvcRequest request) const {
        if (request == UvcRequest::getCur) return false; // GET_INFO decides
        if (known_ == nullptr) return true;
        if (classRange(known_->address, request, camera_.classVersion)) return false;
        const bool hasDefault =
            isRanged() || known_->form == ValueForm::bitmap || known_->form == ValueForm::toggle;
        if (request == UvcRequest::getDef)
            return hasDefault && !(known_->address == control::autoExposurePriority);
        if (request == UvcRequest::getRes && known_->form == ValueForm::bitmap) return true;
        return isRanged() && !(known_->address == control::powerLine);
    }

    void checkRefusals() {
        for (const UvcRequest request : valueReads)
            if (isRefused(request) && isRequired(request)) add(nameText(request) + " is refused");
    }

    std::optional<std::int64_t> numberOf(UvcRequest request, const Part& part) const {
        const auto& bytes = bytesOf(request);
        if (!isAnswered(request) || bytes.size() < part.at + part.size) return std::nullopt;
        return integerOf(std::span(bytes).subspan(part.at, part.size), part.isSigned);
    }

    void checkValues() {
        if (known_->form == ValueForm::bitmap) checkBitmap();
        if (known_->form == ValueForm::toggle) checkToggle();
        if (!isRanged()) return;
        for (const Part& part : partsOf(*known_))
            checkRange(part);
    }

    void checkRange(const Part& part) {
        const std::string name(part.name);
        const auto minimum = numberOf(UvcRequest::getMin, part);
        const auto maximum = numberOf(UvcRequest::getMax, part);
        if (numberOf(UvcRequest::getRes, part) == 0) add(name + "GET_RES says 0");
        if (!minimum || !maximum) return;
        if (*minimum > *maximum) {
            add(name + "the minimum " + std::to_string(*minimum) + " is above the maximum " +
                std::to_string(*maximum));
            return;
        }
        checkWithin(name + "the default ", numberOf(UvcRequest::getDef, part), *minimum, *maximum);
        checkWithin(name + "the current value ", numberOf(UvcRequest::getCur, part), *minimum, *maximum);
    }

    void checkWithin(const std::string& what, std::optional<std::int64_t> value, std::int64_t minimum,
                     std::int64_t maximum) {
        if (!value || (*value >= minimum && *value <= maximum)) return;
        add(what + std::to_string(*value) + " is outside " + std::to_string(minimum) + " to " +
            std::to_string(maximum));
    }

    void checkBitmap() {
        const Part whole{"", 0, known_->size, false};
        const auto modes = numberOf(UvcRequest::getRes, whole);
        if (modes == 0) add("GET_RES says 0: no mode at all");
        for (const UvcRequest request : {UvcRequest::getDef, UvcRequest::getCur}) {
            const auto value = numberOf(request, whole);
            if (!value) continue;
            const auto bits = static_cast<std::uint32_t>(*value);
            const std::string text = nameText(request) + " says " + hexNumber(bits, 2);
            if (!std::has_single_bit(bits))
                add(text + ", which is not one mode");
            else if (modes && *modes != 0 && (*modes & *value) == 0)
                add(text + ", which GET_RES does not offer");
        }
    }

    void checkToggle() {
        const Part whole{"", 0, known_->size, false};
        for (const UvcRequest request : {UvcRequest::getDef, UvcRequest::getCur})
            if (const auto value = numberOf(request, whole); value && *value > 1)
                add(nameText(request) + " says " + std::to_string(*value) + ", neither on nor off");
    }

    void checkDriver() {
        const DriverView& driver = record_.driver;
        if (driver.kind == AnswerKind::answered && driver.controls.empty())
            add("the kernel's driver has no control for it");
        if (driver.kind == AnswerKind::stalled)
            add("the kernel's driver cannot read its range: the camera refuses");
        for (const DriverControl& control : driver.controls) {
            if (control.minimum > control.maximum)
                add("the kernel's driver has an empty range for " + control.name);
            else if (control.defaultValue < control.minimum || control.defaultValue > control.maximum)
                add("the kernel's driver has a default outside the range for " + control.name);
        }
    }

    const CameraDescription& camera_;
    const ControlRecord& record_;
    const ClassControl* const known_;
    std::vector<Finding> found_;
};

bool wasSkipped(const ControlRecord& control) {
    return control.driver.kind == AnswerKind::skipped ||
           std::ranges::find(control.answers, AnswerKind::skipped, &RawAnswer::kind) != control.answers.end();
}

} // namespace

std::vector<Finding> findingsOf(const CameraDescription& camera, const CameraRecord& record) {
    std::vector<Finding> found;
    std::size_t listed = 0;
    for (const DescribedEntity& entity : camera.entities) {
        listed += entity.selectors.size();
        for (const std::size_t bit : entity.unknownBits)
            found.push_back(
                {entity.id, 0,
                 "bmControls sets bit " + std::to_string(bit) + ", which the class does not assign"});
        const auto skipped = std::ranges::find_if(record.controls, [&](const ControlRecord& control) {
            return control.entity == entity.id && wasSkipped(control);
        });
        if (skipped != record.controls.end())
            found.push_back({entity.id, 0, "the camera was silent, the rest was not asked"});
        for (const ControlRecord& control : record.controls) {
            if (control.entity != entity.id) continue;
            const auto more = Check(camera, control).run();
            found.insert(found.end(), more.begin(), more.end());
        }
    }
    if (listed > mostControlRecords)
        found.insert(found.begin(), {0, 0,
                                     "lists " + std::to_string(listed) + " controls; the first " +
                                         std::to_string(mostControlRecords) + " were asked"});
    return found;
}

} // namespace tavelo
