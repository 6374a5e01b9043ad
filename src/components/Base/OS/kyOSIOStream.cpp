// kyOSIOStream.cpp - kyOS::IOStream.
#include <Base/OS/kyOSIOStream.h>

namespace kyOS {

IOStream::~IOStream() = default;

} // namespace kyOS
