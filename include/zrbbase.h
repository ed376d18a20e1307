// Everything a host needs: all public headers, and the functions that create objects.
#pragma once

#include "ZRBBackingFileBuf.h"
#include "ZRBBackingFileBufReader.h"
#include "ZRBBackingFileBufWriter.h"
#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBConverter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBMemoryBufReader.h"
#include "ZRBMemoryBufWriter.h"
#include "ZRBObj.h"
#include "ZRBPipeline.h"
#include "ZRBProc.h"
#include "ZRBProcCount.h"
#include "ZRBProcIdentity.h"
#include "ZRBProcLm.h"
#include "ZRBProcNullReader.h"
#include "ZRBProcNullWriter.h"
#include "ZRBProcPrintf.h"
#include "ZRBProcRandomReader.h"
#include "ZRBPropertyInfo.h"
#include "export.h"

extern "C" {

// Each creates one object with its defaults and stores its address in *result, as a pointer to the class of the name.
// The caller owns it and deletes it through its virtual destructor.  When memory runs out, std::bad_alloc passes to the
// caller and *result is untouched.
ZRB_EXPORT void zrb_s_create_ZRBBackingFileBuf(void** result);
ZRB_EXPORT void zrb_s_create_ZRBMemoryBuf(void** result);
ZRB_EXPORT void zrb_s_create_ZRBPipeline(void** result);
ZRB_EXPORT void zrb_s_create_ZRBProcCount(void** result);
ZRB_EXPORT void zrb_s_create_ZRBProcIdentity(void** result);
ZRB_EXPORT void zrb_s_create_ZRBProcLm(void** result);
ZRB_EXPORT void zrb_s_create_ZRBProcNullReader(void** result);
ZRB_EXPORT void zrb_s_create_ZRBProcNullWriter(void** result);
ZRB_EXPORT void zrb_s_create_ZRBProcPrintf(void** result);
ZRB_EXPORT void zrb_s_create_ZRBProcRandomReader(void** result);

}  // extern "C"
