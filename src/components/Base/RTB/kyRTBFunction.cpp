// kyRTBFunction.cpp - kyRTB bound functions: the out-of-line parts of the base classes.
#include <Base/RTB/kyRTBFunction.h>

namespace kyRTB {

FunctionBase::~FunctionBase() = default;

bool FunctionBase::isGlobalFunction(void* /*f*/) const {
    return false;
}

bool FunctionBase::isInstance(void* /*p*/) const {
    return false;
}

FunctionVoid::~FunctionVoid() = default;

FunctionVoidGlobal::~FunctionVoidGlobal() = default;

bool FunctionVoidGlobal::isGlobalFunction(void* f) const {
    return f == reinterpret_cast<void*>(function_);
}

void FunctionVoidGlobal::call() {
    if (function_ != nullptr) {
        function_();
    }
}

} // namespace kyRTB
