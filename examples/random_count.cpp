// A pipeline in thirty lines: random reader -> memory buffer -> count.
#include <cstdio>

#include "zrb/zrb.h"

int main() try {
  auto buf = zrb::make<ZRBMemoryBuf>();  // buffers before the nodes: they are destroyed last
  auto reader = zrb::make<ZRBProcRandomReader>();
  auto count = zrb::make<ZRBProcCount>();
  auto pipeline = zrb::make<ZRBPipeline>();

  zrb::set(buf, "num.columns", 2);
  zrb::set(buf, "column.name", 0, "x");
  zrb::set(buf, "column.name", 1, "group");
  zrb::set(buf, "column.type", 1, "factor");
  zrb::set(reader, "total.rows", 1'000'000);
  zrb::set(reader, "outbuf", buf);
  zrb::set(count, "inbuf", buf);

  zrb::set(pipeline, "add.buf", buf);
  zrb::set(pipeline, "add.proc", reader);
  zrb::set(pipeline, "add.proc", count);
  zrb::run(*pipeline);  // initialises, runs to the end, throws if an object has an error

  std::printf("%lld rows, mean of x %.10g\n", zrb::get<long long>(count, "rows.done"),
              zrb::get<double>(count, "col.mean", 0));
  for (long level = 0; level < zrb::get<long>(count, "col.num.levels", 1); ++level)
    std::printf("%s: %lld\n", zrb::get<const char*>(count, "col.level.name", 1, level),
                zrb::get<long long>(count, "col.level.count", 1, level));
} catch (const zrb::Error& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
