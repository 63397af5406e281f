// SPDX-License-Identifier: MIT
// The live record of one control of the bound camera.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "uvc/kt_uvc_control_info.h"

namespace tavelo {

class KeyedArchiver;
class KeyedUnarchiver;

/// How a control is shown to a person.
enum class KTUVCParameterType : std::uint64_t {
    range = 0,  ///< any value between minimum and maximum
    choice = 1, ///< one of the values of enumeratorDictionary
    flag = 2,   ///< off (0) or on
};

/// What the bound camera reports about one control, and the value last written to it.
///
/// The numbers from the camera (val, min, max, def, actualSize, supported) are thread-safe one by one: the
/// last writer wins, and reading several of them is not atomic.  An unsupported control holds -1 in all of
/// them.  The rest is set while the manager is made and constant afterwards.
///
/// A pan/tilt record packs two signed 32-bit numbers, in arc-seconds, into each of its 64-bit fields: pan in
/// the low half, tilt in the high half.
class KTUVCParameters {
public:
    using Choices = std::map<std::int64_t, std::string>;

    /// The first eight arguments make the record's controlInfo.  All numbers start at 0, unsupported.
    KTUVCParameters(std::int32_t unit, std::int32_t selector, std::int32_t intendedSize, bool hasMin,
                    bool hasMax, bool hasDef, bool isSigned, bool isRelative, KTUVCParameterType type,
                    std::string string);

    /// Reads what encodeWithCoder() wrote; the record has no controlInfo.
    explicit KTUVCParameters(const KeyedUnarchiver& coder);

    /// Writes name, support, values, type and tag, but not the static description and the choices.
    void encodeWithCoder(KeyedArchiver& coder) const;

    std::int64_t min() const { return min_.load(std::memory_order_relaxed); }
    void setMin(std::int64_t min) { min_.store(min, std::memory_order_relaxed); }

    std::int64_t max() const { return max_.load(std::memory_order_relaxed); }
    void setMax(std::int64_t max) { max_.store(max, std::memory_order_relaxed); }

    std::int64_t val() const { return val_.load(std::memory_order_relaxed); }
    void setVal(std::int64_t val) { val_.store(val, std::memory_order_relaxed); }

    /// Set by the camera only.
    std::int64_t def() const { return def_.load(std::memory_order_relaxed); }

    bool supported() const { return supported_.load(std::memory_order_relaxed); }
    void setSupported(bool supported) { supported_.store(supported, std::memory_order_relaxed); }

    /// Length in bytes of the current value as the camera delivered it, also used for writing.
    std::int32_t actualSize() const { return actualSize_.load(std::memory_order_relaxed); }
    void setActualSize(std::int32_t size) { actualSize_.store(size, std::memory_order_relaxed); }

    /// The record's index in the manager's parametersArray.
    std::int64_t tag() const { return tag_; }
    void setTag(std::int64_t tag) { tag_ = tag; }

    /// Null in a record read from an archive.
    const std::shared_ptr<KTUVCControlInfo>& controlInfo() const { return controlInfo_; }
    void setControlInfo(std::shared_ptr<KTUVCControlInfo> controlInfo);

    KTUVCParameterType type() const { return type_; }
    void setType(KTUVCParameterType type) { type_ = type; }

    /// The control's name in the user's language.
    const std::string& string() const { return string_; }
    void setString(std::string string);

    /// Value to label of a choice; null for every other type.
    const std::shared_ptr<const Choices>& enumeratorDictionary() const { return enumeratorDictionary_; }
    void setEnumeratorDictionary(std::shared_ptr<const Choices> choices);

    /// Sign-extends even for unsigned controls; meant for the halves of pan/tilt.
    static std::int64_t valueFromInt32BitValue(std::int32_t value) { return value; }
    /// Pan.
    static std::int64_t first32BitValueFrom64BitValue(std::int64_t value);
    /// Tilt.
    static std::int64_t second32BitValueFrom64BitValue(std::int64_t value);

    /// One line for debugging.
    std::string description() const;

private:
    friend class KTUVCManager; // writes def

    void setDef(std::int64_t def) { def_.store(def, std::memory_order_relaxed); }

    std::atomic<std::int64_t> min_ = 0;
    std::atomic<std::int64_t> max_ = 0;
    std::atomic<std::int64_t> val_ = 0;
    std::atomic<std::int64_t> def_ = 0;
    [[maybe_unused]] std::int64_t res_ = 0; // the resolution is never asked for
    std::atomic<std::int32_t> actualSize_ = 0;
    std::atomic<bool> supported_ = false;

    std::int64_t tag_ = 0;
    KTUVCParameterType type_ = KTUVCParameterType::range;
    std::string string_;
    std::shared_ptr<KTUVCControlInfo> controlInfo_;
    std::shared_ptr<const Choices> enumeratorDictionary_;
};

} // namespace tavelo
