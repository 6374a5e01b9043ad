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

#endif // KY_BASE_H
