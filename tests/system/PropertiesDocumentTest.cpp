// docs/properties.md lists the properties of every exported class as the classes answer to them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <regex>
#include <set>
#include <string>

#include "support/BinaryInterface.h"
#include "support/PropertyDocument.h"
#include "support/SavedSettings.h"
#include "zrbbase.h"

namespace {

const std::string kRoot = ZRB_DATA_DIR "/..";

const PropertyDocument& document() {
  static const PropertyDocument page(kRoot + "/docs/properties.md");
  return page;
}

// An object in surroundings in which every get stores its result.
struct Subject {
  virtual ~Subject() = default;
  virtual ZRBObj& object() = 0;
};

template <class Class>
struct Alone final : Subject {
  ZRBObj& object() override { return m_object; }
  Class m_object;
};

// A node between two buffers.
template <class Class>
struct Connected final : Subject {
  Connected() {
    m_node.setInputBuf(0, &m_input);
    m_node.setOutputBuf(0, &m_output);
  }
  ZRBObj& object() override { return m_node; }
  ZRBMemoryBuf m_input;
  ZRBMemoryBuf m_output;
  Class m_node;
};

template <class Buf, bool isReader>
struct End final : Subject {
  End() {
    m_node.setInputBuf(0, &m_buf);
    m_node.setOutputBuf(0, &m_buf);
  }
  ZRBObj& object() override {
    if (isReader) return *m_node.getInputBufReader(0);
    return *m_node.getOutputBufWriter(0);
  }
  Buf m_buf;
  ZRBProc m_node;
};

using MakeSubject = std::function<std::unique_ptr<Subject>()>;
template <class Made>
MakeSubject maker() {
  return [] { return std::make_unique<Made>(); };
}

struct ExportedClass {
  std::string name;
  MakeSubject make;
  std::string documentedAs;  // the class whose table holds for it
};

const ExportedClass kClasses[] = {
    {"ZRBObj", maker<Alone<ZRBObj>>(), "ZRBObj"},
    {"ZRBBuf", maker<Alone<ZRBBuf>>(), "ZRBBuf"},
    {"ZRBMemoryBuf", maker<Alone<ZRBMemoryBuf>>(), "ZRBMemoryBuf"},
    {"ZRBBackingFileBuf", maker<Alone<ZRBBackingFileBuf>>(), "ZRBBackingFileBuf"},
    {"ZRBProc", maker<Connected<ZRBProc>>(), "ZRBProc"},
    {"ZRBPipeline", maker<Alone<ZRBPipeline>>(), "ZRBPipeline"},
    {"ZRBProcRandomReader", maker<Connected<ZRBProcRandomReader>>(), "ZRBProcRandomReader"},
    {"ZRBProcNullReader", maker<Connected<ZRBProcNullReader>>(), "ZRBProcNullReader"},
    {"ZRBProcNullWriter", maker<Connected<ZRBProcNullWriter>>(), "ZRBProcNullWriter"},
    {"ZRBProcIdentity", maker<Connected<ZRBProcIdentity>>(), "ZRBProcIdentity"},
    {"ZRBProcPrintf", maker<Connected<ZRBProcPrintf>>(), "ZRBProcPrintf"},
    {"ZRBProcCount", maker<Connected<ZRBProcCount>>(), "ZRBProcCount"},
    {"ZRBProcLm", maker<Connected<ZRBProcLm>>(), "ZRBProcLm"},
    {"ZRBMemoryBufReader", maker<End<ZRBMemoryBuf, true>>(), "ZRBObj"},
    {"ZRBMemoryBufWriter", maker<End<ZRBMemoryBuf, false>>(), "ZRBObj"},
    {"ZRBBackingFileBufReader", maker<End<ZRBBackingFileBuf, true>>(), "ZRBObj"},
    {"ZRBBackingFileBufWriter", maker<End<ZRBBackingFileBuf, false>>(), "ZRBObj"},
};

// Bases that no object is made of: their properties are seen through the classes made from them.
const std::set<std::string> kSeenThroughOthers = {"ZRBBufReader", "ZRBBufWriter"};

Texts linesOf(const std::string& path) {
  std::ifstream stream(path);
  if (!stream) throw std::runtime_error("can't read " + path);
  Texts lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// One text, of which a failure shows the lines that differ.
std::string asLines(const Texts& texts) {
  std::string all;
  for (const std::string& text : texts) all += text + "\n";
  return all;
}

std::string trimmed(const std::string& line) {
  const std::size_t first = line.find_first_not_of(' ');
  return first == std::string::npos ? "" : line.substr(first, line.find_last_not_of(' ') - first + 1);
}

TEST(PropertiesDocument, has_a_section_for_every_exported_class) {
  std::set<std::string> exported;
  const std::regex exportedClass("class ZRB_EXPORT (\\w+).*");
  for (const auto& header : std::filesystem::directory_iterator(kRoot + "/include"))
    for (const std::string& line : linesOf(header.path().string())) {
      std::smatch part;
      if (std::regex_match(line, part, exportedClass)) exported.insert(part[1]);
    }
  std::set<std::string> known = kSeenThroughOthers;
  std::set<std::string> sections;
  for (const ExportedClass& each : kClasses) {
    known.insert(each.name);
    sections.insert(each.documentedAs);
  }
  EXPECT_EQ(known, exported);
  Texts documented;
  for (const DocumentedClass& each : document().classes) documented.push_back(each.name);
  std::sort(documented.begin(), documented.end());
  EXPECT_EQ(documented, Texts(sections.begin(), sections.end())) << "each once";
}

TEST(PropertiesDocument, lists_what_can_be_set_in_order_with_its_arguments) {
  const SavedSettings saved;
  for (const ExportedClass& each : kClasses) {
    SCOPED_TRACE(each.name);
    EXPECT_EQ(asLines(document().chain(each.documentedAs, &DocumentedClass::set)),
              asLines(answeredBy(Operation::set, each.make)));
  }
}

TEST(PropertiesDocument, lists_what_can_be_read_in_order_with_its_arguments_and_result) {
  for (const ExportedClass& each : kClasses) {
    SCOPED_TRACE(each.name);
    EXPECT_EQ(asLines(document().chain(each.documentedAs, &DocumentedClass::get)),
              asLines(answeredBy(Operation::get, each.make)));
  }
}

TEST(PropertiesDocument, names_the_entries_of_a_request) {
  using Info = ZRBPropertyInfo;
  const struct {
    std::string name;
    std::string argument;
    int argumentSlot;
    std::string result;
    std::size_t resultSlot;
  } kinds[] = {
      {"long", "getLongArg", static_cast<int>(slotOf(&Info::getLongArg)), "setLongResult",
       slotOf(&Info::setLongResult)},
      {"long long", "getLongLongArg", static_cast<int>(slotOf(&Info::getLongLongArg)), "setLongLongResult",
       slotOf(&Info::setLongLongResult)},
      {"double", "", -1, "setDoubleResult", slotOf(&Info::setDoubleResult)},
      {"bool", "getBoolArg", static_cast<int>(slotOf(&Info::getBoolArg)), "setBoolResult",
       slotOf(&Info::setBoolResult)},
      {"string", "getStringArg", static_cast<int>(slotOf(&Info::getStringArg)), "setStringResult",
       slotOf(&Info::setStringResult)},
      {"ZRBBuf", "getBufArg", static_cast<int>(slotOf(&Info::getBufArg)), "setBufResult", slotOf(&Info::setBufResult)},
      {"ZRBProc", "getProcArg", static_cast<int>(slotOf(&Info::getProcArg)), "setProcResult",
       slotOf(&Info::setProcResult)},
  };
  ASSERT_EQ(document().kinds.size(), std::size(kinds));
  for (std::size_t i = 0; i < std::size(kinds); ++i) {
    const DocumentedKind& found = document().kinds[i];
    EXPECT_EQ(found.name, kinds[i].name);
    EXPECT_EQ(found.argument, kinds[i].argument) << found.name;
    EXPECT_EQ(found.argumentSlot, kinds[i].argumentSlot) << found.name;
    EXPECT_EQ(found.result, kinds[i].result) << found.name;
    EXPECT_EQ(static_cast<std::size_t>(found.resultSlot), kinds[i].resultSlot) << found.name;
  }
}

TEST(PropertiesDocument, shows_code_that_is_compiled) {
  std::set<std::string> compiled;
  for (const char* file : {"/examples/random_count.cpp", "/tests/dlopen/DynamicHostTest.cpp"})
    for (const std::string& line : linesOf(kRoot + file)) compiled.insert(trimmed(line));
  EXPECT_GE(document().code.size(), 10u);
  for (const std::string& line : document().code) EXPECT_TRUE(compiled.count(trimmed(line))) << line;
}

}  // namespace
