// Base.h - every public header of the Base library.
#ifndef KY_BASE_H
#define KY_BASE_H

#include <Base/BaseExport.h>

// Containers
#include <Base/Containers/kyBlockAllocator.h>
#include <Base/Containers/kyFunctional.h>
#include <Base/Containers/kyHashFunction.h>
#include <Base/Containers/kyHashMap.h>
#include <Base/Containers/kyHashSet.h>
#include <Base/Containers/kyList.h>
#include <Base/Containers/kyMap.h>
#include <Base/Containers/kySet.h>
#include <Base/Containers/kyVector.h>

// RTB: signals and bound functions
#include <Base/RTB/kyRTBFunction.h>
#include <Base/RTB/kyRTBSignal.h>

// Linear algebra
#include <Base/Linear/kyLinearAffineMatrix.h>
#include <Base/Linear/kyLinearAffineMatrix2.h>
#include <Base/Linear/kyLinearHPoint.h>
#include <Base/Linear/kyLinearLine.h>
#include <Base/Linear/kyLinearMinimum.h>
#include <Base/Linear/kyLinearParamLine.h>
#include <Base/Linear/kyLinearParamPlane.h>
#include <Base/Linear/kyLinearPlane.h>
#include <Base/Linear/kyLinearProjMatrix.h>
#include <Base/Linear/kyLinearQuaternion.h>
#include <Base/Linear/kyLinearRange.h>
#include <Base/Linear/kyLinearTolerance.h>
#include <Base/Linear/kyLinearTuple.h>
#include <Base/Linear/kyLinearVector.h>

#endif // KY_BASE_H
