// StringTestSupport.h - locale switching for the string tests (the library never sets it).
#ifndef KY_TESTS_STRING_SUPPORT_H
#define KY_TESTS_STRING_SUPPORT_H

#include <clocale>
#include <initializer_list>
#include <string>

namespace kytest {

/// Sets LC_ALL to the first of `names` the C library accepts and restores the previous locale
/// when destroyed. `ok()` is false when none was accepted.
class LocaleScope {
public:
    explicit LocaleScope(std::initializer_list<const char*> names) {
        const char* current = std::setlocale(LC_ALL, nullptr);
        saved_ = current ? current : "C";
        for (const char* name : names) {
            if (std::setlocale(LC_ALL, name)) {
                ok_ = true;
                break;
            }
        }
    }
    ~LocaleScope() { std::setlocale(LC_ALL, saved_.c_str()); }
    LocaleScope(const LocaleScope&) = delete;
    LocaleScope& operator=(const LocaleScope&) = delete;

    bool ok() const { return ok_; }

private:
    std::string saved_;
    bool ok_ = false;
};

/// A UTF-8 locale where the platform has one (glibc; not the Windows C run-time).
inline LocaleScope utf8Locale() {
    return LocaleScope({"C.UTF-8", "C.utf8", "en_US.UTF-8"});
}

} // namespace kytest

#endif // KY_TESTS_STRING_SUPPORT_H
