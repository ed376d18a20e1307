// What does finding the level of a text cost?
#include <string_view>
#include <unordered_map>

#include "support/fixed_random.h"
#include "support/open_table.h"
#include "support/row_flow.h"
#include "support/suite.h"

using namespace bench;

namespace {

// Names of 3 to 12 letters, all different.
std::vector<std::string> makeNames(long count) {
  FixedRandom random(8);
  std::vector<std::string> names;
  std::unordered_map<std::string, int> seen;
  while (static_cast<long>(names.size()) < count) {
    std::string name;
    for (long length = 3 + random.below(10); length > 0; --length) name += static_cast<char>('a' + random.below(26));
    if (seen.emplace(name, 0).second) names.push_back(name);
  }
  return names;
}

// Texts to look up, each a copy of its own, and the levels to find.
class Texts {
public:
  Texts(const std::vector<std::string>& names, long count) {
    FixedRandom random(9);
    std::vector<std::size_t> starts;
    for (long i = 0; i < count; ++i) {
      const long level = random.below(static_cast<long>(names.size()));
      const std::string& name = names[static_cast<std::size_t>(level)];
      starts.push_back(m_bytes.size());
      m_bytes.insert(m_bytes.end(), name.c_str(), name.c_str() + name.size() + 1);
      m_levels.push_back(level);
    }
    for (const std::size_t start : starts) m_texts.push_back(m_bytes.data() + start);
  }
  Texts(const Texts&) = delete;
  Texts& operator=(const Texts&) = delete;

  long count() const { return static_cast<long>(m_texts.size()); }

  // Looks up the next `lookups` texts; find(text) gives a level.
  template <class Find>
  double run(long lookups, long& next, Find find) const {
    long long found = 0, expected = 0;
    Stopwatch watch;
    watch.start();
    for (long i = next; i < next + lookups; ++i) found += find(m_texts[static_cast<std::size_t>(i)]);
    watch.stop();
    for (long i = next; i < next + lookups; ++i) expected += m_levels[static_cast<std::size_t>(i)];
    requireEqual(found, expected, "sum of the levels");
    next = (next + lookups) % count();
    return watch.ns();
  }

  template <class Find>
  void check(const char* what, Find find) const {
    for (std::size_t i = 0; i < m_texts.size(); ++i) requireEqual(find(m_texts[i]), m_levels[i], what);
  }

private:
  std::vector<char> m_bytes;
  std::vector<const char*> m_texts;
  std::vector<long> m_levels;
};

Work lookup(long levels, long numTexts, long perRun) {
  const auto names = std::make_shared<std::vector<std::string>>(makeNames(levels));
  const auto texts = std::make_shared<Texts>(*names, numTexts);

  const std::shared_ptr<ZRBMemoryBuf> buf = create<ZRBMemoryBuf>(zrb_s_create_ZRBMemoryBuf);
  buf->setNumColumns(1);
  buf->setColumnType(0, ZRBBuf::column_factor);
  buf->setMaxAutoLevels(0, levels);
  for (const std::string& name : *names) buf->mapStringToLevelNum(0, name.c_str());
  const auto table = std::make_shared<OpenTable>(*names);
  const auto map = std::make_shared<std::unordered_map<std::string_view, int>>();
  for (const std::string& name : *names) map->emplace(name, static_cast<int>(map->size()));

  const auto inBuf = [buf](const char* text) { return buf->mapStringToLevelNum(0, text); };
  const auto inTable = [table](const char* text) { return table->find(text); };
  const auto inMap = [map, names](const char* text) {
    const auto found = map->find(text);
    return found == map->end() ? -1L : static_cast<long>(found->second);
  };
  Work work;
  work.name = "text to level, " + std::to_string(levels) + " levels";
  work.unit = "text";
  work.unitsPerRun = static_cast<double>(perRun);
  work.library = [=, next = 0L]() mutable { return texts->run(perRun, next, inBuf); };
  work.floor = [=, next = 0L]() mutable { return texts->run(perRun, next, inTable); };
  work.beside.emplace_back("std::unordered_map<string_view, int>",
                           [=, next = 0L]() mutable { return texts->run(perRun, next, inMap); });
  work.reach = "1.3 x";
  work.aim = "1.0 x";
  work.check = [=] {
    requireNoError(*buf, "buffer");
    requireEqual(buf->getNumLevels(0), levels, "levels");
    requireEqual(buf->getOverflowCount(0), 0, "overflows");
    texts->check("library", inBuf);
    texts->check("floor", inTable);
  };
  return work;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long perRun = suite.pick(1000L, 20000L, 20000L);
  for (const long levels : {5L, 500L, 60000L})
    suite.add("level_lookup/" + std::to_string(levels), [=] { return lookup(levels, 10 * perRun, perRun); });
  return suite.run();
}
