// uuid_fuzz.cpp - the identifier parser on arbitrary text: a text it accepts has the exact
// shape of the text form and round-trips (in lower case); anything else stays invalid.
#include <Base/OS/kyOSUuid.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const kyString::CString input(text.c_str(), static_cast<unsigned int>(text.size()));
    const kyOS::Uuid id(input);
    if (!id.valid()) {
        return 0;
    }
    std::string lower = text;
    for (char& c : lower) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (size != kyOS::Uuid::kTextLength || lower != id.asString().asChar()) {
        std::fprintf(stderr, "accepted a text that does not round-trip: %s\n", text.c_str());
        std::abort();
    }
    return 0;
}
