// How does a host get its objects?
#include "zrbbase.h"

namespace {

template <class Class>
void create(void** result) {
  *result = new Class;
}

}  // namespace

void zrb_s_create_ZRBBackingFileBuf(void** result) { create<ZRBBackingFileBuf>(result); }
void zrb_s_create_ZRBMemoryBuf(void** result) { create<ZRBMemoryBuf>(result); }
void zrb_s_create_ZRBPipeline(void** result) { create<ZRBPipeline>(result); }
void zrb_s_create_ZRBProcCount(void** result) { create<ZRBProcCount>(result); }
void zrb_s_create_ZRBProcIdentity(void** result) { create<ZRBProcIdentity>(result); }
void zrb_s_create_ZRBProcLm(void** result) { create<ZRBProcLm>(result); }
void zrb_s_create_ZRBProcNullReader(void** result) { create<ZRBProcNullReader>(result); }
void zrb_s_create_ZRBProcNullWriter(void** result) { create<ZRBProcNullWriter>(result); }
void zrb_s_create_ZRBProcPrintf(void** result) { create<ZRBProcPrintf>(result); }
void zrb_s_create_ZRBProcRandomReader(void** result) { create<ZRBProcRandomReader>(result); }
