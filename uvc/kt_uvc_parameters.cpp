// SPDX-License-Identifier: MIT
#include "uvc/kt_uvc_parameters.h"

#include <array>
#include <charconv>
#include <utility>

#include "uvc/keyed_archive.h"

namespace tavelo {
namespace {

std::string hexAddress(const void* address) {
    std::array<char, 16> digits{};
    const auto number = reinterpret_cast<std::uintptr_t>(address);
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return "0x" + std::string(digits.data(), end);
}

} // namespace

KTUVCParameters::KTUVCParameters(std::int32_t unit, std::int32_t selector, std::int32_t intendedSize,
                                 bool hasMin, bool hasMax, bool hasDef, bool isSigned, bool isRelative,
                                 KTUVCParameterType type, std::string string)
    : type_(type),
      string_(std::move(string)),
      controlInfo_(std::make_shared<KTUVCControlInfo>(unit, selector, intendedSize, hasMin, hasMax, hasDef,
                                                      isSigned, isRelative)) {}

KTUVCParameters::KTUVCParameters(const KeyedUnarchiver& coder) {
    setString(coder.decodeText("string"));
    setSupported(coder.decodeBool("supported"));
    setVal(coder.decodeInt64("val"));
    setMax(coder.decodeInt64("max"));
    setMin(coder.decodeInt64("min"));
    def_ = coder.decodeInt64("def");
    setType(static_cast<KTUVCParameterType>(coder.decodeInt64("type")));
    setTag(coder.decodeInt64("tag"));
}

void KTUVCParameters::encodeWithCoder(KeyedArchiver& coder) const {
    coder.encodeText(string(), "string");
    coder.encodeBool(supported(), "supported");
    coder.encodeInt64(val(), "val");
    coder.encodeInt64(max(), "max");
    coder.encodeInt64(min(), "min");
    coder.encodeInt64(def(), "def");
    coder.encodeInt64(static_cast<std::int64_t>(type()), "type");
    coder.encodeInt64(tag(), "tag");
}

void KTUVCParameters::setControlInfo(std::shared_ptr<KTUVCControlInfo> controlInfo) {
    controlInfo_ = std::move(controlInfo);
}

void KTUVCParameters::setString(std::string string) {
    string_ = std::move(string);
}

void KTUVCParameters::setEnumeratorDictionary(std::shared_ptr<const Choices> choices) {
    enumeratorDictionary_ = std::move(choices);
}

std::int64_t KTUVCParameters::first32BitValueFrom64BitValue(std::int64_t value) {
    return valueFromInt32BitValue(static_cast<std::int32_t>(value));
}

std::int64_t KTUVCParameters::second32BitValueFrom64BitValue(std::int64_t value) {
    return valueFromInt32BitValue(static_cast<std::int32_t>(value >> 32));
}

std::string KTUVCParameters::description() const {
    return "<" + hexAddress(this) + " KTUVCParameters string:" + string_ +
           " supported:" + std::to_string(static_cast<int>(supported())) + " val:" + std::to_string(val()) +
           " max:" + std::to_string(max()) + " min:" + std::to_string(min()) +
           " def:" + std::to_string(def()) + " type:" + std::to_string(static_cast<std::uint64_t>(type())) +
           " tag:" + std::to_string(tag()) + ">";
}

} // namespace tavelo
