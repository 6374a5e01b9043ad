// kyStringFormatWin32.cpp - the wide printf convention of the Windows C run-time in use.
#include <Base/String/internal/kyStringFormatImpl.h>

#include <cwchar>

namespace kyString {
namespace detail {

namespace {

// Microsoft's legacy wide printf reads "%s" as a wide string; mingw-w64's C99 stdio reads it
// as a narrow one. Ask the run-time once: the argument is the bytes "ab", which read as a
// narrow string give two characters and read as a wide string give one.
bool probeWideS() {
    alignas(8) static const char probe[8] = {'a', 'b', 0, 0, 0, 0, 0, 0};
    wchar_t out[8] = {};
    const int r = std::swprintf(out, 8, L"%s", probe);
    return r == 1;
}

} // namespace

bool wideFormatNeedsRewrite() {
    static const bool needed = probeWideS();
    return needed;
}

} // namespace detail
} // namespace kyString
