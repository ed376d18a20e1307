#include "zrbbase.h"

#include "zrb/zrb.h"

// The smallest host: creates an object through a factory, names it and destroys it; and another one through the host kit.
int main() {
  void* created = nullptr;
  zrb_s_create_ZRBPipeline(&created);
  if (!created) return 1;
  ZRBPipeline* pipeline = static_cast<ZRBPipeline*>(created);
  pipeline->setName("consumer");
  const bool named = pipeline->getName() && pipeline->getName()[0] == 'c';
  delete pipeline;
  return named && zrb::get<long>(zrb::make<ZRBMemoryBuf>(), "num.rows") == 3000 ? 0 : 1;
}
