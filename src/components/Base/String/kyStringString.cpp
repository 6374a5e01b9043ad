// kyStringString.cpp - the bounds checks shared by the string classes.
#include <Base/String/kyStringString.h>

namespace kyString {

String::~String() = default;

bool String::doBoundsCheck(unsigned int index) const {
    return index < length();
}

bool String::doBoundsCheck(unsigned int index, unsigned int count) const {
    // The count is compared with the whole length on purpose (see the header).
    return index < length() && (count == kToEnd || count <= length());
}

} // namespace kyString
