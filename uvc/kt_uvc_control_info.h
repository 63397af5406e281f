// SPDX-License-Identifier: MIT
// The static description of one UVC control.
#pragma once

#include <cstdint>

namespace tavelo {

/// Where a control is in a camera, its length on the wire and the range queries that it answers.
///
/// Reentrant.  A manager's records share theirs with every thread that sends requests: change one only while
/// nothing is sent.
class KTUVCControlInfo {
public:
    /// The unit code of controls that belong to the camera terminal; any other is the processing unit.
    static constexpr std::int32_t cameraTerminal = 1;
    static constexpr std::int32_t processingUnit = 2;

    /// @param unit a unit code, not the camera's own entity identifier
    /// @param selector the control selector of the USB Video Class
    /// @param intendedSize length in bytes that requests ask for: 1, 2, 4 or 8
    /// @param isSigned the value is a two's complement number of intendedSize bytes
    KTUVCControlInfo(std::int32_t unit, std::int32_t selector, std::int32_t intendedSize, bool hasMin,
                     bool hasMax, bool hasDef, bool isSigned, bool isRelative)
        : unit_(unit),
          selector_(selector),
          intendedSize_(intendedSize),
          hasMin_(hasMin),
          hasMax_(hasMax),
          hasDef_(hasDef),
          isSigned_(isSigned),
          isRelative_(isRelative) {}

    std::int32_t unit() const { return unit_; }
    void setUnit(std::int32_t unit) { unit_ = unit; }

    std::int32_t selector() const { return selector_; }
    void setSelector(std::int32_t selector) { selector_ = selector; }

    std::int32_t intendedSize() const { return intendedSize_; }
    void setIntendedSize(std::int32_t intendedSize) { intendedSize_ = intendedSize; }

    bool hasMin() const { return hasMin_; }
    void setHasMin(bool hasMin) { hasMin_ = hasMin; }

    bool hasMax() const { return hasMax_; }
    void setHasMax(bool hasMax) { hasMax_ = hasMax; }

    bool hasDef() const { return hasDef_; }
    void setHasDef(bool hasDef) { hasDef_ = hasDef; }

    bool isSigned() const { return isSigned_; }
    void setIsSigned(bool isSigned) { isSigned_ = isSigned; }

    bool isRelative() const { return isRelative_; }
    void setIsRelative(bool isRelative) { isRelative_ = isRelative; }

private:
    std::int32_t unit_;
    std::int32_t selector_;
    std::int32_t intendedSize_;
    bool hasMin_;
    bool hasMax_;
    bool hasDef_;
    bool isSigned_;
    bool isRelative_;
};

} // namespace tavelo
