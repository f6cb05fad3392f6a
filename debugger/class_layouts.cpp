// The debug information of the library's classes, for a debugger whose copy of the library has none. Compilers describe
// a class with virtual members, or with a constructor that is not inline, where that member is defined: in the library
// and not in the programs that use it, in which gdb then sees incomplete types. Nothing here becomes code or data.
#include "framework/framework.h"

namespace orvel_debugger
{
using ::CAATreeBase;
using ::CAes;
using ::CAliveObj;
using ::CBase64;
using ::CBinarySemaphore;
using ::CBlob;
using ::CBlockAllocator;
using ::CCrc;
using ::CCrypto;
using ::CDefaultAllocator;
using ::CEComUnknown;
using ::CListBase;
using ::CMarshaler;
using ::CMd5;
using ::CMemoryQueue;
using ::CMutex;
using ::COsVersion;
using ::CSecurePrng;
using ::CSecureSeed;
using ::CSemaphore;
using ::CSha1;
using ::CSha1Mac;
using ::CSha256;
using ::CString;
using ::CThread;
using ::CTime;
using ::CTimer;
using ::CTimeZone;
using ::CVectorBase;
using ::CVersion;
using ::CVListBase;
using ::IEComUnknown;
using ::SEComGuid;
}  // namespace orvel_debugger
