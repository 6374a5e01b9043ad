// Base.h - every public header of the Base library.
#ifndef KY_BASE_H
#define KY_BASE_H

#include <Base/BaseExport.h>

// Utility: errors, initialisation, build identification
#include <Base/Utility/kyImplBase.h>
#include <Base/Utility/kyUtilBuildInfo.h>
#include <Base/Utility/kyUtilError.h>
#include <Base/Utility/kyUtilInitializer.h>
#include <Base/Utility/kyUtilInterval.h>
#include <Base/Utility/kyUtilSplit.h>

// Utility: thread pool, task queue, threaded algorithms, parallel sort
#include <Base/Utility/kyUtilIntRange2d.h>
#include <Base/Utility/kyUtilParallelSort.h>
#include <Base/Utility/kyUtilProgress.h>
#include <Base/Utility/kyUtilStdThreadPool.h>
#include <Base/Utility/kyUtilThreadPool.h>
#include <Base/Utility/kyUtilThreadedAlg.h>

// Strings
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringCharacter.h>
#include <Base/String/kyStringConvert.h>
#include <Base/String/kyStringFormat.h>
#include <Base/String/kyStringIString.h>
#include <Base/String/kyStringIntern.h>
#include <Base/String/kyStringNumber.h>
#include <Base/String/kyStringString.h>

// Containers
#include <Base/Containers/kyBlockAllocator.h>
#include <Base/Containers/kyFunctional.h>
#include <Base/Containers/kyHashFunction.h>
#include <Base/Containers/kyHashMap.h>
#include <Base/Containers/kyHashSet.h>
#include <Base/Containers/kyList.h>
#include <Base/Containers/kyMap.h>
#include <Base/Containers/kyReferenceCount.h>
#include <Base/Containers/kySet.h>
#include <Base/Containers/kyVector.h>

// OS: file names and search paths, files and protected writes, command-line options,
// system information, identifiers, timing, traces, the application frame
#include <Base/OS/kyOSAppMain.h>
#include <Base/OS/kyOSAppOutput.h>
#include <Base/OS/kyOSDebugTrace.h>
#include <Base/OS/kyOSFSAllocator.h>
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFileOps.h>
#include <Base/OS/kyOSFileStatus.h>
#include <Base/OS/kyOSFileTypes.h>
#include <Base/OS/kyOSFilename.h>
#include <Base/OS/kyOSFilesystem.h>
#include <Base/OS/kyOSGetOpt.h>
#include <Base/OS/kyOSIOStream.h>
#include <Base/OS/kyOSMemMapFile.h>
#include <Base/OS/kyOSMemoryIOStream.h>
#include <Base/OS/kyOSMemoryMappedFile.h>
#include <Base/OS/kyOSMoveableAllocator.h>
#include <Base/OS/kyOSMoveableMemory.h>
#include <Base/OS/kyOSProtectedWrite.h>
#include <Base/OS/kyOSSearchPath.h>
#include <Base/OS/kyOSStopWatch.h>
#include <Base/OS/kyOSSysInfo.h>
#include <Base/OS/kyOSUuid.h>
#include <Base/OS/kyOSVirtualMemoryIterator.h>

// TCP: addresses, sockets, servers and readiness waiting
#include <Base/TCP/kyTCPAddress.h>
#include <Base/TCP/kyTCPServer.h>
#include <Base/TCP/kyTCPSocket.h>
#include <Base/TCP/kyTCPWaitReadable.h>

// IO: serialization streams and the packet-file header
#include <Base/IO/ioBufferedStream.h>
#include <Base/IO/ioCipher.h>
#include <Base/IO/ioHeader.h>
#include <Base/IO/ioTypes.h>
// IO: packet files (contexts, references, types, registries, the binary encoding) and
// package files
#include <Base/IO/ioBinaryContext.h>
#include <Base/IO/ioContext.h>
#include <Base/IO/ioLinear.h>
#include <Base/IO/ioPackageFile.h>
#include <Base/IO/ioPacketRegistry.h>
#include <Base/IO/ioPacketType.h>
#include <Base/IO/ioReferenceMap.h>

// RTB: signals and bound functions
#include <Base/RTB/kyRTBFunction.h>
#include <Base/RTB/kyRTBSignal.h>

// Undo
#include <Base/Undo/kyUndoCommand.h>
#include <Base/Undo/kyUndoGroup.h>
#include <Base/Undo/kyUndoManager.h>
#include <Base/Undo/kyUndoReport.h>
#include <Base/Undo/kyUndoState.h>

// Plugin
#include <Base/Plugin/kyPluginExport.h>
#include <Base/Plugin/kyPluginPlugin.h>
#include <Base/Plugin/kyPluginService.h>

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
