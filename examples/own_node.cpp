// Nodes of the host's own: a source that throws two dice, and a transform that keeps the doublets.
//
//   dice -> throws (buffer) -> doublets -> kept (buffer) -> count
#include <cstdio>
#include <optional>
#include <random>

#include "zrb/zrb.h"

namespace {

constexpr const char* kFaces[] = {"one", "two", "three", "four", "five", "six"};

class Dice : public zrb::SourceNode {
public:
  explicit Dice(long throws) : m_throws(throws) {}

private:
  // The buffer is ready here: the columns are found, and checked for their type, once.
  void prepare() override {
    m_generator.seed(1);
    m_left = m_throws;
    m_first.emplace(output(), "first");
    m_second.emplace(output(), "second");
  }

  long work(long rows) override {
    long row = 0;
    for (; row < rows && m_left > 0; ++row, --m_left) {
      m_first->set(row, throwDie());
      m_second->set(row, throwDie());
    }
    return row;  // fewer rows than asked for end the data
  }

  zrb::LevelNum throwDie() { return {static_cast<long>(m_generator() % 6)}; }

  long m_throws;
  long m_left = 0;
  std::mt19937_64 m_generator;
  std::optional<zrb::OutputColumn<zrb::LevelNum>> m_first, m_second;
};

class Doublets : public zrb::TransformNode {
  void prepare() override {
    m_first.emplace(input(), "first");
    m_second.emplace(input(), "second");
    m_face.emplace(output(), "face");
  }

  long work(long rows) override {
    long kept = 0;
    for (long row = 0; row < rows; ++row)
      if ((*m_first)[row].value == (*m_second)[row].value) m_face->set(kept++, (*m_first)[row]);
    return kept;
  }

  std::optional<zrb::InputColumn<zrb::LevelNum>> m_first, m_second;
  std::optional<zrb::OutputColumn<zrb::LevelNum>> m_face;
};

void addFactor(ZRBBuf& buf, const char* name) {
  const long column = zrb::get<long>(buf, "num.columns");
  zrb::set(buf, "num.columns", column + 1);
  zrb::set(buf, "column.name", column, name);
  zrb::set(buf, "column.type", column, "factor");
  for (int level = 0; level < 6; ++level) zrb::set(buf, "column.level.name", column, level, kFaces[level]);
}

}  // namespace

int main() try {
  auto throws = zrb::make<ZRBMemoryBuf>();
  auto kept = zrb::make<ZRBMemoryBuf>();
  addFactor(*throws, "first");
  addFactor(*throws, "second");
  addFactor(*kept, "face");

  auto dice = zrb::make<Dice>(60'000);
  auto doublets = zrb::make<Doublets>();
  auto count = zrb::make<ZRBProcCount>();
  zrb::set(dice, "outbuf", throws);
  zrb::set(doublets, "inbuf", throws);
  zrb::set(doublets, "outbuf", kept);
  zrb::set(count, "inbuf", kept);

  auto pipeline = zrb::make<ZRBPipeline>();
  for (ZRBBuf* buf : {throws.get(), kept.get()}) zrb::set(pipeline, "add.buf", buf);
  for (ZRBProc* node :
       {static_cast<ZRBProc*>(dice.get()), static_cast<ZRBProc*>(doublets.get()), static_cast<ZRBProc*>(count.get())})
    zrb::set(pipeline, "add.proc", node);
  zrb::run(*pipeline);

  for (long level = 0; level < zrb::get<long>(count, "col.num.levels", 0); ++level)
    std::printf("%-5s %lld\n", zrb::get<const char*>(count, "col.level.name", 0, level),
                zrb::get<long long>(count, "col.level.count", 0, level));
} catch (const zrb::Error& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
