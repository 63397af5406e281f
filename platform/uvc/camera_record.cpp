// SPDX-License-Identifier: MIT
#include "platform/uvc/camera_record.h"

namespace tavelo {

std::string_view nameOf(UvcRequest request) {
    switch (request) {
        case UvcRequest::setCur:
            return "SET_CUR";
        case UvcRequest::getCur:
            return "GET_CUR";
        case UvcRequest::getMin:
            return "GET_MIN";
        case UvcRequest::getMax:
            return "GET_MAX";
        case UvcRequest::getRes:
            return "GET_RES";
        case UvcRequest::getLen:
            return "GET_LEN";
        case UvcRequest::getInfo:
            return "GET_INFO";
        case UvcRequest::getDef:
            return "GET_DEF";
    }
    return {};
}

} // namespace tavelo
