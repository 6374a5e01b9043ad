// kyImplBase.cpp - the key function of ky::ImplBase.
#include <Base/Utility/kyImplBase.h>

namespace ky {

ImplBase::~ImplBase() = default;

} // namespace ky
